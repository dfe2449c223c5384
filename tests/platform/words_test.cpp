// Words and numbers out of text from outside.
#include "platform/words.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(Words, OfAGame) {
    const std::string text =
        "1. e4{a\tc\xc3\xa9\x7f}\x01 (x)" + std::string(300, 'w') + "\n \x1f!\r";
    std::vector<std::string> words;
    GameWords reader(text.c_str());
    while (const char* word = reader.NextWord()) { words.emplace_back(word); }
    EXPECT_EQ(words, (std::vector<std::string>{"1.", "e4", "{", "a", "c\x7f", "}", "(", "x", ")",
                                               std::string(255, 'w'), "!"}));
    EXPECT_EQ(reader.NextWord(), nullptr);
}

TEST(Words, TheFirstOfALine) {
    const struct {
        std::string text;
        std::string word;
    } cases[] = {
        {"", ""},
        {"  ", ""},
        {"  go depth 3", "go"},
        {"quit\r\n", "quit"},
        {"\nquit", ""},
        {"a\tb c", "a\tb"},
        {std::string(127, 'w') + "x", std::string(127, 'w')},
        {std::string(127, 'w'), std::string(127, 'w')},
    };
    for (const auto& c : cases) { EXPECT_EQ(GetWord(c.text.c_str()), c.word) << c.text; }
}

TEST(Words, Numbers) {
    const struct {
        const char* text;
        int whole;  // clamped to -5..2000
        double decimal;
    } cases[] = {
        {"", 0, 0.0},
        {"x7", 0, 0.0},
        {" 12.75s", 12, 12.75},
        {"-5", -5, -5.0},
        {"-6", -5, -6.0},
        {"2000", 2000, 2000.0},
        {"2001", 2000, 2001.0},
        {"99999999999999999999", 2000, 1e12},
        {"-99999999999999999999", -5, -1e12},
        {"1e12", 1, 1e12},
        {"nan", 0, 0.0},
        {"-inf", 0, -1e12},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(WholeNumber(c.text, -5, 2000), c.whole) << c.text;
        EXPECT_EQ(DecimalNumber(c.text), c.decimal) << c.text;
    }
    EXPECT_EQ(WholeNumber("none", 3, 9), 3) << "no number counts as 0, which is clamped too";
}

}  // namespace
