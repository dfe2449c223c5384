// The words of a game's text.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frontend/frontend.h"

TEST(Words, OfAGame) {
    const std::string text = "1. e4{a\tc\xc3\xa9}\x01 (x)" + std::string(300, 'w') + "\n ";
    std::vector<std::string> words;
    for (const char* word = NextWord(text.c_str()); word != nullptr; word = NextWord(nullptr))
        words.emplace_back(word);
    EXPECT_EQ(words, (std::vector<std::string>{"1.", "e4", "{", "a", "c", "}", "(", "x", ")",
                                               std::string(255, 'w')}));
    EXPECT_EQ(NextWord(nullptr), nullptr);
}
