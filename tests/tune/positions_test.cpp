// The positions of the tuner: what is kept of a line, and into which list it goes.
#include "tune/positions.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

using PositionsTest = EngineTest;

// All that SetPosition leaves: fields, the lists of men in their order, the start of the history.
std::string WhatIsSetUp(const Position* pos) {
    std::ostringstream all;
    char epd[EPD_FIELDS_SIZE];
    MakeEPD(pos, epd);
    all << epd << ' ' << pos->hash << ' ' << pos->hist_count << pos->ply << +pos->fifty;
    for (const auto& lists : pos->plist) {
        for (const u8* square : lists) {
            for (all << '/'; *square != NO_SQUARE; ++square) { all << square_name[*square]; }
        }
    }
    for (const int i : {0, 1}) { all << ' ' << pos->undo[i].move << ' ' << pos->undo[i].hash; }
    return all.str();
}

TEST_F(PositionsTest, LinesAreSetUpAsFromTheirTextAndListedByWhatTheyAre) {
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
        EXPECT_EQ(std::to_string(set.positions[i].result), rows[i][2]) << rows[i][0];
        std::string lists;
        for (const auto& list : {set.quiet[WHITE], set.quiet[BLACK], set.in_check}) {
            lists += std::to_string(std::ranges::count(list, i));
        }
        EXPECT_EQ(lists, rows[i][3]) << rows[i][0];
        game_position->undo[0].hash = game_position->undo[1].move = 1;
        SetUpPosition(set, i, game_position);
        EXPECT_EQ(PositionIsSound(game_position), 1) << rows[i][0];
        const std::string copied = WhatIsSetUp(game_position);
        EXPECT_EQ(copied, WhatIsSetUp(SetGame(rows[i][1]))) << rows[i][0];
    }
}

}  // namespace
