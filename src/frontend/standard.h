// Commands that people expect of an engine beside those of its protocol. Front-end thread only.
#pragma once

#include <string>

// Carries out "d" (the board), "eval" (the evaluation, term by term), "perft" (the number of
// legal move sequences, by first moves) or "bench" (the short benchmark); the depth of these two
// stands in `line` after the word. Any other word has no effect: then false. Requires StartUp.
[[nodiscard]] bool StandardCommand(const std::string& word, const char* line);
