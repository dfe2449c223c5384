// Parameter tuning against the labelled positions of "tune.epd". Front-end thread only; no search
// may run. Afterwards every weight is as it was; max_depth is 0, epd_file "tune.epd" and noise
// NOISE_NEVER.
#pragma once

// Console "tune": searches for the best value of the weight that the tuner calls `name`, within
// +-`range`, a decimal number. Prints its path and "done!". An empty word does nothing, an unknown
// name tunes nothing.
void TuneCommand(const char* name, const char* range);

// Option "-tune": every weight of the schedule in turn, each with a line in "tune.log", which is
// created anew. Without positions it is left alone;
// that, and a log that cannot be written, is said, and the tool has failed. `look` is called
// between two passes over the positions; when it sets PBlock.control.quit the schedule ends.
void RunTuneSchedule(void (*look)() = nullptr);
