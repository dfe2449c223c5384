// The interior search node by node: bounds, answers of the table, move flags, and the cuts that
// look at captures.
#include "search/searching.h"

namespace {

class InteriorTest : public SearchingTest {};

// Each at a ply that a line of moves has led to. An entry answers a node when it is deep enough and
// its bound tells enough; one of depth -20 tells nothing. The number of nodes shows what is cut,
// pruned, reduced and extended.
TEST_F(InteriorTest, NodesFollowTheRulesOfTheTable) {
    for (const auto& row : ReadTable("nodes.tsv")) {
        const auto number = [&row](std::size_t i) { return std::stoi(row[i]); };
        ThreadBlock* tb = SetNode(row[1], 1);
        Play(&tb->pos, row[2]);
        StandAtPly(number(4));
        ResetOrdering(tb);
        ClearTTable();
        StoreInTTable(&tb->pos, Word("a1b1"), number(6), number(8), number(7));
        tb->nodes = 0;
        const int score = NodeScore(number(5), {number(9), number(10)}, number(3));
        EXPECT_EQ(std::to_string(score) + ' ' + std::to_string(tb->nodes), row[11]) << row[0];
    }
}

TEST_F(InteriorTest, MoveFlagsTellWhatAMoveDoes) {
    for (const auto& row : ReadTable("move_flags.tsv")) {
        const Position* pos = SetGame(row[0]);
        const Move m = ReadMove(pos, row[1]).move;
        const MoveEntry e = {m, pos->board[MoveFrom(m)], pos->board[MoveTo(m)], 0};
        const u8 flags = MoveFlags(pos, FindChecks(pos), &e);
        std::string found;
        for (std::size_t bit = 0; bit < 5; ++bit) {
            if (flags & (1 << bit)) { found += "x+d7q"[bit]; }
        }
        EXPECT_EQ(found.empty() ? "-" : found, row[2]) << row[0] << ' ' << row[1];
    }
}

// The bound is what must be held or reached; the evaluation of the static null move is 1000.
TEST_F(InteriorTest, CutsByCapturesAskWhatHangsAndWhatIsSafeToTake) {
    for (const auto& row : ReadTable("capture_cuts.tsv")) {
        ThreadBlock* tb = SetNode(row[0], 3);
        const int bound = std::stoi(row[2]);
        const int cut = row[1] == "static null" ? SNMP(tb, 1000, bound) : ProbCut(tb, 2, bound);
        EXPECT_EQ(std::to_string(cut), row[3]) << testing::PrintToString(row);
    }
}

}  // namespace
