// Writing to the standard streams. A stream that is full is waited for, asleep, whether it blocks
// or not; one that nobody reads any more is noticed, also while nothing is written. A port supplies
// the writing and the look. Nothing has to be initialised but SecureStandardStreams; any thread may
// call, and whoever must not mix with others' lines holds a lock of its own.
#pragma once

#include <string_view>

enum class OutStream { Output, Error };

// Writes all bytes. False when the stream cannot be written to, or the user wants the program to
// end while it is full; for standard output OutputIsBroken is true from then on.
bool WriteStream(OutStream stream, std::string_view bytes);

// True once standard output was found broken: closed, full without an end, or without a reader.
bool OutputIsBroken();

// Looks whether anybody can still read standard output, without waiting; OutputIsBroken tells.
void LookAtOutput();
