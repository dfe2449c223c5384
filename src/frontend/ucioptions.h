// The options that a GUI may set. Front-end thread only.
#pragma once

#include <string>

// Prints the option lines of the answer to "uci".
void ShowUciOptions();

// Sets an option from the text that follows "value" in a "setoption" line, its number within the
// limits of the option, and confirms it in a line. No effect when no option has the name. Ends the
// search that runs where the option replaces its memory, and the process when that memory cannot be
// had. Requires StartUp.
void SetUciOption(const std::string& name, const std::string& text);
