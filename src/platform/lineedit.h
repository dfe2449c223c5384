// Line editing, history and completion at a terminal. While it runs the terminal hands over single
// keys and shows the line that is being edited; whoever writes anything else hides the line before
// and shows it again after. A port supplies the body of a library, or takes the body that never
// starts (lineedit_none.cpp): a terminal edits its lines by itself then, as well as it can.
//
// One caller at a time: all of these are called under the lock of the program's output. They never
// wait for the user, but a moment for the rest of a key that sends several bytes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Returns the words that can take the place of the last word of the line, which ends at the cursor
// and may be empty. Called within PollEditedLine; must not write.
using CompletionsOf = std::vector<std::string> (*)(const std::string& line);

// Begins with an empty line, which is not shown yet. From now until the end of the program, or of
// the input, the terminal belongs to the editing, which ends by itself with exit. Nothing happens
// when standard input and output are not a person's terminal that can move its cursor. Front-end
// thread, once.
void StartLineEditing(CompletionsOf completions);
bool LineEditingRuns();

// Takes the keys that were struck, until they have finished a line, without waiting. As PollInput
// (input.h): the number of bytes of a finished line with its line feed, cut at `size`, 0 when there
// is none, -1 at the end of the input (control-D). Requires that it runs; front-end thread.
int PollEditedLine(char* buffer, std::size_t size);
// Shows the line before the program waits for it. Front-end thread.
void OfferEditedLine();

// Takes the line from the terminal so that a text may be written from the beginning of a line; and
// puts it back, if it was taken, when the text has ended its own line. Any thread.
void HideEditedLine();
void RestoreEditedLine();
