// Parameter tuning against labelled positions. Front-end thread only; no search may run.
#pragma once

#include <cstdio>

#include "platform/types.h"

// Line search for the value of *weight, within +-range, that predicts best; prints its path, writes
// to `log` when it is not null, restores the weight. Returns the best value. The positions are
// those of PBlock.tool.epd_file; an interrupt ends the search early, without a line in the log.
int PTune(const char* name, i16* weight, int range, std::FILE* log);
// Console "tune" (both words non-empty) and option "-tune".
void TuneCommand(const char* name, const char* range);
void RunTuneSchedule();
