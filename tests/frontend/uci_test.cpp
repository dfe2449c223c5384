// UCI lines one by one: the options, limits and positions that they leave behind. Whole sessions
// are tested with the built engine.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frontend/frontend.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class Uci : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }

    static std::string Reply(const std::string& line) {
        testing::internal::CaptureStdout();
        ProcessUCI(line.c_str());
        return testing::internal::GetCapturedStdout();
    }
    static std::string Fields() {
        char text[EPD_FIELDS_SIZE];
        MakeEPD(game_position, text);
        return text;
    }
};

TEST_F(Uci, Identification) {
    PBlock.own_book = 1;
    EXPECT_EQ(Reply("uci"),
              "id name Vesk 3.0\nid author Dorin Kael\n"
              "option name Hash type spin default 64 min 0 max 8192\n"
              "option name Threads type spin default 1 min 1 max 64\n"
              "option name Ponder type check default true\n"
              "option name MultiPV type spin default 1 min 1 max 20\n"
              "option name Clear Hash type button\n"
              "option name Communication Overhead type spin default 25 min 0 max 5000\n"
              "option name OwnBook type check default false\n"
              "option name Log type check default false\nuciok\n");
    EXPECT_EQ(PBlock.own_book, 0);
}

TEST_F(Uci, OptionsAnswer) {
    struct {
        const char* line;
        const char* reply;
    } const cases[] = {
        {"setoption name Hash value 3", "info string Hash size set to 3M bytes\n"},
        {"setoption name Hash value -3", "info string Hash size set to 0M bytes\n"},
        {"  setoption  name  Hash  value  2 ", "info string Hash size set to 2M bytes\n"},
        {"setoption name Threads value 0", "info string Threads set to 1\n"},
        {"setoption name Communication Overhead value 99999",
         "info string Communication Overhead set to 5000\n"},
        {"setoption name MultiPV value 21", "info string MultiPV set to 20\n"},
        {"setoption name MultiPV value x", "info string MultiPV set to 1\n"},
        {"setoption name OwnBook value true", "info string OwnBook set to 1\n"},
        {"setoption name OwnBook value TRUE", "info string OwnBook set to 0\n"},
        {"setoption name Log value false", "info string Log set to 0\n"},
        {"setoption name Clear Hash", "Hash table cleared\n"},
        {"setoption name Clear Hash  ", "Hash table cleared\n"},
        {"setoption name Ponder value true", ""},
        {"setoption name hash value 3", ""},
        {"setoption name", ""},
        {"setoption name value", ""},
        {"setoption value 3 name Hash", ""},
        {"setoption", ""},
        {"register later", ""},
        {" ", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(Reply(c.line), c.reply) << c.line;
    EXPECT_EQ(PBlock.comm_overhead, 5.0);
    EXPECT_EQ(PBlock.ponder, 1);
    Reply("setoption name Ponder value True");
    EXPECT_EQ(PBlock.ponder, 0);
}

TEST_F(Uci, GoSetsTheLimits) {
    struct {
        const char* line;
        int moves_per_control;
        double base_time, white, black, increment;
        int depth;
        u64 nodes;
    } const cases[] = {
        {"go wtime 60000 btime 50000 winc 1000 binc 2000", 0, 5, 60, 50, 1, 66, 0},
        {"go wtime -5 btime 1500.5 winc -1", 0, 5, 0, 1.5005, 0, 66, 0},
        {"go wtime 1000 movestogo 20 depth 8", 1, 360000, 1, 5, 0, 8, 0},
        {"go movestogo 20", 40, 5, 5, 5, 0, 66, 0},
        {"go depth 99", 1, 360000, 5, 5, 0, 66, 0},
        {"go depth -3", 1, 360000, 5, 5, 0, 0, 0},
        {"go nodes 5000", 1, 1e7, 5, 5, 0, 66, 5000},
        {"go movetime 2500 winc 1000", 1, 2.5, 5, 5, 0, 66, 0},
        {"go infinite depth 5", 1, 1e7, 5, 5, 0, 66, 0},
        {"go wtime", 0, 5, 0, 5, 0, 66, 0},
        {"go", 0, 5, 5, 5, 0, 66, 0},
    };
    for (const auto& c : cases) {
        ResetEngine();
        EXPECT_EQ(Reply(c.line), "");
        EXPECT_EQ(PBlock.moves_per_control, c.moves_per_control) << c.line;
        EXPECT_DOUBLE_EQ(PBlock.base_time, c.base_time) << c.line;
        EXPECT_DOUBLE_EQ(PBlock.clock[WHITE], c.white) << c.line;
        EXPECT_DOUBLE_EQ(PBlock.clock[BLACK], c.black) << c.line;
        EXPECT_DOUBLE_EQ(PBlock.increment, c.increment) << c.line;
        EXPECT_EQ(PBlock.max_depth, c.depth) << c.line;
        EXPECT_EQ(PBlock.node_limit, c.nodes) << c.line;
        EXPECT_EQ(PBlock.start_request, SEARCH_THINK) << c.line;
        EXPECT_EQ(PBlock.infinite, std::string(c.line).find("infinite") != std::string::npos);
    }
    EXPECT_EQ(computer, WHITE);
}

TEST_F(Uci, LimitsDoNotOutliveTheirGo) {
    PBlock.line_max_depth = 12;
    Reply("go depth 5 nodes 100");
    Reply("go ponder wtime 1000 btime 1000");
    EXPECT_EQ(PBlock.max_depth, 12);
    EXPECT_EQ(PBlock.node_limit, 0u);
    EXPECT_EQ(PBlock.start_request, SEARCH_PONDER);
    Reply("ucinewgame");
    EXPECT_EQ(PBlock.base_time, 60.0);
    EXPECT_EQ(PBlock.clock[BLACK], 60.0);
    EXPECT_EQ(PBlock.moves_per_control, 0);
}

TEST_F(Uci, PositionsAreSetAndPlayed) {
    const std::string start = "position startpos";
    struct {
        std::string line, fields;
        int moves;
        const char* refused;
    } const cases[] = {
        {start, "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 0, nullptr},
        {start + " moves e2e4  e7e5", "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq e6",
         2, nullptr},
        {"position fen r3k2r/1P6/8/8/8/8/8/R3K2R w KQkq - 0 1 moves b7a8n e8g8 e1c1",
         "N4rk1/8/8/8/8/8/8/2KR3R b - -", 3, nullptr},
        {"position  fen  8/8/8/8/8/8/8/8 w - -", "8/8/8/8/8/8/8/8 w - -", 0, nullptr},
        // A king left in check is the sender's affair.
        {"position fen 4k3/8/8/8/8/8/4r3/4K2R w K - moves h1h2", "4k3/8/8/8/8/8/4r2R/4K3 b - -", 1,
         nullptr},
        {start + " moves e2e4 e2e4 d7d5", "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3",
         1, "e2e4"},
        {start + " moves e1g1", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 0, "e1g1"},
        {"position fen 7k/P7/8/8/8/8/8/K7 w - - moves a7a8", "7k/P7/8/8/8/8/8/K7 w - -", 0, "a7a8"},
        {start + " moves 0000", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 0, "0000"},
        {start + " moves e2e4q", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 0,
         "e2e4q"},
        {start + " moves i9\xff\x80", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -", 0,
         "i9\xff\x80"},
    };
    for (const auto& c : cases) {
        game_position->undo[c.moves].move = 1;
        EXPECT_EQ(Reply(c.line),
                  c.refused == nullptr
                      ? ""
                      : "info string " + std::string(c.refused) +
                            " is no possible move, the rest of the line is dropped\n")
            << c.line;
        EXPECT_EQ(Fields(), c.fields) << c.line;
        EXPECT_EQ(game_position->hist_count, c.moves) << c.line;
        EXPECT_EQ(game_position->undo[c.moves].move, NO_MOVE) << c.line;
        EXPECT_TRUE(PositionIsSound(game_position)) << c.line;
    }
    Reply("position startpos moves e2e4");
    Reply("position nothing moves e7e5");
    EXPECT_EQ(game_position->hist_count, 1);
}

TEST_F(Uci, VeryLongGameIsPlayed) {
    std::string line = "position startpos moves";
    for (int i = 0; i < 1500; ++i) line += " g1f3 g8f6 f3g1 f6g8";
    EXPECT_EQ(Reply(line + " e2e4"), "");
    EXPECT_EQ(Fields(), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3");
    EXPECT_LE(game_position->hist_count, GAME_HISTORY_LIMIT);
    EXPECT_TRUE(PositionIsSound(game_position));
}

TEST(Words, OfAGame) {
    const std::string text = "1. e4{a\tc\xc3\xa9}\x01 (x)" + std::string(300, 'w') + "\n ";
    std::vector<std::string> words;
    for (const char* word = NextWord(text.c_str()); word != nullptr; word = NextWord(nullptr))
        words.emplace_back(word);
    EXPECT_EQ(words, (std::vector<std::string>{"1.", "e4", "{", "a", "c", "}", "(", "x", ")",
                                               std::string(255, 'w')}));
    EXPECT_EQ(NextWord(nullptr), nullptr);
}

}  // namespace
