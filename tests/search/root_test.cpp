// Whole searches at fixed depth against the table of signatures, and the rules that end or bend a
// search.
#include <algorithm>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

#include "search/searching.h"

namespace {

class RootTest : public SearchingTest {};

TEST_F(RootTest, SignaturesOfTheTable) {
    for (const auto& row : ReadTable("searches.tsv")) {
        ResetEngine(64);
        SetGame(row[0]);
        PBlock.options.multipv = static_cast<u16>(std::stoi(row[2]));
        Prepare(std::stoi(row[1]));
        SearchIterations(1);
        const ThreadBlock* tb = ThreadData[1];
        const ResultSnapshot result = PBlock.result.Snapshot();
        std::ostringstream totals, depths;
        totals << result.score << ' ' << result.depth_done << ' ' << tb->nodes;
        for (u64 count : {tb->tt_probes, tb->tt_hits, tb->eval_probes, tb->eval_hits,
                          tb->pawn_probes, tb->pawn_hits}) {
            totals << ' ' << count;
        }
        for (int d = 1; d <= result.depth_done; ++d) {
            depths << (d > 1 ? ", " : "") << tb->nodes_by_depth[d] << ' '
                   << MoveText(result.best_move_by_depth[d]) << ' ' << result.score_by_depth[d];
        }
        EXPECT_EQ(totals.str(), row[3]) << row[0];
        EXPECT_EQ(depths.str(), row[4]) << row[0];
        EXPECT_EQ(Line(result.pv), row[5]) << row[0];
        EXPECT_EQ(Describe(&tb->pos, false), Describe(game_position, false));
    }
}

int output_reader;  // of the pipe that stands for standard output
int lines_left;     // until the search is stopped

// Comes as a signal before the write of a line returns.
void CountLine(int) {
    char text[1024];
    if (read(output_reader, text, sizeof text) > 0 && --lines_left == 0) {
        PBlock.control.stop = STOP_FINISH;
    }
}

// Mates and roots without moves end the deepening. A best move is easy when it is the only one, or
// far above the others for long. A search stopped after so many of its lines counts a fail high
// that is far above the best move, and one stopped at once leaves a legal move.
TEST_F(RootTest, SearchesEndAsTheTableSays) {
    int handles[2];
    ASSERT_EQ(pipe(handles), 0);
    output_reader = handles[0];
    const auto before = std::signal(SIGIO, CountLine);
    fcntl(output_reader, F_SETOWN, getpid());
    fcntl(output_reader, F_SETFL, O_NONBLOCK | O_ASYNC);
    const int output = dup(STDOUT_FILENO);
    dup2(handles[1], STDOUT_FILENO);
    const auto table = ReadTable("search_ends.tsv");
    auto found = table;
    for (auto& row : found) {
        ClearTTable();
        SetGame(row[0]);
        PBlock.options.noise = 0.0;
        Prepare(std::stoi(row[1]));
        PBlock.limits.node_limit = std::stoull(row[2]);
        lines_left = std::stoi(row[3]);
        if (lines_left == 0) { PBlock.control.stop = STOP_FINISH; }
        SearchIterations(1);
        EXPECT_TRUE(PositionIsSound(&ThreadData[1]->pos));
        const ResultSnapshot result = PBlock.result.Snapshot();
        std::ostringstream end;
        end << MoveText(result.pv[1]) << ' ' << result.score << ' ' << result.depth_done << ' '
            << int{PBlock.progress.completed_depth} << ' ' << int{PBlock.progress.easy_move} << ' '
            << int{PBlock.control.stop};
        row[4] = end.str();
    }
    dup2(output, STDOUT_FILENO);
    std::signal(SIGIO, before);
    for (const int handle : {handles[0], handles[1], output}) { close(handle); }
    EXPECT_EQ(found, table);
}

// Slot 2 of four threads searches on until its nodes are spent; the depths of the others stand
// still. A depth that it leaves out keeps its old node count; one that it abandons, marked by "-",
// gets no score.
TEST_F(RootTest, HelpersLeaveOutCrowdedDepthsAndAbandonCompletedOnes) {
    PBlock.options.threads = 4;
    for (int slot = 2; slot <= 4; ++slot) { ASSERT_NE(NewThreadBlock(slot), nullptr); }
    SetGame("4k3/1pp5/8/8/8/8/PPP5/4K3 w - -");
    PBlock.limits.node_limit = 100000;
    for (const auto& row : ReadTable("helper_depths.tsv")) {
        ClearTTable();
        Prepare(11);
        ThreadData[1]->iteration_depth = static_cast<i8>(std::stoi(row[0]));
        ThreadData[3]->iteration_depth = static_cast<i8>(std::stoi(row[1]));
        ThreadData[4]->iteration_depth = static_cast<i8>(std::stoi(row[2]));
        PBlock.options.multipv = static_cast<u16>(std::stoi(row[3]));
        PBlock.progress.completed_depth = static_cast<i8>(std::stoi(row[4]));
        PBlock.time.elapsed = std::stod(row[5]);
        ThreadBlock* tb = ThreadData[2];
        std::fill_n(tb->nodes_by_depth, 13, u64{77});
        SearchIterations(2);
        std::string depths;
        for (int d = 1; d <= 12; ++d) {
            if (tb->nodes_by_depth[d] == 77) { continue; }
            depths += (d > 1 ? " " : "") + std::to_string(d);
            if (tb->best_score_by_depth[d] == NO_SCORE) { depths += '-'; }
        }
        EXPECT_EQ(depths, row[6]) << testing::PrintToString(row);
        EXPECT_EQ(PBlock.result.DepthDone(), 0) << "a helper publishes nothing";
    }
    ClearTTable();
    PBlock.control.stop = STOP_NONE;
    SearchIterations(3);
    EXPECT_NE(ThreadData[2]->nodes_by_depth[6], ThreadData[3]->nodes_by_depth[6]) << "own orders";
}

}  // namespace
