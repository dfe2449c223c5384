// Standard input without blocking. A port supplies: is the input a console, is something waiting,
// read what is there. Only the front-end thread calls these.
#pragma once

#include <cstddef>

// Makes sure that the three standard streams exist: a closed one is bound to nothing, so that no
// file or pipe opened later takes its place. From then on writing where nobody reads, or where no
// more may be written, is an error code and no signal. First call of the program.
void SecureStandardStreams();

// True when standard input / standard output / standard error is a terminal.
bool InputIsConsole();
bool OutputIsConsole();
bool ErrorIsConsole();

// Reads what has arrived, at most `size` bytes, without waiting. Returns the number of bytes read,
// 0 when nothing is waiting, -1 when the input has ended (or is broken).
int PollInput(char* buffer, std::size_t size);
