// Words and numbers in text from outside, NUL-terminated and of any length and content. Nothing has
// to be initialised; any thread may call, a reader belongs to one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns the first word of a text: leading blanks are skipped, a blank, a line end or the NUL ends
// it, and it is cut at 127 characters. Empty when there is none.
std::string GetWord(const char* text);

// Reads a game score word by word. Blanks and tabs separate words; each of "{", "}", "(", ")" is a
// word of its own. Control characters and those above 127 are dropped from a word, and it is cut at
// 255 characters. The text must outlive the reader.
class GameWords {
public:
    explicit GameWords(const char* text) : cursor_(text) {}
    // Returns the next word, never empty and valid until the next call; nullptr at the end of the
    // text.
    const char* NextWord();

private:
    static constexpr int WORD_SIZE = 256;
    const char* cursor_;
    char word_[WORD_SIZE] = "";
};

// Return the number that a text begins with, after any white space; 0 when it begins with none.
// Never an overflow, never "not a number": a whole number is clamped to low..high (0 as well), a
// decimal one to +-1e12. Requires: low <= high.
int WholeNumber(const char* text, int low, int high);
double DecimalNumber(const char* text);

// Whether a text begins with a digit, with or without a sign before it.
bool StartsWithNumber(std::string_view text);
// Reads a text that is a finite decimal number and nothing else. False when it is not.
[[nodiscard]] bool ReadNumber(const std::string& text, double* number);

// Takes the first letter off a text in UTF-8, which is not empty, and returns it; NO_LETTER, with
// at least a byte taken off, where the text is not valid.
inline constexpr char32_t NO_LETTER = 0xFFFFFFFF;
char32_t TakeLetter(std::string_view* text);

// Returns the one of `names` that `word` was most likely meant to be, the first of several; empty
// when it resembles none: about one mistake in three letters is forgiven, and leading dashes and
// capital letters hardly count.
std::string NearestWord(const std::string& word, const std::vector<std::string>& names);
