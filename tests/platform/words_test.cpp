// The words of a game's text.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/words.h"

TEST(Words, OfAGame) {
    const std::string text = "1. e4{a\tc\xc3\xa9}\x01 (x)" + std::string(300, 'w') + "\n ";
    std::vector<std::string> words;
    GameWords reader(text.c_str());
    while (const char* word = reader.NextWord()) { words.emplace_back(word); }
    EXPECT_EQ(words, (std::vector<std::string>{"1.", "e4", "{", "a", "c", "}", "(", "x", ")",
                                               std::string(255, 'w')}));
    EXPECT_EQ(reader.NextWord(), nullptr);
}
