// The line reader: every kind of line end and content, lines around the buffer's size, going back.
#include "platform/textlines.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/engine.h"

namespace {

struct Line {
    std::string text;
    u64 offset;
    bool starts_line = true;
    bool has_line_feed = true;
    bool operator==(const Line&) const = default;
};

// For messages: long texts by their length alone.
void PrintTo(const Line& line, std::ostream* out) {
    *out << '@' << line.offset << (line.starts_line ? " start " : " part ")
         << (line.has_line_feed ? "lf " : "- ") << line.text.size() << ' '
         << testing::PrintToString(line.text.substr(0, 20));
}

std::vector<Line> ReadAll(LineReader* reader) {
    std::vector<Line> lines;
    TextLine line;
    while (ReadLine(reader, &line)) {
        EXPECT_EQ(line.text[line.length], '\0');
        lines.push_back({std::string(line.text, line.length), line.offset, line.starts_line,
                         line.has_line_feed});
    }
    EXPECT_EQ(std::ferror(reader->file), 0);
    return lines;
}

TEST(TextLines, OfEveryContentAndLength) {
    const ScratchFolder folder;
    constexpr std::size_t size = LINE_BUFFER_SIZE;
    const std::string nul("a\0b", 3);
    const std::string x(size, 'x');
    const std::string shorter = x.substr(1);
    const std::string blank = x.substr(10) + ' ' + x.substr(0, 20);
    const struct {
        std::string what;
        std::string content;
        std::vector<Line> lines;
    } cases[] = {
        {"empty", "", {}},
        {"empty lines", "\n\n", {{"", 0}, {"", 1}}},
        {"no last line feed", "ab\nc", {{"ab", 0}, {"c", 3, true, false}}},
        {"carriage returns stay", "a\r\n\rb\r", {{"a\r", 0}, {"\rb\r", 3, true, false}}},
        {"NULs are text", nul + '\n' + nul, {{nul, 0}, {nul, 4, true, false}}},
        {"byte-order mark",
         "\xEF\xBB\xBF"
         "a\n",
         {{"a", 3}}},
        {"a mark alone", "\xEF\xBB\xBF", {}},
        {"half a mark", "\xEF\xBB", {{"\xEF\xBB", 0, true, false}}},
        {"a mark later on", "a\n\xEF\xBB\xBF\n", {{"a", 0}, {"\xEF\xBB\xBF", 2}}},
        {"just fits", shorter + "\nb", {{shorter, 0}, {"b", size, true, false}}},
        {"just fits the second time", "ab\n" + shorter + "\n", {{"ab", 0}, {shorter, 3}}},
        {"fills the buffer at the end", shorter, {{shorter, 0, true, false}}},
        {"as long as the buffer",
         x + "\nb\n",
         {{x, 0, true, false}, {"", size, false, true}, {"b", size + 1}}},
        {"as long, at the end", x, {{x, 0, true, false}}},
        {"in parts, at blanks",
         blank + "\nb",
         {{x.substr(10), 0, true, false},
          {x.substr(0, 20), size - 9, false, true},
          {"b", size + 12, true, false}}},
        {"in parts, blank at the end",
         shorter + " y\n",
         {{shorter, 0, true, false}, {"y", size, false, true}}},
        {"in parts, without a blank",
         x + x + "z",
         {{x, 0, true, false}, {x, size, false, false}, {"z", 2 * size, false, false}}},
    };
    for (const auto& c : cases) {
        std::ofstream("file", std::ios::binary) << c.content;
        LineReader reader;
        ASSERT_TRUE(OpenLines(&reader, "file"));
        EXPECT_EQ(ReadAll(&reader), c.lines) << c.what;
        // From every line on, the same once more; what was a part is then taken for a line.
        for (std::size_t i = 0; i < c.lines.size(); ++i) {
            ASSERT_TRUE(SeekLine(&reader, c.lines[i].offset));
            std::vector<Line> rest(c.lines.begin() + static_cast<std::ptrdiff_t>(i), c.lines.end());
            rest[0].starts_line = true;
            EXPECT_EQ(ReadAll(&reader), rest) << c.what << ' ' << i;
        }
        CloseLines(&reader);
    }
}

TEST(TextLines, WhatCannotBeRead) {
    const ScratchFolder folder;
    LineReader reader;
    EXPECT_FALSE(OpenLines(&reader, "missing"));
    ASSERT_TRUE(OpenLines(&reader, "."));
    TextLine line;
    EXPECT_FALSE(ReadLine(&reader, &line));
    EXPECT_NE(std::ferror(reader.file), 0) << "a folder ends like a file";
    CloseLines(&reader);
    std::ofstream("file") << "a\nb\n";
    ASSERT_TRUE(OpenLines(&reader, "file"));
    ASSERT_TRUE(ReadLine(&reader, &line));
    EXPECT_FALSE(SeekLine(&reader, ~u64{0}));
    ASSERT_TRUE(ReadLine(&reader, &line));
    EXPECT_STREQ(line.text, "b") << "reading goes on where it was";
    CloseLines(&reader);
}

}  // namespace
