// Taking EPD lines apart.
#include "board/epdline.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "board/position.h"

namespace {

constexpr std::string_view BEST_MOVE_WORD = "bm ";
constexpr std::string_view RESULT_WORD = "tune ";
constexpr const char* COMMENT_STARTS = " #;";

constexpr std::size_t SHORTEST_POSITION = 10;  // characters
constexpr std::size_t RESULT_LENGTH = 7;       // characters of a "tune" label
constexpr double NO_RESULT = 0.5;

constexpr const char* BLANKS = " \t";
constexpr int POSITION_FIELDS = 4;

// Whether a word can be that field of a position, from 0.
bool IsPositionField(int field, const std::string& word) {
    switch (field) {
        case 0:
            return true;
        case 1:
            return word == "w" || word == "b";
        case 2:
            return word.find_first_not_of("KQkq-") == std::string::npos;
        default:
            return word == "-" || (word.size() == 2 && SquareOfText(word) != NO_SQUARE);
    }
}

bool IsNumber(const std::string& word) {
    return word.find_first_not_of("0123456789") == std::string::npos;
}

// Reads the word or quoted text at `at` and moves behind it. False at ";" and at the end.
bool NextOperand(const std::string& line, std::size_t* at, std::string* operand) {
    *at = std::min(line.find_first_not_of(BLANKS, *at), line.size());
    if (*at == line.size() || line[*at] == ';') { return false; }
    const bool quoted = line[*at] == '"';
    const std::size_t start = *at + (quoted ? 1 : 0);
    const std::size_t end =
        std::min(line.find_first_of(quoted ? "\"" : " \t;", start), line.size());
    *operand = line.substr(start, end - start);
    *at = std::min(end + (quoted ? 1 : 0), line.size());
    return true;
}

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

std::vector<EpdOperation> EpdOperations(const std::string& line) {
    std::vector<EpdOperation> operations;
    std::size_t at = 0;
    std::string word;
    for (int field = 0; field < POSITION_FIELDS; ++field) {
        const std::size_t before = at;
        if (!NextOperand(line, &at, &word)) { break; }
        if (!IsPositionField(field, word)) {
            at = before;
            break;
        }
    }
    while (at < line.size()) {
        EpdOperation operation;
        while (NextOperand(line, &at, &word)) {
            if (!operation.opcode.empty()) {
                operation.operands.push_back(word);
            } else if (!IsNumber(word)) {
                operation.opcode = word;
            }
        }
        if (!operation.opcode.empty()) { operations.push_back(operation); }
        if (at < line.size()) { ++at; }  // the ";"
    }
    return operations;
}

std::string WithSingleBlanks(const std::string& line) {
    std::string text;
    bool quoted = false;
    for (const char c : line) {
        if (c == '"') { quoted = !quoted; }
        const bool blank = !quoted && (c == ' ' || c == '\t');
        if (!blank) {
            text += c;
        } else if (!text.empty() && text.back() != ' ') {
            text += ' ';
        }
    }
    return text;
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
