// Whole searches at fixed depth against the table of signatures, and the rules that end or bend a
// search.
#include "search/search.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <sstream>
#include <thread>

#include "board/reference.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

std::string Coordinates(Move m) {
    char text[MOVE_TEXT_SIZE];
    MoveToStr(m, text);
    return text;
}

// The pv from index 1 on as coordinates.
std::string Line(const Move* pv) {
    std::string line;
    for (int i = 1; i < PV_SIZE && pv[i] != NO_MOVE; ++i)
        line += (line.empty() ? "" : " ") + Coordinates(pv[i]);
    return line;
}

class SearchTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(1); }

    // One search of the game position on slot 1, as the front end would start it.
    static ThreadBlock* Run(int max_depth, int multipv = 1) {
        PBlock.max_depth = static_cast<i8>(max_depth);
        PBlock.multipv = static_cast<u16>(multipv);
        PBlock.start_request = SEARCH_THINK;
        GetElapsedTime(1);
        InitSearch();
        SearchIterations(1);
        return ThreadData[1];
    }

    static void Shuffle(Position* pos, int plies, bool game_moves) {
        const Move moves[] = {MakeMoveWord(6, 21), MakeMoveWord(62, 45), MakeMoveWord(21, 6),
                              MakeMoveWord(45, 62)};
        for (int i = 0; i < plies; ++i) {
            const Move m = moves[pos->hist_count % 4];
            game_moves ? PlayGameMove(pos, m) : MakeMove(pos, m);
        }
    }

    // Puts the game position at `ply` of a path whose last move was quiet, with an empty buffer.
    static Position* Descend(int ply) {
        Position* pos = game_position;
        MoveEntry* buffer = ThreadData[0]->move_buffer;
        buffer[0] = {MakeMoveWord(6, 21), KNIGHT, 0, 0};
        pos->ply = static_cast<i16>(ply);
        pos->sstack[ply - 1].list_start = pos->sstack[ply - 1].cursor = buffer;
        pos->sstack[ply].list_start = buffer + 2;
        return pos;
    }

    static int NodeScore(int ply, int depth, int alpha = -10000, int beta = 10000,
                         int type = NODE_PV) {
        Position* pos = Descend(ply);
        Move pv[PV_SIZE + 2] = {};
        return Search(pos, pos->side, ply, depth, alpha, beta, type, pv);
    }
};

TEST_F(SearchTest, SignaturesOfTheTable) {
    for (const auto& row : ReadTable("searches.tsv")) {
        ResetEngine(64);
        const std::string before = Describe(SetGame(row[0]), true);
        const int depth = std::stoi(row[1]);
        const ThreadBlock* tb = Run(depth, std::stoi(row[2]));
        EXPECT_EQ(std::to_string(PBlock.score), row[3]) << row[0];
        EXPECT_EQ(std::to_string(PBlock.depth_done), row[4]) << row[0];
        EXPECT_EQ(std::to_string(tb->nodes), row[5]) << row[0];
        std::string nodes, moves, scores;
        std::istringstream depths(row[6]);
        int done = 0;
        for (std::string word; depths >> word;) ++done;
        for (int d = 1; d <= done; ++d) {
            const char* blank = d > 1 ? " " : "";
            nodes += blank + std::to_string(tb->nodes_by_depth[d]);
            moves += blank + Coordinates(PBlock.best_move_by_depth[d]);
            scores += blank + std::to_string(PBlock.score_by_depth[d]);
        }
        EXPECT_EQ(nodes, row[6]) << row[0];
        EXPECT_EQ(moves, row[7]) << row[0];
        EXPECT_EQ(scores, row[8]) << row[0];
        EXPECT_EQ(Line(PBlock.pv), row[9]) << row[0];
        const u64 counters[] = {tb->tt_probes, tb->tt_hits,     tb->eval_probes,
                                tb->eval_hits, tb->pawn_probes, tb->pawn_hits};
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_EQ(std::to_string(counters[i]), row[10 + i]) << row[0];
        EXPECT_EQ(Describe(game_position, true), before);
        EXPECT_EQ(tb->pos.hash, game_position->hash) << "the search leaves its position as it was";
    }
}

TEST_F(SearchTest, RootWithoutMovesIsAnsweredAtOnce) {
    const struct {
        const char* fen;
        int score;
    } cases[] = {{"7k/5Q2/6K1/8/8/8/8/8 b - -", 0}, {"4R1k1/5ppp/8/8/8/8/8/K7 b - -", -9999}};
    for (const auto& c : cases) {
        SetGame(c.fen);
        EXPECT_EQ(Run(8)->nodes, 0u);
        EXPECT_EQ(PBlock.score, c.score);
        EXPECT_EQ(PBlock.stop, STOP_NO_MOVE);
        EXPECT_EQ(PBlock.pv[1], NO_MOVE);
    }
}

TEST_F(SearchTest, MatesAreFoundAndEndTheDeepening) {
    const struct {
        const char *fen, *move;
        int score, depth;
    } cases[] = {
        {"6k1/5ppp/8/8/8/8/8/K3R3 w - -", "e1e8", 9998, 1},
        {"7k/8/8/8/8/8/R7/1R5K w - -", "a2a7", 9996, 20},
    };
    for (const auto& c : cases) {
        SetGame(c.fen);
        Run(20);
        EXPECT_GE(PBlock.score, c.score) << c.fen;
        EXPECT_LE(PBlock.completed_depth, c.depth) << c.fen;
        EXPECT_EQ(PBlock.stop, STOP_FINISH);
        EXPECT_EQ(Coordinates(PBlock.pv[1]), c.move);
    }
}

TEST_F(SearchTest, DepthZeroGivesAQuiescenceScoreWithoutAMoveSearchedAtTheRoot) {
    SetGame("4k3/8/8/3q4/8/4N3/8/R3K3 w - -");
    const ThreadBlock* tb = Run(0);
    EXPECT_EQ(PBlock.depth_done, 0);
    EXPECT_EQ(tb->iteration_depth, 0);
    EXPECT_GT(tb->running_score, 200) << "the queen hangs";
}

TEST_F(SearchTest, RepetitionsAreCountedWithinTheFiftyCounter) {
    Position* pos = SetGame(fen_opn);
    Shuffle(pos, 3, true);
    EXPECT_EQ(CountRepetitions(pos, 2), 0);
    Shuffle(pos, 1, true);
    EXPECT_EQ(CountRepetitions(pos, 2), 1);
    Shuffle(pos, 8, true);
    EXPECT_EQ(CountRepetitions(pos, 9), 3);
    EXPECT_EQ(CountRepetitions(pos, 2), 2);
    pos->fifty = 8;
    EXPECT_EQ(CountRepetitions(pos, 9), 2) << "no further back than the counter, that ply included";
    pos->fifty = 7;
    EXPECT_EQ(CountRepetitions(pos, 9), 1);
    pos->fifty = 255;
    EXPECT_EQ(CountRepetitions(pos, 9), 3) << "not before the first record";
    MakeNullMove(pos);
    EXPECT_EQ(CountRepetitions(pos, 9), 0);
}

TEST_F(SearchTest, RepeatedPositionsAreDrawsOnceBelowPlyFiveAndTwiceAbove) {
    const struct {
        int game_plies, search_plies;
        bool draw;
    } cases[] = {{3, 1, false}, {7, 1, true}, {0, 4, true}, {0, 3, false}, {4, 1, false}};
    for (const auto& c : cases) {
        SetGame(fen_opn);
        InitSearch();
        PBlock.draw_score[WHITE] = PBlock.draw_score[BLACK] = 777;
        Shuffle(game_position, c.game_plies, true);
        Shuffle(game_position, c.search_plies, false);
        EXPECT_EQ(NodeScore(1 + c.search_plies, 1) == 777, c.draw)
            << c.game_plies << ' ' << c.search_plies;
    }
}

TEST_F(SearchTest, FiftyMovesAreADrawUnlessTheSideIsMated) {
    const struct {
        const char* fen;
        int fifty, score;
    } cases[] = {
        {"7k/8/8/8/8/8/R7/K7 b - -", 101, 777},
        {"7k/8/8/8/8/8/R7/K7 b - -", 255, 777},
        {"4R1k1/5ppp/8/8/8/8/8/K7 b - -", 101, 6 - 10000},
        {"4R1k1/5ppp/8/8/8/8/8/K7 b - -", 0, 6 - 10000},
        {"7k/5Q2/6K1/8/8/8/8/8 b - -", 0, 777},
    };
    for (const auto& c : cases) {
        Position* pos = SetGame(c.fen);
        InitSearch();
        PBlock.draw_score[WHITE] = PBlock.draw_score[BLACK] = 777;
        pos->fifty = static_cast<u8>(c.fifty);
        EXPECT_EQ(NodeScore(6, 1), c.score) << c.fen << ' ' << c.fifty;
    }
    SetGame("7k/8/8/8/8/8/R7/K7 b - -");
    game_position->fifty = 100;
    EXPECT_NE(NodeScore(6, 0), 777);
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

TEST_F(SearchTest, SeveralLinesStartWithTheBestMovesInOrder) {
    SetGame("7k/8/8/8/1q1r4/2N5/8/7K w - -");
    const ThreadBlock* tb = Run(5, 3);
    const MoveEntry* list = tb->ply_data[1].list_start;
    EXPECT_EQ(list[0].move, PBlock.pv[1]);
    EXPECT_GE(list[0].score, list[1].score);
    EXPECT_GE(list[1].score, list[2].score);
    EXPECT_GT(list[2].score, -10000) << "the third line has a score of its own";
    for (int i = 3; list[i].move != END_OF_LIST; ++i) EXPECT_LE(list[i].score, list[2].score);
}

TEST_F(SearchTest, PositionsWithManyQueensStayInsideTheirBuffers) {
    for (const char* fen : {"QQQQ2nk/QQQQQ1pp/8/8/8/8/PP3qqq/KN2qqqq w - -",
                            "kn1QQQQ1/pp1QQQQQ/8/8/8/8/PP4qq/KNqqqqq1 w - -"}) {
        SetGame(fen);
        for (auto& row : ThreadData[1]->counter_moves)
            for (Move& m : row) m = NO_MOVE;
        std::atomic<bool> ended{false};
        std::thread timer([&ended] {
            for (int ms = 0; ms < 500 && !ended; ++ms)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            PBlock.stop = STOP_FINISH;
        });
        const ThreadBlock* tb = Run(30);
        ended = true;
        timer.join();
        const MoveEntry* end = tb->move_buffer + MOVE_BUFFER_SIZE;
        for (const PlyData& pd : tb->ply_data) {
            EXPECT_LE(pd.list_start, end);
            EXPECT_LE(pd.cursor, end);
        }
        for (const auto& row : tb->history)
            for (i16 value : row) ASSERT_TRUE(value >= 0 && value <= 8192);
        EXPECT_TRUE(MoveIsLegal(game_position, WHITE, PBlock.pv[1])) << fen;
        EXPECT_TRUE(PositionIsSound(&tb->pos));
        EXPECT_EQ(tb->pos.hash, game_position->hash);
    }
}

TEST_F(SearchTest, AnEverLongGameCanStillBeSearched) {
    SetGame(fen_opn);
    Shuffle(game_position, 4 * 400 + 2, true);
    const ThreadBlock* tb = Run(6);
    EXPECT_TRUE(PositionIsSound(&tb->pos));
    EXPECT_TRUE(MoveIsLegal(game_position, game_position->side, PBlock.pv[1]));
}

}  // namespace
