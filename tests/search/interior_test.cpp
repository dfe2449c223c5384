// The interior search node by node: bounds, answers of the table, move flags, the cuts that look at
// captures, and the size of its buffers.
#include <algorithm>
#include <chrono>
#include <map>
#include <thread>

#include "search/searching.h"

namespace {

class InteriorTest : public SearchingTest {};

TEST_F(InteriorTest, WindowIsBoundByTheMateDistanceAndThePlyLimit) {
    ThreadBlock* tb = SetNode(fen_opn, 3);
    NodeScore(1);
    EXPECT_EQ(tb->ply_data[3].alpha, -9997);
    EXPECT_EQ(tb->ply_data[3].beta, 9996);
    EXPECT_EQ(NodeScore(1, {9996, 10000}, NODE_CUT), 9996);
    EXPECT_EQ(NodeScore(1, {-10000, -9997}, NODE_CUT), -9997);
    StandAtPly(MAX_SEARCH_PLY + 1);
    const u64 nodes = tb->nodes;
    EXPECT_LT(std::abs(NodeScore(9)), 200);
    EXPECT_EQ(tb->nodes, nodes + 1) << "beyond the last ply nothing is searched";
}

// An entry answers a node when it is deep enough and its bound tells enough; near the root a PV
// node is always searched. A node that is answered is the only one.
TEST_F(InteriorTest, TableAnswersANodeByDepthAndBound) {
    const std::map<std::string, int> types = {
        {"pv", NODE_PV}, {"cut", NODE_CUT}, {"all", NODE_ALL}};
    const std::map<std::string, int> bounds = {
        {"upper", BOUND_UPPER}, {"lower", BOUND_LOWER}, {"exact", BOUND_EXACT}};
    for (const auto& row : ReadTable("table_cuts.tsv")) {
        const auto number = [&row](std::size_t i) { return std::stoi(row[i]); };
        ThreadBlock* tb = SetNode("r3k3/pp6/8/8/8/8/PP6/R3K3 w - -", number(1));
        ClearTTable();
        StoreInTTable(&tb->pos, Word("a1b1"), number(3), number(5), bounds.at(row[4]));
        tb->nodes = 0;
        const int score = NodeScore(number(2), {number(6), number(7)}, types.at(row[0]));
        EXPECT_EQ(tb->nodes == 1 ? std::to_string(score) : "-", row[8])
            << testing::PrintToString(row);
    }
}

TEST_F(InteriorTest, MoveFlagsTellWhatAMoveDoes) {
    const std::pair<u8, const char*> names[] = {{FLAG_CHECK, "check"},
                                                {FLAG_DISCOVERED, "discovered"},
                                                {FLAG_CAPTURE, "capture"},
                                                {FLAG_SEVENTH_RANK_PAWN, "seventh"},
                                                {FLAG_QUEEN_PROMOTION, "queen"}};
    for (const auto& row : ReadTable("move_flags.tsv")) {
        Position* pos = SetGame(row[0]);
        const Move m = ReadMove(pos, row[1]).move;
        const MoveEntry e = {m, pos->board[MoveFrom(m)], pos->board[MoveTo(m)], 0};
        const u8 flags = MoveFlags(pos, pos->side, &e);
        std::string found;
        for (const auto& [flag, name] : names) {
            if (flags & flag) { found += (found.empty() ? "" : " ") + std::string(name); }
        }
        EXPECT_EQ(found.empty() ? "0" : found, row[2]) << row[0] << ' ' << row[1];
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

TEST_F(InteriorTest, PositionsWithManyQueensStayInsideTheirBuffers) {
    for (const char* fen : {"QQQQ2nk/QQQQQ1pp/8/8/8/8/PP3qqq/KN2qqqq w - -",
                            "kn1QQQQ1/pp1QQQQQ/8/8/8/8/PP4qq/KNqqqqq1 w - -"}) {
        SetGame(fen);
        std::thread timer([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
            PBlock.control.stop = STOP_FINISH;
        });
        const ThreadBlock* tb = Run(30);
        timer.join();
        for (const PlyData& pd : tb->ply_data) {
            EXPECT_LE(std::max(pd.list_start, pd.cursor), tb->move_buffer + MOVE_BUFFER_SIZE);
        }
        EXPECT_TRUE(MoveIsLegal(game_position, WHITE, PBlock.result.SnapshotMove())) << fen;
        EXPECT_TRUE(PositionIsSound(&tb->pos));
    }
}

}  // namespace
