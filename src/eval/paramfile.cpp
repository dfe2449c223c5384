// Reader of the parameter file: one "key value" setting a line, and blocks of eight lines for whole
// piece-square tables. Nothing has to be initialised first; called while no search runs. The file
// comes from outside: a line that cannot be right is named on the message output, and no line can
// do more than set its own field.
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "eval/personality.h"
#include "eval/weights.h"
#include "frontend/output.h"
#include "platform/infile.h"
#include "platform/textlines.h"

namespace {

constexpr std::string_view STANDARD_KEY = "standard";  // the one key that is no weight

constexpr std::size_t MAX_LINE = 254;   // characters of a line, without its end
constexpr std::size_t MAX_TEXT = 79;    // of a setting without leading and trailing spaces
constexpr std::size_t SHOWN_TEXT = 40;  // of the file that a message repeats at most
constexpr u32 DECIMAL = 10;

// The file being read and the line read last.
struct ParameterFile {
    const char* path;
    LineReader reader;
    bool* standard = nullptr;  // what the file says of the standard form; nullptr: it has no say
    int line_number = 0;
    // Without leading spaces and the line's end, cut at its first NUL and after MAX_LINE + 1
    // characters: of a line that is too long or holds a NUL it is only good to be shown.
    std::string text;
    bool too_long = false;
    bool has_nul = false;
    bool pending = false;  // the line is to be read once more
};

void AddToLine(ParameterFile* file, std::string_view part) {
    if (file->text.empty() && !file->has_nul) {
        part.remove_prefix(std::min(part.find_first_not_of(' '), part.size()));
    }
    const std::size_t nul = part.find('\0');
    const std::size_t room = MAX_LINE + 1 - file->text.size();
    if (!file->has_nul) { file->text += part.substr(0, std::min(nul, room)); }
    file->has_nul |= nul != std::string_view::npos;
}

// Reads the next line; false at the end of the file. A carriage return before the line feed belongs
// to the line's end.
[[nodiscard]] bool NextLine(ParameterFile* file) {
    if (file->pending) {
        file->pending = false;
        return true;
    }
    TextLine part;
    if (!ReadLine(&file->reader, &part)) { return false; }
    ++file->line_number;
    file->text.clear();
    file->has_nul = false;
    std::size_t total = 0;
    do {
        total += part.length;
        AddToLine(file, {part.text, part.length});
    } while (!part.has_line_feed && ReadLine(&file->reader, &part));
    if (!file->has_nul && total <= MAX_LINE + 1 && file->text.ends_with('\r')) {
        file->text.pop_back();
        --total;
    }
    file->too_long = total > MAX_LINE && !file->text.empty();
    return true;
}

// Names a line that cannot be right: "vesk.rc, line 12: key without a value: "hung"".
void ShowFault(const ParameterFile* file, const char* what, std::string_view part) {
    std::string shown(part.substr(0, SHOWN_TEXT));
    for (char& c : shown) {
        if (c < ' ' || c > '~') { c = '?'; }
    }
    if (shown.empty()) {
        ShowRemark("%s, line %d: %s", file->path, file->line_number, what);
    } else {
        ShowRemark("%s, line %d: %s: \"%s\"", file->path, file->line_number, what, shown.c_str());
    }
}

// The text after any of `characters` at its front.
std::string_view After(std::string_view text, const char* characters) {
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
    return text;
}

// What a number's text holds beyond its value.
struct NumberFaults {
    bool malformed = false;     // no digits, or something else after them
    bool out_of_range = false;  // more than its field holds
};

// Leading integer of a text: white space, a sign, digits; 0 without digits. Only the low bits
// matter, so that it wraps instead of overflowing. A fault is noted, none is ever taken back.
u32 LeadingInteger(std::string_view text, WeightKind kind, NumberFaults* faults) {
    const bool byte = kind == WeightKind::BYTE;
    text = After(text, " \t\r\v\f");
    const bool negative = text.starts_with('-');
    const i64 limit = byte ? (negative ? 0 : UINT8_MAX) : (negative ? -i64{INT16_MIN} : INT16_MAX);
    if (negative || text.starts_with('+')) { text.remove_prefix(1); }
    const std::string_view rest = After(text, "0123456789");
    const std::string_view digits = text.substr(0, text.size() - rest.size());
    u32 value = 0;
    i64 size = 0;  // stops growing once it is out of every range
    for (const char c : digits) {
        const u32 digit = static_cast<u32>(c - '0');
        value = value * DECIMAL + digit;
        if (size <= limit) { size = size * DECIMAL + digit; }
    }
    if (size > limit) { faults->out_of_range = true; }
    const std::string_view next = After(rest, "\t\r");
    if (digits.empty() || (!next.empty() && next[0] != ' ')) { faults->malformed = true; }
    return negative ? 0 - value : value;
}

i16 Word(u32 value) { return static_cast<i16>(static_cast<u16>(value)); }

// Comments and blank lines.
bool IsComment(const ParameterFile* file) {
    return file->text.starts_with('#') || (file->text.empty() && !file->has_nul);
}

void ShowNumberFaults(const ParameterFile* file, const NumberFaults& faults) {
    if (faults.malformed) {
        ShowFault(file, "malformed number", file->text);
    } else if (faults.out_of_range) {
        ShowFault(file, "number out of range, its low bits are used", file->text);
    }
}

// Reads one line of eight values. A comment, a blank line or a short line reads missing values as
// 0; a line that was cut, or that holds a NUL, leaves the row as it was. Blanks of either kind at
// the end of a line mean nothing.
void ReadRow(ParameterFile* file, i16* row) {
    const bool comment = IsComment(file);
    if (!comment && (file->has_nul || file->too_long)) {
        ShowFault(file, file->has_nul ? "NUL character" : "line too long", file->text);
        return;
    }
    file->text.resize(file->text.find_last_not_of(" \t\r") + 1);
    i16 values[FILE_COUNT] = {};
    int count = 0;
    NumberFaults faults;
    std::string_view rest = comment ? std::string_view() : file->text;
    while (!rest.empty()) {
        if (count < FILE_COUNT) {
            values[count] = Word(LeadingInteger(rest, WeightKind::WORD, &faults));
        }
        ++count;
        rest = After(rest.substr(std::min(rest.find(' '), rest.size())), " ");
    }
    std::copy(std::begin(values), std::end(values), row);
    if (count != FILE_COUNT) {
        ShowFault(file, "a piece-square line needs eight numbers", file->text);
    } else {
        ShowNumberFaults(file, faults);
    }
}

// The key that a line begins with, known or not.
std::string_view KeyOf(std::string_view text) { return text.substr(0, text.find_first_of(" =")); }

bool IsKnown(const ParameterFile& file, std::string_view key) {
    return FindKey(key) != nullptr || (file.standard != nullptr && key == STANDARD_KEY);
}

// Reads the eight lines that follow into a row of 64 values, rank 8 first. Stops at the end of the
// file, or at a setting, which is then read as such; what is not reached stays.
void LoadPST(i16* row, ParameterFile* file) {
    for (int rank = LAST_RANK; rank >= FIRST_RANK; --rank) {
        if (!NextLine(file)) {
            ShowFault(file, "the file ends inside a piece-square table", "");
            return;
        }
        if (IsKnown(*file, KeyOf(file->text))) {
            ShowFault(file, "a piece-square table needs eight lines", file->text);
            file->pending = true;
            return;
        }
        ReadRow(file, row + SquareOf(0, rank));
    }
}

// A line without a known key means nothing, but a tab in a space's place was hardly meant so.
void ShowTabAfterKey(const ParameterFile* file, std::string_view key) {
    const std::size_t tab = key.find('\t');
    if (tab != std::string_view::npos && IsKnown(*file, key.substr(0, tab))) {
        ShowFault(file, "a tab does not separate key and value", file->text);
    }
}

// The number of the setting, whose text after the key this is.
u32 NumberOf(const ParameterFile* file, WeightKind kind, std::string_view text) {
    NumberFaults faults;
    const u32 value = LeadingInteger(text, kind, &faults);
    if (text.empty()) {
        ShowFault(file, "no value, 0 is used", file->text);
    } else {
        ShowNumberFaults(file, faults);
    }
    return value;
}

void ReadSetting(ParameterFile* file, PersonalityRecord* record) {
    const std::string_view text = file->text;
    if (file->has_nul) {
        ShowFault(file, "NUL character", text);
        return;
    }
    if (file->too_long || text.find_last_not_of(' ') >= MAX_TEXT) {
        ShowFault(file, "line too long", text);
        return;
    }
    const std::string_view key = KeyOf(text);
    const Weight* weight = FindKey(key);
    const std::string_view value = After(text.substr(key.size()), " =");
    if (!IsKnown(*file, key)) {
        ShowTabAfterKey(file, key);
    } else if (key.size() == text.size()) {
        ShowFault(file, "key without a value", text);
    } else if (weight == nullptr) {
        *file->standard = NumberOf(file, WeightKind::BYTE, value) != 0;
    } else if (weight->kind == WeightKind::SQUARES) {
        LoadPST(WordField(*weight, record), file);
    } else if (weight->kind == WeightKind::BYTE) {
        *ByteField(*weight, record) = static_cast<u8>(NumberOf(file, WeightKind::BYTE, value));
    } else {
        *WordField(*weight, record) = Word(NumberOf(file, weight->kind, value));
    }
}

}  // namespace

bool LoadConfigFile(const char* path, PersonalityRecord* record, bool* standard) {
    ParameterFile file;
    file.standard = standard;
    file.path = path;
    const char* why = nullptr;
    if (!OpenLines(&file.reader, OpenRegularFile(path, &why))) {
        if (why != nullptr) { ShowError("%s: %s\n", path, why); }
        return false;
    }
    if (!ReadingFailed(file.reader)) { ShowRemark("loading parameters from %s\n", path); }
    while (NextLine(&file)) {
        if (!IsComment(&file)) { ReadSetting(&file, record); }
    }
    const bool complete = !ReadingFailed(file.reader);
    if (!complete) { ShowError("%s cannot be read to its end\n", path); }
    CloseLines(&file.reader);
    return complete;
}
