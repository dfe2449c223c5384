// The console command language. Front-end thread only.
#pragma once

#include <string>
#include <vector>

// Carries out one line, without its line end, and shows its answer. A line that is neither a
// command nor a legal move has no effect. Requires StartUp.
void ConsoleCommand(const char* line);

// The words, in order, that can take the place of the last word of a line that is being typed: the
// commands, and after a command that takes them files, commands or weights. They begin like it; it
// may be empty.
std::vector<std::string> ConsoleCompletions(const std::string& line);

// Where the program was begun for the console at a terminal: draws the board with symbols if the
// terminal has them, and gives the user a line to edit, with history and completion, if the library
// for it is there. Requires StartUp.
void StartConsole();
