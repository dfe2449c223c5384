// The line reader: every kind of line end and content, lines around the buffer's size, going back.
#include "platform/textlines.h"

#include <fstream>
#include <map>
#include <sstream>

#include "support/engine.h"

namespace {

using Lines = std::vector<std::string>;

// The lines from where the reader stands, as "offset:length" with "~" before one that goes on with
// the line before and "-" after one without a line feed.
Lines ReadAll(LineReader* reader, const std::string& content) {
    Lines lines;
    TextLine line;
    while (ReadLine(reader, &line)) {
        EXPECT_EQ(line.text[line.length], '\0');
        EXPECT_EQ(content.compare(line.offset, line.length, line.text, line.length), 0);
        lines.push_back((line.starts_line ? "" : "~") + std::to_string(line.offset) + ":" +
                        std::to_string(line.length) + (line.has_line_feed ? "" : "-"));
    }
    EXPECT_EQ(std::ferror(reader->file), 0);
    return lines;
}

TEST(TextLines, OfEveryContentAndLengthAgreeWithTheTable) {
    const ScratchFolder folder;
    const std::map<char, std::string> meanings = {
        {'|', "\n"},           {'^', "\r"},       {'0', std::string(1, '\0')},
        {'M', "\xEF\xBB\xBF"}, {'m', "\xEF\xBB"}, {'X', std::string(LINE_BUFFER_SIZE - 10, 'x')}};
    for (const Lines& row : ReadTable("textlines.tsv")) {
        SCOPED_TRACE(row[0]);
        std::string content;
        for (char c : row[1]) { content += meanings.contains(c) ? meanings.at(c) : std::string{c}; }
        std::ofstream("file", std::ios::binary) << content;
        std::istringstream words(row[2]);
        Lines lines{std::istream_iterator<std::string>(words), {}};
        LineReader reader;
        ASSERT_TRUE(OpenLines(&reader, "file"));
        EXPECT_FALSE(SeekLine(&reader, ~u64{0})) << "which leaves the reader where it was";
        EXPECT_EQ(ReadAll(&reader, content), lines);
        // From every line on, the same once more; what was a part is then taken for a line.
        for (; !lines.empty(); lines.erase(lines.begin())) {
            if (lines[0][0] == '~') { lines[0].erase(0, 1); }
            ASSERT_TRUE(SeekLine(&reader, std::stoul(lines[0])));
            EXPECT_EQ(ReadAll(&reader, content), lines);
        }
        CloseLines(&reader);
    }
}

TEST(TextLines, WhatCannotBeRead) {
    const ScratchFolder folder;
    LineReader reader;
    TextLine line;
    EXPECT_FALSE(OpenLines(&reader, "missing"));
    ASSERT_TRUE(OpenLines(&reader, "."));
    EXPECT_FALSE(ReadLine(&reader, &line));
    EXPECT_NE(std::ferror(reader.file), 0) << "a folder ends like a file";
    CloseLines(&reader);
}

}  // namespace
