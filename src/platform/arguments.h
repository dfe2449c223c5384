// The program's arguments as text in UTF-8, as it stands in the code and goes to files.
#pragma once

// Returns the arguments that main was started with, and sets *argc to their number; like those of
// main they stay. A port supplies them where main gets them in another character set. First calls
// of the program.
char** ProgramArguments(int* argc, char** argv);
