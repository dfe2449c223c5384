// Reading of words and numbers.
#include "platform/words.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t LONGEST_WORD = 127;
constexpr double LARGEST_NUMBER = 1e12;
constexpr unsigned char FIRST_PLAIN = 32;  // characters outside these two are dropped
constexpr unsigned char LAST_PLAIN = 127;

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
        if (std::strchr("{}()", first) != nullptr) {
            ++cursor_;
            word_[0] = first;
            word_[1] = '\0';
            return word_;
        }
        int length = 0;
        for (; std::strchr(" \t{}()", *cursor_) == nullptr; ++cursor_) {  // NUL ends it too
            const unsigned char c = static_cast<unsigned char>(*cursor_);
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
