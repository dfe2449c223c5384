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
