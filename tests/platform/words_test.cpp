// Words and numbers out of text from outside.
#include "platform/words.h"

#include "support/engine.h"

namespace {

using namespace std::string_literals;

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

TEST(Words, OnlyDecimalNumbersAreRead) {
    for (const auto& [text, value] :
         {std::pair{"5", 5.0}, {"-0.25", -0.25}, {"+1e2", 100.0}, {".5", 0.5}}) {
        double number = 0.0;
        EXPECT_TRUE(ReadNumber(text, &number)) << text;
        EXPECT_EQ(number, value) << text;
    }
    for (const char* text : {"", "0x5", "nan", "inf", "1e999", " 5", "5 ", "5a", "-", "1,5", "e"}) {
        double number = 7.0;
        EXPECT_FALSE(ReadNumber(text, &number)) << text;
        EXPECT_EQ(number, 7.0) << text;
    }
}

TEST(Words, LettersOfValidTextOnly) {
    const std::pair<std::string, std::u32string> cases[] = {
        {"a\u007F\u0080\u07FF\u0800\uFFFD\U00010000\U0010FFFF",
         U"a\x7F\x80\x7FF\x800\xFFFD\x10000\x10FFFF"},
        {std::string(1, '\0') + "b", U"\0b"s},
        {"\xC3\x84\x9B"
         "a",
         U"\xC4*a"},
        {"\xC1\xBF"
         "a",
         U"*a"},  // a letter of one byte
        {"\xE0\x9F\xBF"
         "a",
         U"*a"},  // of two
        {"\xF0\x8F\xBF\xBF"
         "a",
         U"*a"},  // of three
        {"\xED\xA0\x80"
         "a",
         U"*a"},  // half of a pair
        {"\xF4\x90\x80\x80"
         "a",
         U"*a"},  // beyond the last
        {"\xF8"
         "a",
         U"*a"},
        {"\xE2\x82"
         "a",
         U"*a"},
        {"a\xE2\x82", U"a*"}};
    for (const auto& [text, letters] : cases) {
        std::u32string found;
        for (std::string_view rest = text; !rest.empty();) {
            const char32_t letter = TakeLetter(&rest);
            found += letter == NO_LETTER ? U'*' : letter;
        }
        EXPECT_EQ(found, letters) << text;
    }
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
