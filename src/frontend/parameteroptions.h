// The weights of the evaluation and the search as options of the UCI protocol, for frameworks that
// tune them by games. Front-end thread only.
#pragma once

#include <string>

// Prints an option line for each weight that is a number.
void ShowParameterOptions();

// Sets the weight of that name, its number within the limits of its option, and ends a search that
// runs. No effect when there is no such weight, or the text is no number. The engine uses it after
// TakeUpParameters.
void SetParameterOption(const std::string& name, const std::string& text);

// Derives anew what depends on weights that have been set since the last call, and empties the
// table. Nothing when there are none.
void TakeUpParameters();

// Prints every such weight, but for margins that are switched off, as a line "name, int, default,
// min, max, step, rate", as tuners take them.
void ListParameters();
