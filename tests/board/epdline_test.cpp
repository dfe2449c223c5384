// EPD lines: what is usable, and what is read out of a line.
#include "board/epdline.h"

#include <fstream>

#include "board/reference.h"

namespace {

TEST(EpdLine, UsableLinesOfAFileAreTakenApart) {
    const ScratchFolder folder;
    const std::vector<Row> rows = ReadTable("epdlines.tsv");
    const std::string board = "4k3/8/8/8/8/8/8/4KQ2 w - -";
    // Parts of the first line after its first would pass for positions.
    std::string text = board + ' ' + std::string(2 * LINE_BUFFER_SIZE, 'x') + board + '\n';
    for (const Row& row : rows) { text += row[0] + "\r\n"; }
    std::ofstream("file", std::ios::binary) << text;
    LineReader reader;
    ASSERT_TRUE(OpenLines(&reader, "file"));
    std::string line;
    EpdRecord record;
    EXPECT_TRUE(NextEpdRecord(&reader, &line, &record));
    EXPECT_EQ(line, board);
    for (const Row& row : rows) {
        if (row[1] == "0") { continue; }
        ASSERT_TRUE(NextEpdRecord(&reader, &line, &record)) << row[0];
        EXPECT_EQ(line, row[0] + '\r');
        EXPECT_EQ(record.position, row[0]);
        EXPECT_EQ(record.best_move, row[2]) << row[0];
        EXPECT_EQ(record.result, std::stod(row[3])) << row[0];
    }
    EXPECT_FALSE(NextEpdRecord(&reader, &line, &record));
    CloseLines(&reader);
}

TEST(EpdLine, OperationsAreWordsOrQuotedTexts) {
    const std::pair<const char*, const char*> cases[] = {
        {"4k3/8/8/8/8/8/8/4KQ2 w - -", ""},
        {"4k3/8/8/8/8/8/8/4KQ2 w", ""},
        {"4k3/8/8/8/8/8/8/4KQ2 w - bm Qf7;", "bm|Qf7/"},
        {"4k3/8/8/8/8/8/8/4KQ2 w - - 12 40 bm Qf7+ Qe2; id \"a; b\";", "bm|Qf7+|Qe2/id|a; b/"},
        {"4k3/8/8/8/8/8/8/4KQ2\tw - - ; bm Qd1 + ;id BK.01 ", "bm|Qd1|+/id|BK.01/"},
        {"4k3/8/8/8/8/8/8/4KQ2 w - - c0 \"e4=1\"x;;; noop ; am \"", "c0|e4=1|x/noop/am|/"},
        {"4k3/8/8/8/8/8/8/4KQ2 w - - id \"never ended; bm a4", "id|never ended; bm a4/"}};
    for (const auto& [line, expected] : cases) {
        std::string text;
        for (const EpdOperation& operation : EpdOperations(line)) {
            text += operation.opcode;
            for (const std::string& operand : operation.operands) { text += '|' + operand; }
            text += '/';
        }
        EXPECT_EQ(text, expected) << line;
    }
}

}  // namespace
