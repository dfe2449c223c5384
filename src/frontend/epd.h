// EPD suites. Front-end thread only.
#pragma once

#include <string>

// Searches every position of PBlock.tool.epd_file within the limits of PBlock and returns the mean
// error of the predicted results, 0 without a position, 1 when a file cannot be opened. `show`: the
// title and the summary are printed; positions and their results are, unless the noise is
// NOISE_NEVER. Requires StartUp and idle search threads.
double Analyze_EPD_File(int show);

// The move that a "bm" text names in the game position, 0 when it names no legal one. Of several
// words the first that is a legal move counts.
int ExpectedMove(const std::string& text);
