// Line reader over the C library's files, with a buffer of its own.
#include "platform/textlines.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "platform/files.h"
#include "platform/interrupt.h"

namespace {

constexpr char BYTE_ORDER_MARK[] = "\xEF\xBB\xBF";
constexpr std::size_t MARK_LENGTH = sizeof BYTE_ORDER_MARK - 1;

// Fills the free end of the buffer; the bytes not handed out move to its front.
void Refill(LineReader* reader) {
    const std::size_t kept = reader->end - reader->begin;
    std::memmove(reader->buffer, reader->buffer + reader->begin, kept);
    const std::size_t n =
        std::fread(reader->buffer + kept, 1, LINE_BUFFER_SIZE - kept, reader->file);
    reader->begin = 0;
    reader->end = kept + n;
    reader->at_end = n == 0;
}

}  // namespace

bool OpenLines(LineReader* reader, const char* path) { return OpenLines(reader, OpenToRead(path)); }

bool OpenLines(LineReader* reader, std::FILE* file) {
    *reader = {};
    reader->file = file;
    if (file == nullptr) { return false; }
    reader->buffer = static_cast<char*>(std::malloc(LINE_BUFFER_SIZE + 1));
    if (reader->buffer == nullptr) {
        std::fclose(file);
        *reader = {};
        return false;
    }
    std::setvbuf(reader->file, nullptr, _IONBF, 0);
    Refill(reader);
    if (reader->end >= MARK_LENGTH &&
        std::memcmp(reader->buffer, BYTE_ORDER_MARK, MARK_LENGTH) == 0) {
        reader->begin = MARK_LENGTH;
        reader->offset = MARK_LENGTH;
    }
    return true;
}

bool ReadLine(LineReader* reader, TextLine* line) {
    assert(reader->file != nullptr);
    assert(reader->begin <= reader->end && reader->end <= LINE_BUFFER_SIZE);
    std::size_t length = 0;  // of the line, as far as it has been looked at
    char* feed = nullptr;
    for (;;) {
        reader->broken_off = EndWanted();
        if (reader->broken_off) { return false; }
        char* from = reader->buffer + reader->begin + length;
        feed = static_cast<char*>(std::memchr(from, '\n', reader->end - reader->begin - length));
        length = feed != nullptr ? static_cast<std::size_t>(feed - reader->buffer) - reader->begin
                                 : reader->end - reader->begin;
        if (feed != nullptr || reader->at_end || length == LINE_BUFFER_SIZE) { break; }
        Refill(reader);
    }
    if (feed == nullptr && length == 0) { return false; }
    std::size_t taken = length;
    if (feed != nullptr) {
        ++taken;
    } else if (!reader->at_end) {
        // A part of a line ends before its last blank, so that no word is cut.
        const char* text = reader->buffer + reader->begin;
        while (taken > 0 && text[taken - 1] != ' ') { --taken; }
        if (taken > 0) {
            length = taken - 1;
        } else {
            taken = length;
        }
    }
    line->text = reader->buffer + reader->begin;
    line->text[length] = '\0';
    line->length = length;
    line->offset = reader->offset;
    line->starts_line = !reader->continued;
    line->has_line_feed = feed != nullptr;
    reader->continued = feed == nullptr;
    reader->begin += taken;
    reader->offset += taken;
    return true;
}

bool SeekLine(LineReader* reader, u64 offset) {
    assert(reader->file != nullptr);
    if (!SeekFile(reader->file, offset)) { return false; }
    reader->begin = reader->end = 0;
    reader->offset = offset;
    reader->at_end = reader->continued = false;
    return true;
}

bool ReadingFailed(const LineReader& reader) {
    assert(reader.file != nullptr);
    return std::ferror(reader.file) != 0;
}

void CloseLines(LineReader* reader) {
    assert(reader->file != nullptr);
    std::fclose(reader->file);
    std::free(reader->buffer);
    *reader = {};
}
