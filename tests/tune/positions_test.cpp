// The positions of the tuner: what is kept of a line, and into which list it goes.
#include "tune/positions.h"

#include <algorithm>
#include <fstream>

#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

using PositionsTest = EngineTest;

TEST_F(PositionsTest, LinesAreKeptByTheirShortTextAndListedByWhatTheyAre) {
    const ScratchFolder folder;
    PositionSet set;
    EXPECT_FALSE(LoadPositions("missing.epd", game_position, &set));
    const auto rows = ReadTable("positions.tsv");
    std::ofstream file("test.epd");
    for (const auto& row : rows) { file << row[0] << "\n# no position\n"; }
    file.close();
    ASSERT_TRUE(LoadPositions("test.epd", game_position, &set));
    ASSERT_EQ(set.positions.size(), rows.size());
    for (u32 i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(&set.texts[set.positions[i].text], rows[i][1]);
        EXPECT_EQ(std::to_string(set.positions[i].result), rows[i][2]) << rows[i][0];
        std::string lists;
        for (const auto& list : {set.quiet[WHITE], set.quiet[BLACK], set.in_check}) {
            lists += std::to_string(std::ranges::count(list, i));
        }
        EXPECT_EQ(lists, rows[i][3]) << rows[i][0];
        SetUpPosition(set, i, game_position);
        const u64 hash = game_position->hash;
        EXPECT_EQ(hash, SetGame(rows[i][1])->hash) << rows[i][0];
    }
}

}  // namespace
