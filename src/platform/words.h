// Words and numbers in text from outside. Nothing has to be initialised; any thread may call, a
// reader belongs to one.
#pragma once

#include <string>

// The first word of a text: leading blanks are skipped, a blank, a line end or the NUL ends it, and
// it is cut at 127 characters. Empty when there is none.
std::string GetWord(const char* text);

// Reads a game score word by word. Words are separated by blanks and tabs; each of "{", "}", "(",
// ")" is a word of its own. Control characters and those above 127 are dropped from a word, and it
// is cut at 255 characters. The text must outlive the reader.
class GameWords {
public:
    explicit GameWords(const char* text) : cursor_(text) {}
    // The next word, valid until the next call; nullptr at the end of the text.
    const char* NextWord();

private:
    static constexpr int WORD_SIZE = 256;
    const char* cursor_;
    char word_[WORD_SIZE] = "";
};

// Numbers: 0 without a number; never an overflow, never "not a number".
int WholeNumber(const char* text, int low, int high);  // clamped to low..high
double DecimalNumber(const char* text);                // within +-1e12
