// Words and numbers out of text from outside.
#include "platform/words.h"

#include "support/engine.h"

namespace {

TEST(Words, OfAGame) {
    const std::string text =
        "1. e4{a\tc\xc3\xa9\x7f}\x01 (x)" + std::string(300, 'w') + "\n \x1f!\r";
    std::vector<std::string> words;
    GameWords reader(text.c_str());
    while (const char* word = reader.NextWord()) { words.emplace_back(word); }
    EXPECT_EQ(words, (std::vector<std::string>{"1.", "e4", "{", "a", "c\x7f", "}", "(", "x", ")",
                                               std::string(255, 'w'), "!"}));
}

TEST(Words, TheFirstOfALine) {
    const std::string longest(127, 'w');
    const std::pair<std::string, std::string> cases[] = {
        {"  ", ""},         {"  go depth 3", "go"}, {"quit\r\n", "quit"},    {"\nquit", ""},
        {"a\tb c", "a\tb"}, {longest, longest},     {longest + "x", longest}};
    for (const auto& [text, word] : cases) { EXPECT_EQ(GetWord(text.c_str()), word) << text; }
}

TEST(Words, NumbersAgreeWithTheTable) {
    for (const auto& row : ReadTable("numbers.tsv")) {
        EXPECT_EQ(WholeNumber(row[0].c_str(), -5, 2000), std::stoi(row[1])) << row[0];
        EXPECT_EQ(DecimalNumber(row[0].c_str()), std::stod(row[2])) << row[0];
    }
    EXPECT_EQ(WholeNumber("none", 3, 9), 3) << "no number counts as 0, which is clamped too";
}

TEST(Words, WhatWasMeantIsFoundAndNothingElse) {
    const std::vector<std::string> names = {"-c", "-d", "-nolog", "-hash", "-bench2", "--help"};
    const std::pair<std::string, std::string> cases[] = {{"-C", "-c"},
                                                         {"-x", ""},
                                                         {"-hsah", "-hash"},
                                                         {"--nolog", "-nolog"},
                                                         {"-help", "--help"},
                                                         {"help", "--help"},
                                                         {"-nlog", "-nolog"},
                                                         {"-bench3", "-bench2"},
                                                         {"-BENCH2", ""},
                                                         {"-log", ""},
                                                         {"nothing", ""},
                                                         {"--", ""},
                                                         {"-NoLog", "-nolog"},
                                                         {"", ""},
                                                         {std::string(9999, 'h'), ""}};
    for (const auto& [word, name] : cases) { EXPECT_EQ(NearestWord(word, names), name) << word; }
}

}  // namespace
