// POSIX systems hand over the bytes that the user's terminal or program has sent.
#include "platform/arguments.h"

char** ProgramArguments(int*, char** argv) { return argv; }
