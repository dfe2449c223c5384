// What the wait for input asks of the reading thread on Windows. Front-end thread.
#pragma once

// An event of the system (a HANDLE) that is set while input waits to be taken, and for good once it
// has ended. The first call starts the thread that reads; nullptr when the system gives none.
void* InputEvent();
