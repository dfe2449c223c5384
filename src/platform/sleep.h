// The front end's waits: sleeps that end early when somebody raises the alert. There is one alert,
// and one thread, the front end's, waits for it. A port supplies a wait with a time limit that also
// ends by a raise, from any thread or from an interrupt, and by input; a raise that comes before
// the wait is not lost.
#pragma once

// Before the first wait and after the last; front-end thread, while no other thread raises. Where
// the system gives no handles the alert stays away: raises are ignored and waits last their time.
void CreateAlert();
void DestroyAlert();

// Ends the wait, or the next one at once; many raises in a row end one. Any thread; safe inside a
// signal handler. Ignored while there is no alert.
void RaiseAlert();

// Sleeps for `milliseconds` (none when negative), until the alert is raised, which takes the raise
// away, or until nobody can read standard output. A signal does not shorten it. Front-end thread.
void SleepEx(int milliseconds);

// The same for seconds, also fractions of a millisecond, or without end for FOREVER; also ends when
// standard input has something to read or has ended, unless its end was seen before. Without an
// alert, FOREVER is some milliseconds.
inline constexpr double FOREVER = -1.0;
void SleepExOrInput(double seconds, bool input_ended = false);
