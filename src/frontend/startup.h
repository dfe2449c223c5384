// Start-up and clean-up of the program. Front-end thread, once each.
#pragma once

#include "frontend/commandline.h"

// Fills every table, reads the parameter file and the command line, and builds the transposition
// table, the book's index and the pool of search threads. Returns 0, or 1, the exit status, when
// the memory or the threads cannot be had or the folder to work in cannot be entered. "--help" and
// "--version" are answered before any file is opened, and then the mode is Nothing. With that mode
// it stops after the command line: there is nothing to clean up then.
[[nodiscard]] int StartUp(int argc, char** argv, StartOptions* options);

// Ends the search threads and gives everything back. Requires StartUp, and idle search threads.
void CleanUp();
