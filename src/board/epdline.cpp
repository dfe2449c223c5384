// Taking EPD lines apart.
#include "board/epdline.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view BEST_MOVE_WORD = "bm ";
constexpr std::string_view RESULT_WORD = "tune ";
constexpr const char* COMMENT_STARTS = " #;";

constexpr std::size_t SHORTEST_POSITION = 10;  // characters
constexpr std::size_t RESULT_LENGTH = 7;       // characters of a "tune" label
constexpr double NO_RESULT = 0.5;

double ReadResult(const std::string& line) {
    const std::size_t at = line.find(RESULT_WORD);
    if (at == std::string::npos) { return NO_RESULT; }
    const double value =
        std::strtod(line.substr(at + RESULT_WORD.size(), RESULT_LENGTH).c_str(), nullptr);
    return std::isfinite(value) ? value : NO_RESULT;
}

}  // namespace

bool ParseEpdLine(const std::string& line, EpdRecord* record) {
    std::size_t length = line.size();
    while (length > 0 && (line[length - 1] == '\r' || line[length - 1] == '\0')) { --length; }
    if (length < SHORTEST_POSITION || std::strchr(COMMENT_STARTS, line[0]) != nullptr) {
        return false;
    }
    record->position.assign(line, 0, length);
    record->result = ReadResult(record->position);
    record->best_move.clear();
    const std::size_t at = record->position.find(BEST_MOVE_WORD);
    if (at != std::string::npos) {
        const std::size_t start = at + BEST_MOVE_WORD.size();
        const std::size_t end = std::min(record->position.find(';', start), length);
        record->best_move.assign(record->position, start, end - start);
    }
    return true;
}

bool NextEpdRecord(LineReader* reader, std::string* line, EpdRecord* record) {
    TextLine text;
    while (ReadLine(reader, &text)) {
        if (!text.starts_line) { continue; }
        line->assign(text.text, text.length);
        if (ParseEpdLine(*line, record)) { return true; }
    }
    return false;
}
