// The user's request to end the program (control-C at a terminal). A port supplies a handler that
// notes the request and wakes the front end, and InterruptSeen.
#pragma once

// From now on the first request is noted and raises the alert (sleep.h); a second one ends the
// program at once, for commands that look at nothing while they work. Front-end thread.
void CatchInterrupt();

// True once a request has been noted. Any thread.
bool InterruptSeen();

// True when work in hand has no reader any more: an interrupt was seen, or nobody can read standard
// output. For loops over lines or nodes: most calls cost next to nothing. Any thread.
bool EndWanted();
