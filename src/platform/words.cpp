// Reading of words and numbers.
#include "platform/words.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t LONGEST_WORD = 127;
constexpr double LARGEST_NUMBER = 1e12;
constexpr unsigned char FIRST_PLAIN = 32;  // characters outside these two are dropped
constexpr unsigned char LAST_PLAIN = 127;

// Characters that end a word of a game score.
constexpr std::array<bool, 256> ends_word = [] {
    std::array<bool, 256> ends = {};
    for (const char c : {'\0', ' ', '\t', '{', '}', '(', ')'}) {
        ends[static_cast<unsigned char>(c)] = true;
    }
    return ends;
}();

// What mistakes in typing cost.
constexpr std::size_t SLIGHT = 1;   // another case, other dashes
constexpr std::size_t MISTAKE = 2;  // a letter more, less or another, or two in the wrong order
constexpr std::size_t LETTERS_OF_A_MISTAKE = 3;

char SmallLetter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::size_t LetterCost(char a, char b) {
    if (a == b) { return 0; }
    return SmallLetter(a) == SmallLetter(b) ? SLIGHT : MISTAKE;
}

// The least that turns `a` into `b`, row by row over the beginnings of `a`.
std::size_t EditCost(const std::string& a, const std::string& b) {
    std::vector<std::size_t> before_last, last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) { last[j] = MISTAKE * j; }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = MISTAKE * i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + MISTAKE, row[j - 1] + MISTAKE,
                               last[j - 1] + LetterCost(a[i - 1], b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], before_last[j - 2] + MISTAKE);
            }
        }
        before_last = last;
        last = row;
    }
    return last[b.size()];
}

std::string WithoutDashes(const std::string& word) {
    return word.substr(std::min(word.find_first_not_of('-'), word.size()));
}

}  // namespace

std::string GetWord(const char* text) {
    while (*text == ' ') { ++text; }
    return {text, std::min(std::strcspn(text, " \r\n"), LONGEST_WORD)};
}

const char* GameWords::NextWord() {
    while (*cursor_ != '\0') {
        const char first = *cursor_;
        if (first == ' ' || first == '\t') {
            ++cursor_;
            continue;
        }
        if (ends_word[static_cast<unsigned char>(first)]) {  // a brace or a parenthesis
            ++cursor_;
            word_[0] = first;
            word_[1] = '\0';
            return word_;
        }
        int length = 0;
        for (unsigned char c; !ends_word[c = static_cast<unsigned char>(*cursor_)]; ++cursor_) {
            if (c >= FIRST_PLAIN && c <= LAST_PLAIN && length + 1 < WORD_SIZE) {
                word_[length++] = static_cast<char>(c);
            }
        }
        word_[length] = '\0';
        if (length != 0) { return word_; }
    }
    return nullptr;
}

int WholeNumber(const char* text, int low, int high) {
    assert(low <= high);
    return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, 10), low, high));
}

double DecimalNumber(const char* text) {
    const double value = std::strtod(text, nullptr);
    return std::isnan(value) ? 0.0 : std::clamp(value, -LARGEST_NUMBER, LARGEST_NUMBER);
}

bool StartsWithNumber(std::string_view text) {
    const std::size_t sign = text.starts_with('-') || text.starts_with('+') ? 1 : 0;
    return text.size() > sign && text[sign] >= '0' && text[sign] <= '9';
}

bool ReadNumber(const std::string& text, double* number) {
    // The library also reads hexadecimal numbers, names of numbers, and blanks.
    if (text.find_first_not_of("+-.0123456789eE") != std::string::npos) { return false; }
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size() || !std::isfinite(value)) {
        return false;
    }
    *number = value;
    return true;
}

char32_t TakeLetter(std::string_view* text) {
    constexpr unsigned char FOLLOWING = 0x80, PAYLOAD = 0x3F;
    constexpr int PAYLOAD_BITS = 6;
    struct Form {
        unsigned char lead, mask;  // of the first byte
        char32_t least;            // smaller letters have a shorter form
    };
    constexpr Form FORMS[] = {
        {0x00, 0x80, 0}, {0xC0, 0xE0, 0x80}, {0xE0, 0xF0, 0x800}, {0xF0, 0xF8, 0x10000}};
    constexpr char32_t LAST = 0x10FFFF, FIRST_SURROGATE = 0xD800, LAST_SURROGATE = 0xDFFF;
    assert(!text->empty());
    const auto first = static_cast<unsigned char>(text->front());
    text->remove_prefix(1);
    const auto form =
        std::ranges::find_if(FORMS, [&](const Form& f) { return (first & f.mask) == f.lead; });
    if (form == std::end(FORMS)) { return NO_LETTER; }
    char32_t letter = first & static_cast<unsigned char>(~form->mask);
    for (auto more = form - std::begin(FORMS); more > 0; --more) {
        const auto byte = static_cast<unsigned char>(text->empty() ? '\0' : text->front());
        if ((byte & ~PAYLOAD) != FOLLOWING) { return NO_LETTER; }
        letter = letter << PAYLOAD_BITS | (byte & PAYLOAD);
        text->remove_prefix(1);
    }
    const bool surrogate = letter >= FIRST_SURROGATE && letter <= LAST_SURROGATE;
    return letter < form->least || letter > LAST || surrogate ? NO_LETTER : letter;
}

std::string NearestWord(const std::string& word, const std::vector<std::string>& names) {
    const std::string letters = WithoutDashes(word);
    if (letters.empty() || letters.size() > LONGEST_WORD) { return ""; }
    std::size_t least = std::max(SLIGHT, MISTAKE * letters.size() / LETTERS_OF_A_MISTAKE) + 1;
    std::string nearest;
    for (const std::string& name : names) {
        const std::string name_letters = WithoutDashes(name);
        const bool other_dashes = word.size() - letters.size() != name.size() - name_letters.size();
        const std::size_t cost = EditCost(letters, name_letters) + (other_dashes ? SLIGHT : 0);
        if (cost < least) {
            least = cost;
            nearest = name;
        }
    }
    return nearest;
}
