// Whole searches at fixed depth against the table of signatures, and the rules that end or bend a
// search.
#include "search/search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "board/reference.h"
#include "frontend/pblock.h"

namespace {

class SearchTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(1); }

    // One search of the game position on slot 1, as the front end would start it.
    static ThreadBlock* Run(int max_depth, int multipv = 1) {
        PBlock.limits.max_depth = static_cast<i8>(max_depth);
        PBlock.options.multipv = static_cast<u16>(multipv);
        PBlock.control.start_request = SEARCH_THINK;
        GetElapsedTime(1);
        InitSearch();
        SearchIterations(1);
        return ThreadData[1];
    }

    static void Shuffle(Position* pos, int plies, bool game_moves) {
        const Move moves[] = {Word("g1f3"), Word("g8f6"), Word("f3g1"), Word("f6g8")};
        for (int i = 0; i < plies; ++i) {
            (game_moves ? PlayGameMove : MakeMove)(pos, moves[pos->hist_count % 4]);
        }
    }

    // Score of the game position at `ply` of a path whose last move was quiet.
    static int NodeScore(int ply, int depth, int alpha = -10000, int beta = 10000,
                         int type = NODE_PV) {
        Position* pos = game_position;
        MoveEntry* buffer = ThreadData[0]->move_buffer;
        buffer[0] = {Word("g1f3"), KNIGHT, 0, 0};
        pos->ply = static_cast<i16>(ply);
        pos->sstack[ply - 1].list_start = pos->sstack[ply - 1].cursor = buffer;
        pos->sstack[ply].list_start = buffer + 2;
        Move pv[PV_SIZE + 2] = {};
        return Search(ThreadData[0], depth, {alpha, beta}, type, pv);
    }
};

TEST_F(SearchTest, SignaturesOfTheTable) {
    for (const auto& row : ReadTable("searches.tsv")) {
        ResetEngine(64);
        const std::string before = Describe(SetGame(row[0]), true);
        const int depth = std::stoi(row[1]);
        const ThreadBlock* tb = Run(depth, std::stoi(row[2]));
        const ResultSnapshot result = PBlock.result.Snapshot();
        std::string nodes, moves, scores;
        const auto depths = std::count(row[6].begin(), row[6].end(), ' ') + 1;
        for (int d = 1; d <= depths; ++d) {
            const char* blank = d > 1 ? " " : "";
            nodes += blank + std::to_string(tb->nodes_by_depth[d]);
            moves += blank + MoveText(result.best_move_by_depth[d]);
            scores += blank + std::to_string(result.score_by_depth[d]);
        }
        std::vector<std::string> found(row.begin(), row.begin() + 3);
        for (auto value :
             {i64{result.score}, i64{result.depth_done}, static_cast<i64>(tb->nodes)}) {
            found.push_back(std::to_string(value));
        }
        found.insert(found.end(), {nodes, moves, scores, Line(result.pv)});
        for (u64 counter : {u64{tb->tt_probes}, u64{tb->tt_hits}, u64{tb->eval_probes},
                            u64{tb->eval_hits}, u64{tb->pawn_probes}, u64{tb->pawn_hits}}) {
            found.push_back(std::to_string(counter));
        }
        EXPECT_EQ(found, row);
        EXPECT_EQ(Describe(game_position, true), before);
        EXPECT_EQ(tb->pos.hash, game_position->hash) << "the search leaves its position as it was";
    }
}

TEST_F(SearchTest, MatesAndRootsWithoutMovesEndTheDeepening) {
    const struct {
        const char *fen, *line;
        int score, depth, stop;
    } cases[] = {
        {"7k/5Q2/6K1/8/8/8/8/8 b - -", "", 0, 0, STOP_NO_MOVE},
        {"4R1k1/5ppp/8/8/8/8/8/K7 b - -", "", -9999, 0, STOP_NO_MOVE},
        {"6k1/5ppp/8/8/8/8/8/K3R3 w - -", "e1e8", 9998, 1, STOP_FINISH},
        {"7k/8/8/8/8/8/R7/1R5K w - -", "a2a7", 9996, 20, STOP_FINISH},
    };
    for (const auto& c : cases) {
        SetGame(c.fen);
        EXPECT_EQ(Run(20)->nodes > 0, c.depth > 0) << c.fen;
        EXPECT_EQ(PBlock.result.Score(), c.score) << c.fen;
        EXPECT_LE(PBlock.progress.completed_depth, c.depth) << c.fen;
        EXPECT_EQ(PBlock.control.stop, c.stop) << c.fen;
        EXPECT_EQ(Line(PBlock.result.Snapshot().pv).substr(0, 4), c.line);
    }
}

TEST_F(SearchTest, RepetitionsAndFiftyMovesAreDrawsUnlessTheSideIsMated) {
    for (const auto& row : ReadTable("draws.tsv")) {
        Position* pos = SetGame(row[0]);
        InitSearch();
        PBlock.root.draw_score[WHITE] = PBlock.root.draw_score[BLACK] = 777;
        Shuffle(pos, std::stoi(row[1]), true);
        Shuffle(pos, std::stoi(row[2]), false);
        if (row[3] != "-") { pos->fifty = static_cast<u8>(std::stoi(row[3])); }
        const int score = NodeScore(std::stoi(row[4]), std::stoi(row[5]));
        const bool mated = score < MATED_SCORE;
        EXPECT_EQ(score == 777 ? "draw"
                  : mated      ? std::to_string(score)
                               : "-",
                  row[6])
            << testing::PrintToString(row);
    }
}

TEST_F(SearchTest, WindowIsBoundByTheMateDistanceAndThePlyLimit) {
    Position* pos = SetGame(fen_opn);
    InitSearch();
    NodeScore(3, 1);
    EXPECT_EQ(pos->sstack[3].alpha, -9997);
    EXPECT_EQ(pos->sstack[3].beta, 9996);
    EXPECT_EQ(NodeScore(3, 1, 9996, 10000, NODE_CUT), 9996);
    EXPECT_EQ(NodeScore(3, 1, -10000, -9997, NODE_CUT), -9997);
    const u64 nodes = ThreadData[0]->nodes;
    EXPECT_LT(std::abs(NodeScore(MAX_SEARCH_PLY + 1, 9)), 200);
    EXPECT_EQ(ThreadData[0]->nodes, nodes + 1) << "beyond the last ply nothing is searched";
}

TEST_F(SearchTest, PositionsWithManyQueensStayInsideTheirBuffers) {
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
        for (const auto& row : tb->history) {
            for (i16 value : row) { ASSERT_TRUE(value >= 0 && value <= 8192); }
        }
        EXPECT_TRUE(MoveIsLegal(game_position, WHITE, PBlock.result.SnapshotMove())) << fen;
        EXPECT_TRUE(PositionIsSound(&tb->pos));
    }
}

TEST_F(SearchTest, AnEverLongGameCanStillBeSearched) {
    SetGame(fen_opn);
    Shuffle(game_position, 4 * 400 + 2, true);
    const ThreadBlock* tb = Run(6);
    EXPECT_TRUE(PositionIsSound(&tb->pos));
    EXPECT_TRUE(MoveIsLegal(game_position, game_position->side, PBlock.result.SnapshotMove()));
}

}  // namespace
