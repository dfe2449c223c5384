// Text files of any size and content, read line by line through one buffer. A reader belongs to one
// thread.
#pragma once

#include <cstddef>
#include <cstdio>

#include "platform/types.h"

inline constexpr std::size_t LINE_BUFFER_SIZE = 1 << 20;  // longer lines come in parts

// Owned by the one who opened it.
// Invariant: begin <= end <= the buffer's size; [begin, end) has been read and not handed out.
struct LineReader {
    std::FILE* file;
    char* buffer;  // one byte longer than LINE_BUFFER_SIZE, for the NUL of the last line
    std::size_t begin, end;
    u64 offset;      // of `begin` in the file, bytes
    bool at_end;     // the file has been read completely
    bool continued;  // the line handed out last was a part of a longer one
};

// One line, NUL-terminated in place of its line feed, writable until the next call.
struct TextLine {
    char* text;
    std::size_t length;  // bytes without the line feed; the text may hold NULs
    u64 offset;          // of the first byte in the file
    bool starts_line;    // false: goes on with the line of the call before
    bool has_line_feed;  // false: last line of the file, or a part
};

// 1, or 0 when the file cannot be opened. Skips a byte-order mark.
int OpenLines(LineReader* reader, const char* path);
// 0 at the end of the file, or once the user wants the program to end.
int ReadLine(LineReader* reader, TextLine* line);
// Goes on reading at the offset of a line that was handed out before. 0 when the file does not
// allow it.
int SeekLine(LineReader* reader, u64 offset);
void CloseLines(LineReader* reader);
