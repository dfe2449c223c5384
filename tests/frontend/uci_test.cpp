// UCI lines: which fields the limits and the commands set, and which moves are made; what is
// answered is compared in sessions.
#include "frontend/uci.h"

#include <gtest/gtest.h>

#include <string>

#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class Uci : public EngineTest {
protected:
    static void Say(const std::string& line) {
        OutputOf([&] { ProcessUCI(line.c_str()); });
    }
};

struct Limits {
    int moves_per_control = 0, depth = 9, nodes = 0;
    double base = 5.0, increment = 0.0, white = 5.0, black = 5.0;
    int moves_to_go = 0;

    bool operator==(const Limits&) const = default;
};

TEST_F(Uci, LimitsOfGoSetTheClockAndTheBounds) {
    const std::pair<const char*, Limits> cases[] = {
        {"go", {}},
        {"go wtime 60000 btime -3 winc 1000 binc 7", {.increment = 1.0, .white = 60.0, .black = 0}},
        {"go btime 1500 winc -9", {.black = 1.5}},
        {"go movestogo 7 depth 3 nodes 1",
         {.moves_per_control = 1, .depth = 3, .nodes = 1, .base = 1e7, .moves_to_go = 7}},
        {"go nodes 8 movestogo 70000",
         {.moves_per_control = 1, .depth = 66, .nodes = 8, .base = 1e7, .moves_to_go = 65535}},
        {"go movestogo 12", {.moves_per_control = 40, .depth = 66, .moves_to_go = 12}},
        {"go depth 99", {.moves_per_control = 1, .depth = 66, .base = 360000.0}},
        {"go depth -1", {.moves_per_control = 1, .depth = 0, .base = 360000.0}},
        {"go nodes -1", {.moves_per_control = 1, .base = 1e7}},
        {"go movetime 2500 winc 3", {.moves_per_control = 1, .base = 2.5}},
        {"go infinite depth 5 nodes 5 winc 3", {.moves_per_control = 1, .depth = 66, .base = 1e7}},
        {"position startpos", {.moves_per_control = 1, .depth = 66}},
        {"position startpos depth 4", {.moves_per_control = 1, .depth = 66}},
        {"position startpos moves e2e4 binc 50",
         {.moves_per_control = 1, .depth = 66, .increment = 0.05}},
        {"stop movetime 100", {.moves_per_control = 1, .depth = 66, .base = 0.1}},
    };
    for (const auto& [line, wanted] : cases) {
        ResetEngine();
        PBlock.options.go_limits.max_depth = 9;  // of the command line
        Say(line);
        const Limits got = {.moves_per_control = PBlock.time.moves_per_control,
                            .depth = PBlock.limits.max_depth,
                            .nodes = static_cast<int>(PBlock.limits.node_limit),
                            .base = PBlock.time.base_time,
                            .increment = PBlock.time.increment,
                            .white = PBlock.time.clock[WHITE],
                            .black = PBlock.time.clock[BLACK],
                            .moves_to_go = PBlock.time.moves_to_go};
        EXPECT_TRUE(got == wanted) << line;
    }
}

TEST_F(Uci, CommandsAskForWhatTheLoopDoes) {
    Say("go infinite");
    EXPECT_EQ(PBlock.control.start_request, SEARCH_THINK);
    EXPECT_EQ(PBlock.control.infinite, 1);
    EXPECT_EQ(PBlock.control.computer, WHITE);
    Say("go ponder");
    EXPECT_EQ(PBlock.control.start_request, SEARCH_PONDER);
    EXPECT_EQ(PBlock.control.infinite, 0);
    PBlock.control.stop = STOP_NONE;
    Say("stop");
    EXPECT_EQ(PBlock.control.stop, STOP_NONE) << "nothing runs";
    Say("position startpos moves e2e4 e7e5 g1f3");
    Say("ucinewgame");
    EXPECT_EQ(PBlock.time.base_time, 60.0);
    EXPECT_EQ(PBlock.time.clock[BLACK], 60.0);
    EXPECT_EQ(PBlock.time.moves_per_control, 0);
    EXPECT_EQ(game_position->hist_count, 0);
    EXPECT_EQ(PBlock.control.quit, 0);
    Say("quit");
    EXPECT_EQ(PBlock.control.quit, 1);
}

TEST_F(Uci, PositionMakesMovesUpToTheFirstImpossibleOne) {
    const std::string promotion = "position fen 3r1r1k/4P3/8/8/8/8/8/4K3 w - - moves e7";
    const std::pair<std::string, int> cases[] = {
        {"position startpos moves e2e4 e7e5 g1f3", 3},
        {"position startpos moves   e2e4   e7e5 ", 2},
        {"position startpos moves e2e4 e2e4 e7e5", 1},
        {"position startpos moves e2e4q", 0},
        {"position startpos moves e2e4 e7e5 O-O", 2},
        {"position startpos moves e2", 0},
        {"position startpos moves e2e9", 0},
        {promotion + "d8q", 1},
        {promotion + "f8n", 1},
        {promotion + "e8b", 1},
        {promotion + "e8r", 1},
        {promotion + "e8", 0},
        {promotion + "e8k", 0},
    };
    for (const auto& [line, moves] : cases) {
        Say(line);
        EXPECT_EQ(game_position->hist_count, moves) << line;
        EXPECT_EQ(game_position->undo[moves].move, NO_MOVE) << "nothing is left to replay";
    }
    Say(promotion + "f8n");
    EXPECT_EQ(game_position->board[61], PieceCode(WHITE, KNIGHT));
}

}  // namespace
