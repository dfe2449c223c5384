// Text files of any size and content, read line by line through one buffer. Nothing has to be
// initialised. Each reader belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdio>

#include "platform/types.h"

inline constexpr std::size_t LINE_BUFFER_SIZE = 1 << 20;  // bytes; longer lines come in parts

// Owned by the one who opened it.
// Invariant: begin <= end <= LINE_BUFFER_SIZE; [begin, end) has been read and not handed out.
struct LineReader {
    std::FILE* file = nullptr;  // nullptr: not open
    char* buffer = nullptr;     // one byte longer than LINE_BUFFER_SIZE, for the last line's NUL
    std::size_t begin = 0, end = 0;  // bytes from the start of the buffer
    u64 offset = 0;                  // of `begin` in the file, bytes
    bool at_end = false;             // the file has been read completely
    bool continued = false;          // the line handed out last was a part of a longer one
    bool broken_off = false;         // reading ended early, as the end of the program is wanted
};

// One line, NUL-terminated in place of its line feed, writable until the next call.
struct TextLine {
    char* text = nullptr;
    std::size_t length = 0;      // bytes without the line feed; the text may hold NULs
    u64 offset = 0;              // of the first byte in the file
    bool starts_line = true;     // false: goes on with the line of the call before
    bool has_line_feed = false;  // false: last line of the file, or a part
};

// Opens a file and skips its byte-order mark. False, with nothing to close, when the file cannot be
// opened or there is no memory for the buffer.
[[nodiscard]] bool OpenLines(LineReader* reader, const char* path);
// The same with a file that is open already, at its start; it belongs to the reader from then on.
// False when there is no file (nullptr), or no memory, in which case the file has been closed.
[[nodiscard]] bool OpenLines(LineReader* reader, std::FILE* file);

// Reads the next line. A line that is longer than the buffer comes in parts, cut at a blank (which
// goes) where there is one. False at the end of the file, when reading fails, or once the end of
// the program is wanted (`broken_off`). Requires: an open reader.
[[nodiscard]] bool ReadLine(LineReader* reader, TextLine* line);

// The file could not be read to its end (a folder never can). Requires: an open reader.
bool ReadingFailed(const LineReader& reader);

// Goes on reading at the offset of a line that was handed out before. False when the file does not
// allow it; the reader then goes on where it was. Requires: an open reader.
[[nodiscard]] bool SeekLine(LineReader* reader, u64 offset);

// Requires: an open reader. Opened again, it may be used again.
void CloseLines(LineReader* reader);
