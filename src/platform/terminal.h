// What the terminal that the program was started at can show, by the variables that terminals and
// users set. Any thread may call, while nobody changes the environment.
#pragma once

// True when standard output is a terminal that takes UTF-8.
bool TerminalShowsSymbols();
// True when standard output is a terminal of 256 colours and its user has not asked for none
// (NO_COLOR).
bool TerminalShowsColours();
