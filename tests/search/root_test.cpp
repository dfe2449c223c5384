// Whole searches at fixed depth against the table of signatures, and the rules that end or bend a
// search.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "search/searching.h"

namespace {

class RootTest : public SearchingTest {};

TEST_F(RootTest, SignaturesOfTheTable) {
    for (const auto& row : ReadTable("searches.tsv")) {
        ResetEngine(64);
        const std::string before = Describe(SetGame(row[0]), true);
        const int depth = std::stoi(row[1]);
        PBlock.options.multipv = static_cast<u16>(std::stoi(row[2]));
        const ThreadBlock* tb = Run(depth);
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

TEST_F(RootTest, MatesAndRootsWithoutMovesEndTheDeepening) {
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

TEST_F(RootTest, AnEverLongGameCanStillBeSearched) {
    SetGame(fen_opn);
    for (int i = 0; i < 400; ++i) {
        for (const char* move : {"g1f3", "g8f6", "f3g1", "f6g8"}) {
            PlayGameMove(game_position, Word(move));
        }
    }
    const ThreadBlock* tb = Run(6);
    EXPECT_TRUE(PositionIsSound(&tb->pos));
    EXPECT_TRUE(MoveIsLegal(game_position, game_position->side, PBlock.result.SnapshotMove()));
}

TEST_F(RootTest, EasyMovesAreTheOnlyOneAndThoseFarAboveTheOthersForLong) {
    const char* only_move = "7k/8/8/8/8/8/6q1/7K w - -";
    const char* wins_a_queen = "4k3/8/8/3q4/4P3/8/PPP5/4K3 w - -";
    const char* late_discovery = "5b1r/pQ2p1pp/5k2/4qn2/2B1p3/4B3/PP3P2/2KR4 w - -";  // at depth 7
    const char* equal_moves = "4k3/8/8/8/8/8/PPP5/4K3 w - -";
    const struct {
        const char* fen;
        int depth, easy;
    } cases[] = {
        {only_move, 6, EASY_NONE},       {only_move, 7, EASY_SINGLE},
        {wins_a_queen, 11, EASY_NONE},   {wins_a_queen, 12, EASY_CLEAR},
        {late_discovery, 12, EASY_NONE}, {late_discovery, 13, EASY_CLEAR},
        {equal_moves, 12, EASY_NONE},
    };
    for (const auto& c : cases) {
        SetGame(c.fen);
        Run(c.depth);
        EXPECT_EQ(PBlock.result.DepthDone(), c.depth) << c.fen;
        EXPECT_EQ(PBlock.progress.easy_move, c.easy) << c.fen << ' ' << c.depth;
    }
}

int output_reader;  // of the pipe that stands for standard output
int lines_left;     // until the search is stopped

// Comes as a signal before the write of a line returns.
void StopAtLine(int) {
    char text[1024];
    const ssize_t size = read(output_reader, text, sizeof text);
    const std::string_view line(text, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    if (line.ends_with("pv d2e4\n") && --lines_left == 0) { PBlock.control.stop = STOP_FINISH; }
}

// At depth 5 the score rises from 13 for g5f4 to 186 for d2e4, shown at 14, 39 and 89 on the way.
TEST_F(RootTest, AnInterruptedFailHighCountsOnceItIsFarAboveTheBest) {
    int handles[2];
    ASSERT_EQ(pipe(handles), 0);
    output_reader = handles[0];
    const auto before = std::signal(SIGIO, StopAtLine);
    fcntl(output_reader, F_SETOWN, getpid());
    fcntl(output_reader, F_SETFL, O_NONBLOCK | O_ASYNC);
    const int output = dup(STDOUT_FILENO);
    const std::pair<const char*, int> results[] = {{"g5f4", 13}, {"d2e4", 39}, {"d2e4", 89}};
    for (int lines = 1; lines <= 3; ++lines) {
        ClearTTable();
        SetGame("r1bqkb1r/4npp1/p1p4p/1p1pP1B1/8/1B6/PPPN1PPP/R2Q1RK1 w kq -");
        PBlock.options.noise = 0.0;
        lines_left = lines;
        dup2(handles[1], STDOUT_FILENO);
        Run(5);
        dup2(output, STDOUT_FILENO);
        EXPECT_EQ(MoveText(PBlock.result.SnapshotMove()), results[lines - 1].first) << lines;
        EXPECT_EQ(PBlock.result.Score(), results[lines - 1].second) << lines;
        EXPECT_EQ(int{PBlock.progress.completed_depth}, 4);
    }
    std::signal(SIGIO, before);
    for (const int handle : {handles[0], handles[1], output}) { close(handle); }
}

TEST_F(RootTest, AStopBeforeAnyResultLeavesTheFirstLegalMove) {
    SetGame(
        "4k3/8/8/8/7b/8/8/R3K3 w Q -");  // in check: castling and the rook's moves are not legal
    Prepare(5);
    PBlock.control.stop = STOP_FINISH;
    SearchIterations(1);
    EXPECT_TRUE(MoveIsLegal(game_position, WHITE, PBlock.result.SnapshotMove()));
    EXPECT_EQ(PBlock.result.DepthDone(), 0);
}

// Slot 2 of four threads searches on until its nodes are spent; the depths of the others stand
// still. A depth that it leaves out keeps its old node count.
class HelperTest : public RootTest {
protected:
    static std::string DepthsSearched(const std::vector<int>& other_depths, int completed_depth = 0,
                                      double elapsed = 0.0) {
        PBlock.options.threads = 4;
        for (int slot = 2; slot <= 4; ++slot) {
            if (NewThreadBlock(slot) == nullptr) { std::abort(); }
        }
        SetGame("4k3/1pp5/8/8/8/8/PPP5/4K3 w - -");
        Prepare(11);
        PBlock.limits.node_limit = 100000;
        ThreadData[1]->iteration_depth = static_cast<i8>(other_depths[0]);
        ThreadData[3]->iteration_depth = static_cast<i8>(other_depths[1]);
        ThreadData[4]->iteration_depth = static_cast<i8>(other_depths[2]);
        PBlock.progress.completed_depth = static_cast<i8>(completed_depth);
        PBlock.time.elapsed = elapsed;
        ThreadBlock* tb = ThreadData[2];
        std::fill(std::begin(tb->nodes_by_depth), std::end(tb->nodes_by_depth), u64{77});
        std::fill(std::begin(tb->best_score_by_depth), std::end(tb->best_score_by_depth), i16{77});
        SearchIterations(2);
        std::string depths;
        for (int d = 1; d <= 12; ++d) {
            if (tb->nodes_by_depth[d] == 77) { continue; }
            if (!depths.empty()) { depths += ' '; }
            depths += std::to_string(d);
            if (tb->best_score_by_depth[d] == NO_SCORE) { depths += '-'; }
        }
        EXPECT_EQ(PBlock.result.DepthDone(), 0) << "a helper publishes nothing";
        return depths;
    }
};

TEST_F(HelperTest, SkipsCrowdedDepthsBeyondTheSixth) {
    EXPECT_EQ(DepthsSearched({0, 0, 0}), "1 2 3 4 5 6 7 8 9 10 11");
    EXPECT_EQ(DepthsSearched({20, 20, 20}), "1 2 3 4 5 6 8 10 11");
    EXPECT_EQ(DepthsSearched({20, 6, 20}), "1 2 3 4 5 6 7 8 9 10 11") << "two others: no crowd";
    EXPECT_EQ(DepthsSearched({8, 7, 20}), "1 2 3 4 5 6 8 9 10 11");
    PBlock.options.multipv = 2;
    EXPECT_EQ(DepthsSearched({20, 20, 20}), "1 2 3 4 5 6 7 8 9 10 11");
}

TEST_F(HelperTest, AbandonsWhatTheMainThreadHasCompletedOnceTheSearchHasSettled) {
    EXPECT_EQ(DepthsSearched({0, 0, 0}, 4, 0.024), "1 2 3 4 5 6 7 8 9 10 11");
    EXPECT_EQ(DepthsSearched({0, 0, 0}, 4, 0.025), "1- 2- 3- 4 5 6 7 8 9 10 11");
    EXPECT_EQ(ThreadData[2]->root_status, ROOT_NORMAL);
}

TEST_F(HelperTest, EachOrdersItsRootMovesInItsOwnWay) {
    DepthsSearched({0, 0, 0});
    ClearTTable();
    PBlock.control.stop = STOP_NONE;
    SearchIterations(3);
    EXPECT_NE(ThreadData[2]->nodes_by_depth[6], ThreadData[3]->nodes_by_depth[6]);
}

}  // namespace
