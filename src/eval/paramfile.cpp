// Reader of the parameter file: one "key value" setting a line, and blocks of eight lines for whole
// piece-square tables. Nothing has to be initialised first; called while no search runs. The file
// comes from outside: a line that cannot be right is named on the message output, and no line can
// do more than set its own field.
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "eval/personality.h"
#include "eval/weights.h"
#include "frontend/output.h"

namespace {

constexpr int MAX_LINE = 254;   // characters of a line, without its end
constexpr int MAX_TEXT = 79;    // characters of a setting without leading and trailing spaces
constexpr int SHOWN_TEXT = 40;  // characters of the file that a message repeats at most

// The file being read and the line read last.
// Invariants: 1. `text` is NUL-terminated and holds neither the line's leading spaces nor its end.
// 2. When `too_long` or `has_nul` it is not the whole line, and only good to be shown.
struct ParameterFile {
    const char* path;
    std::FILE* stream;
    int line_number = 0;
    char text[MAX_LINE + 2] = "";
    bool too_long = false;
    bool has_nul = false;
    bool pending = false;  // the line is to be read once more
};

// Reads the next line; false at the end of the file. A carriage return before the line feed belongs
// to the line's end.
bool ReadLine(ParameterFile* file) {
    if (file->pending) {
        file->pending = false;
        return true;
    }
    int total = 0, length = 0, c;
    file->too_long = file->has_nul = false;
    while ((c = std::getc(file->stream)) != EOF && c != '\n') {
        if (total <= MAX_LINE + 1) { ++total; }
        if (c == ' ' && length == 0) { continue; }
        if (c == '\0') { file->has_nul = true; }
        if (length <= MAX_LINE) { file->text[length++] = static_cast<char>(c); }
    }
    if (c == EOF && total == 0) { return false; }
    ++file->line_number;
    if (length > 0 && total <= MAX_LINE + 1 && file->text[length - 1] == '\r') {
        --length, --total;
    }
    file->too_long = total > MAX_LINE && length > 0;
    file->text[length] = '\0';
    return true;
}

// Names a line that cannot be right: "vesk.rc, line 12: key without a value: "hung"".
void ShowFault(const ParameterFile* file, const char* what, const char* part) {
    char shown[SHOWN_TEXT + 1];
    int n = 0;
    for (; part[n] != '\0' && n < SHOWN_TEXT; ++n) {
        const bool printable = part[n] >= ' ' && part[n] <= '~';
        shown[n] = printable ? part[n] : '?';
    }
    shown[n] = '\0';
    if (n == 0) {
        ShowMessageF("%s, line %d: %s", file->path, file->line_number, what);
    } else {
        ShowMessageF("%s, line %d: %s: \"%s\"", file->path, file->line_number, what, shown);
    }
}

// What a number's text holds beyond its value.
struct NumberFaults {
    bool malformed = false;     // no digits, or something else behind them
    bool out_of_range = false;  // more than its field holds
};

// Leading integer of a text: white space, a sign, digits; 0 without digits. Only the low bits
// matter, so that it wraps instead of overflowing. A fault is noted, none is ever taken back.
u32 LeadingInteger(const char* text, WeightKind kind, NumberFaults* faults) {
    const bool byte = kind == WeightKind::BYTE;
    text += std::strspn(text, " \t\r\v\f");
    const bool negative = *text == '-';
    const i64 limit = byte ? (negative ? 0 : UINT8_MAX) : (negative ? -i64{INT16_MIN} : INT16_MAX);
    if (*text == '-' || *text == '+') { ++text; }
    const char* digits = text;
    u32 value = 0;
    i64 size = 0;  // stops growing once it is out of every range
    for (; *text >= '0' && *text <= '9'; ++text) {
        value = value * 10 + static_cast<u32>(*text - '0');
        if (size <= limit) { size = size * 10 + (*text - '0'); }
    }
    if (size > limit) { faults->out_of_range = true; }
    const char* rest = text + std::strspn(text, "\t\r");
    if (text == digits || (*rest != ' ' && *rest != '\0')) { faults->malformed = true; }
    return negative ? 0 - value : value;
}

i16 Word(u32 value) { return static_cast<i16>(static_cast<u16>(value)); }

// Comments and blank lines.
bool IsComment(const ParameterFile* file) {
    return file->text[0] == '#' || (file->text[0] == '\0' && !file->has_nul);
}

// Blanks of either kind at the end of a line mean nothing.
void TrimEnd(char* text) {
    std::size_t length = std::strlen(text);
    while (length > 0 && std::strchr(" \t\r", text[length - 1]) != nullptr) { --length; }
    text[length] = '\0';
}

void ShowNumberFaults(const ParameterFile* file, const NumberFaults& faults) {
    if (faults.malformed) {
        ShowFault(file, "malformed number", file->text);
    } else if (faults.out_of_range) {
        ShowFault(file, "number out of range, its low bits are used", file->text);
    }
}

// Reads one line of eight values. A comment, a blank line or a short line reads missing values as
// 0; a line that was cut, or that holds a NUL, leaves the row as it was.
void ReadRow(ParameterFile* file, i16* row) {
    const bool comment = IsComment(file);
    if (!comment && (file->has_nul || file->too_long)) {
        ShowFault(file, file->has_nul ? "NUL character" : "line too long", file->text);
        return;
    }
    i16 values[8] = {};
    int count = 0;
    NumberFaults faults;
    TrimEnd(file->text);
    const char* text = comment ? "" : file->text;
    for (; *text != '\0';
         text += std::strcspn(text, " "), text += std::strspn(text, " "), ++count) {
        if (count < 8) { values[count] = Word(LeadingInteger(text, WeightKind::WORD, &faults)); }
    }
    std::memcpy(row, values, sizeof values);
    if (count != 8) {
        ShowFault(file, "a piece-square line needs eight numbers", file->text);
    } else {
        ShowNumberFaults(file, faults);
    }
}

// The weight that a line sets, nullptr when it begins with no known key.
const Weight* WeightOfLine(const char* text) { return FindKey({text, std::strcspn(text, " =")}); }

// Reads the eight lines that follow into a row of 64 values, rank 8 first. Stops at the end of the
// file, or at a setting, which is then read as such; what is not reached stays.
void LoadPST(i16* row, ParameterFile* file) {
    for (int rank = 7; rank >= 0; --rank) {
        if (!ReadLine(file)) {
            ShowFault(file, "the file ends inside a piece-square table", "");
            return;
        }
        if (WeightOfLine(file->text) != nullptr) {
            ShowFault(file, "a piece-square table needs eight lines", file->text);
            file->pending = true;
            return;
        }
        ReadRow(file, row + 8 * rank);
    }
}

void ReadSetting(ParameterFile* file, PersonalityRecord* record) {
    const char* text = file->text;
    if (file->has_nul) {
        ShowFault(file, "NUL character", text);
        return;
    }
    std::size_t length = std::strlen(text);
    while (length > 0 && text[length - 1] == ' ') { --length; }
    if (file->too_long || length > MAX_TEXT) {
        ShowFault(file, "line too long", text);
        return;
    }
    const std::size_t key_length = std::strcspn(text, " =");
    const Weight* weight = WeightOfLine(text);
    if (weight == nullptr) {
        const std::size_t tab = std::strcspn(text, "\t");
        if (tab < key_length && FindKey({text, tab}) != nullptr) {
            ShowFault(file, "a tab does not separate key and value", text);
        }
        return;
    }
    if (text[key_length] == '\0') {
        ShowFault(file, "key without a value", text);
        return;
    }
    if (weight->kind == WeightKind::SQUARES) {
        LoadPST(WordField(*weight, record), file);
        return;
    }
    const char* value_text = text + key_length + std::strspn(text + key_length, " =");
    NumberFaults faults;
    const u32 value = LeadingInteger(value_text, weight->kind, &faults);
    if (*value_text == '\0') {
        ShowFault(file, "no value, 0 is used", text);
    } else {
        ShowNumberFaults(file, faults);
    }
    if (weight->kind == WeightKind::BYTE) {
        *ByteField(*weight, record) = static_cast<u8>(value);
    } else {
        *WordField(*weight, record) = Word(value);
    }
}

}  // namespace

int LoadConfigFile(const char* path, PersonalityRecord* record) {
    ParameterFile file;
    file.path = path;
    file.stream = std::fopen(path, "rb");
    if (file.stream == nullptr) { return 0; }
    // A folder opens but does not read.
    const int first = std::getc(file.stream);
    if (first == EOF && std::ferror(file.stream)) {
        std::fclose(file.stream);
        return 0;
    }
    if (first != EOF) { std::ungetc(first, file.stream); }
    ShowMessageF("loading parameters from %s\n", path);
    while (ReadLine(&file)) {
        if (!IsComment(&file)) { ReadSetting(&file, record); }
    }
    std::fclose(file.stream);
    return 1;
}
