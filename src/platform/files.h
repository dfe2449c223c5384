// Files by name, for those who read and write them through the C library: names are UTF-8 and of
// any length the system allows, no byte is changed on the way, and who reads a file never keeps
// another from replacing it. A port supplies all of it. Any thread; whatever fails says why in
// errno.
#pragma once

#include <cstdio>

#include "platform/types.h"

// Opens a file, of whatever kind, for reading. nullptr when that cannot be.
std::FILE* OpenToRead(const char* path);

// Makes a file that did not exist and opens it for writing. nullptr when that cannot be; a link of
// that name counts as a file.
std::FILE* OpenNewFile(const char* path);

// Takes a file, a link or an empty folder away. False when there is none, or it stays.
bool RemoveFile(const char* path);

// Gives a file another name, in the same folder, in one step; a file or link that had the name is
// replaced. False on failure: both are then what they were.
[[nodiscard]] bool RenameOver(const char* from, const char* to);

// Goes to an offset in bytes, also beyond what a long can tell. False when the file does not allow
// it; the place is then what it was. Requires: an open file.
[[nodiscard]] bool SeekFile(std::FILE* file, u64 offset);

// Makes a folder the working folder. Before other threads use files.
[[nodiscard]] bool EnterFolder(const char* path);
