// EPD suites. Front-end thread only.
#pragma once

#include <string>

// The move that a "bm" text names in the game position, 0 when it names no legal one. Of several
// words the first that is a legal move counts.
int ExpectedMove(const std::string& text);
