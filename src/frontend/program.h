// The program as a function. Main thread, once.
#pragma once

// Runs the engine as the command line asks, until it ends. Returns the exit status: 0, or 1 when
// the start-up failed, a tool could not do its work, or the output could not be written.
[[nodiscard]] int RunProgram(int argc, char** argv);
