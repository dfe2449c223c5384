// What the Windows sources share: text and paths between UTF-8 and the system's wide characters,
// and the system's error numbers as those of the C library. Any thread.
#pragma once

#include <string>
#include <string_view>

// Text in UTF-8 as wide characters, and back. What is not valid becomes replacement characters.
std::wstring WideText(std::string_view text);
std::string NarrowText(std::wstring_view text);

// A path as the system takes it at any length: one that is near the old limit of 260 characters
// becomes absolute and gets the prefix that lifts the limit, whatever the user's settings are.
std::wstring WidePath(std::string_view path);

// Sets errno to what an error of the system means, and returns false.
bool FailWith(unsigned long system_error);
// The same for the calling thread's last error.
bool FailWithLast();
