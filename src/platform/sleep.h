// Alertable sleeps: a wait that ends early when somebody raises its alert. A port supplies an
// object that one thread waits on with a time limit and that any thread may raise; a raise that
// comes before the wait is not lost.
#pragma once

// One alert. Owned by whoever waits on it; AlertCreate first, AlertDestroy last.
// Invariant: `read_fd` and `write_fd` are both open or both -1.
struct Alert {
    int read_fd = -1;
    int write_fd = -1;
};

// Returns 0, or -1 when the system gives no more handles; `alert` is then unusable but may be
// destroyed.
int AlertCreate(Alert* alert);
void AlertDestroy(Alert* alert);

// Wakes the waiter, or lets its next wait return at once. Any thread; safe inside a signal handler.
// An alert that was never created is ignored.
void AlertRaise(Alert* alert);

// Sleeps for `milliseconds`, until the alert is raised, or until nobody can read standard output;
// takes the raise away. With an alert that was never created it simply sleeps.
void SleepEx(int milliseconds, Alert* alert);

// The same, but also ends when standard input has something to read or has ended (unless
// `ignore_input`).
void SleepExOrInput(int milliseconds, Alert* alert, bool ignore_input);
