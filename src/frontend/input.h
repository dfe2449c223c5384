// What the user types: bytes from standard input, handed on as lines. Front-end thread only.
#pragma once

#include <string>

// Takes what has arrived, without waiting, and handles at most one complete line. While a tool mode
// runs, only "quit", "stop", "." and "isready" are handled. After an interrupt it abandons the
// search and asks the running mode to end instead.
void UserInput();

// Sleeps for `seconds` or without end (FOREVER, platform/sleep.h), until there is something to read
// or the alert is raised; `deaf`: input does not end it. A line that is being edited is shown.
void WaitForInput(double seconds, bool deaf = false);

// From now on the lines of which `held` is true, and what comes after them, are not handled;
// nullptr ends that. Meanwhile the end of input is still looked for, as far as the held lines leave
// room: when they are full nothing more is taken.
void HoldInput(bool (*held)(const std::string& line));
bool NextLineIsHeld();
bool HeldInputIsFull();

// True: a tool mode owns the game position from now on, and other lines than those four are
// dropped.
void SetToolInput(bool tool_mode_runs);

// The end of the input was seen; lines may still be pending.
bool InputEnded();
// At least one complete line that is not empty waits.
bool InputPending();

// Takes the next complete line without handling it, waiting for it; what goes beyond `size` - 1
// bytes is dropped. False at the end of the input and after an interrupt. Requires size > 0.
[[nodiscard]] bool ReadInputLine(char* buffer, int size);

// For tests and fuzzing: forgets everything; bytes as if they had arrived, after which standard
// input is not read any more; and their end.
void ResetInput();
void FeedInput(const char* bytes, int count);
void EndFedInput();
