// The console command language. Front-end thread only.
#pragma once

// Carries out one line, without its line end, and shows its answer. A line that is neither a
// command nor a legal move has no effect. Requires StartUp.
void ConsoleCommand(const char* line);
