// What the program says of itself when it is asked on the command line. Front-end thread.
#pragma once

// Prints how the program is called and every option, one a line, to standard output.
void ShowUsage();
// Prints the version, and the compiler and instruction set that the program was built with.
void ShowVersion();
