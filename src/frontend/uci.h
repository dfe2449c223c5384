// The UCI protocol. Front-end thread only.
#pragma once

extern const char* const version;  // "Vesk 3.0"

// Carries out one line, without its line end, and shows its answer. A line that is no command has
// no effect beyond the limits it may name. Ends the process when the memory that an option asks
// for cannot be had. Requires StartUp.
void ProcessUCI(const char* line);
