// Tuning of all weights of the evaluation together. Front-end thread only, while no search runs.
#pragma once

#include <string>

inline constexpr const char* TUNED_FILE = "tuned.rc";  // where the result goes by default
inline constexpr int DEFAULT_BLEND = 25;               // percent

struct TuneAllOptions {
    std::string positions;            // EPD file with labels
    std::string target = TUNED_FILE;  // parameter file to write
    int blend = DEFAULT_BLEND;        // percent of the search score in what is to be predicted
    int threads = 0;                  // 0: as many as the machine has processors
    void (*look)() = nullptr;         // called between passes; may set PBlock.control.quit
};

// Option "-tune-all": moves every number of the evaluation that a parameter file can set, round by
// round, to where the mean of (target - expected result)^2 over the positions is least, beginning
// with the parameters in use or with what an earlier run has left in the target; writes the best
// of it there after every round, and a table of rounds and weights beside it (see
// docs/workshop.md). Shows a line a round. Ends when the held-out positions are predicted no
// better, when nothing more is gained, or when the user wants to end. A target that another hand
// has written, or a file that cannot be read or written, is told, and the tool has failed.
// Afterwards the parameters in use are what they were. The result does not depend on the number of
// threads.
void TuneAllWeightsTogether(const TuneAllOptions& options);
