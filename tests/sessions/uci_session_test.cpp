// UCI sessions that cannot be written down as scripts: limits of time, what may arrive while a
// search runs, several search threads, every way to end.
#include <gtest/gtest.h>

#include <csignal>
#include <regex>
#include <string>
#include <vector>

#include "support/engine.h"
#include "support/session.h"

namespace {

const char* const MATE_IN_ONE = "position fen 6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1";
const std::string BUSY_FEN = "r1bqkb1r/pp1ppppp/2n2n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R b KQkq -";
const std::string BUSY = "position fen " + BUSY_FEN;

// The move of a "bestmove" line, which must be legal in the position.
std::string BestMove(const std::string& line, const std::string& fen = BUSY_FEN) {
    const std::regex form("bestmove ([a-h][1-8][a-h][1-8][qrbn]?)( ponder [a-h1-8qrbn]{4,5})?\n?");
    std::smatch match;
    EXPECT_TRUE(std::regex_match(line, match, form)) << line;
    const std::string move = match[1];
    EXPECT_NE(ReadMove(SetGame(fen), move).move, NO_MOVE) << line;
    return move;
}

class UciSession : public testing::Test {
protected:
    void Start(const std::string& position, const std::string& go) {
        vesk_.Send(position);
        vesk_.Send(go);
    }
    // The engine answers, and has not ended its search.
    void ExpectSearching() {
        vesk_.Send("isready");
        vesk_.Expect("readyok");
        for (const std::string& line : vesk_.Lines()) {
            EXPECT_FALSE(line.starts_with("bestmove"));
        }
    }
    ScratchFolder folder_;  // takes the log file
    Session vesk_{{"-nolog", "-hash", "1", "-t", "1"}};
};

TEST_F(UciSession, EveryLimitEndsInOneBestMove) {
    for (const std::string go :
         {"go wtime 300 btime 300 winc 10 binc 10", "go wtime 300 btime 300", "go btime 0",
          "go wtime 2000 btime 2000 movestogo 20", "go movetime 60", "go movetime 0", "go depth 5",
          "go nodes 3000", "go nodes 1", "go depth 4 wtime 1 btime 1",
          "go searchmoves foo depth 2"}) {
        Start(BUSY, go);
        const std::string best = BestMove(vesk_.Expect("bestmove"));
        const std::vector<std::string> lines = vesk_.Lines();
        ASSERT_GE(lines.size(), 2u) << go;
        const std::string last = lines[lines.size() - 2];
        EXPECT_TRUE(last.find(" pv " + best) != std::string::npos) << last;
    }
    EXPECT_TRUE(vesk_.IsSilentFor(0.05));
}

TEST_F(UciSession, InfiniteWaitsForStop) {
    Start(MATE_IN_ONE, "go infinite");  // a search that has nothing left to find
    vesk_.Expect("info depth 1");
    ExpectSearching();
    ExpectSearching();
    vesk_.Send("stop");
    vesk_.Expect("bestmove a1a8");
    for (int i = 0; i < 3; ++i) {  // at once: nothing may have been published yet
        Start(BUSY, "go infinite");
        vesk_.Send("stop");
        BestMove(vesk_.Expect("bestmove"));
    }
    vesk_.Send("stop");
    EXPECT_TRUE(vesk_.IsSilentFor(0.05));
}

TEST_F(UciSession, PonderWaitsForHitOrStop) {
    for (const char* end : {"ponderhit", "stop"}) {
        Start(MATE_IN_ONE, "go ponder wtime 1000 btime 1000");
        vesk_.Expect("info depth 1");
        ExpectSearching();
        vesk_.Send(end);
        vesk_.Expect("bestmove a1a8");
    }
    Start(BUSY, "go ponder movetime 50");
    vesk_.Send("ponderhit");
    BestMove(vesk_.Expect("bestmove"));
}

TEST_F(UciSession, CommandsDuringASearchFinishItFirst) {
    for (const std::string command :
         {"position startpos", "ucinewgame", "setoption name Hash value 2",
          "setoption name Threads value 3", "setoption name Threads value 1",
          "setoption name Clear Hash", "go depth 1"}) {
        Start(BUSY, "go infinite depth 1");
        vesk_.Expect("info depth 3");
        vesk_.Send(command);
        BestMove(vesk_.Expect("bestmove"));
        if (command == "go depth 1") {
            vesk_.Expect("bestmove");
        } else {
            ExpectSearching();
        }
    }
}

TEST_F(UciSession, LinesOfSeveralThreadsStayWhole) {
    const ScratchFolder folder;  // the first engine's log is its own
    std::string input = BUSY + "\ngo depth 6\n";
    for (int i = 0; i < 50; ++i) { input += "isready\n"; }
    const RunResult run = RunVesk({"-nolog", "-threads", "4", "-uci_extra"}, input);
    const std::regex form(
        "info \\[0[01][. ]\\] depth \\d time \\d+ score cp -?\\d+ nodes \\d+ nps \\d+ pv .*");
    int replies = 0, moves = 0;
    for (const std::string& line : SplitLines(run.output)) {
        if (line.starts_with("bestmove")) {
            moves += !BestMove(line).empty();
        } else if (line == "readyok") {
            ++replies;
        } else {
            EXPECT_TRUE(std::regex_match(line, form)) << line;
        }
    }
    EXPECT_EQ(replies, 50);
    EXPECT_EQ(moves, 1);
    EXPECT_EQ(run.status, 0);
}

TEST_F(UciSession, LongGamesAndGarbage) {
    const ScratchFolder folder;  // the first engine's log is its own
    std::string game = "position startpos moves";
    for (int i = 0; i < 1500; ++i) { game += " g1f3 g8f6 f3g1 f6g8"; }
    std::string input = game + " e2e4\ngo depth 3\n";
    for (int i = 0; i < 300; ++i) { input += static_cast<char>(i * 7 % 256); }
    input += "\n\n@@@@\ngo\x01\r\nposition\nposition fen\nsetoption name value\n\r\n";
    input +=
        std::string(100000, 'g') + "\nposition startpos moves " + std::string(100000, 'e') + "\n";
    input += "isready\nposition startpos\ngo depth 1";  // without its line end
    const RunResult run = RunVesk({"-quiet"}, input);
    const std::vector<std::string> lines = SplitLines(run.output);
    ASSERT_EQ(lines.size(), 4u) << run.output;
    EXPECT_EQ(run.status, 0);
    BestMove(lines[0], "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3");
    EXPECT_EQ(lines[1], "info string " + std::string(127, 'e') +
                            " is no possible move, the rest of the line is dropped");
    EXPECT_EQ(lines[2], "readyok");
    BestMove(lines[3], "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
}

TEST_F(UciSession, EndOfInputEndsTheProgram) {
    const ScratchFolder folder;  // the first engine's log is its own
    EXPECT_EQ(RunVesk({}, "").output, "");
    for (const std::string go : {"go infinite", "go ponder", "go depth 66", "go nodes 2000",
                                 "go movetime 50", "go ponder movetime 50", "go nodes 0"}) {
        const RunResult run = RunVesk({"-quiet"}, BUSY + "\n" + go + "\n");
        EXPECT_EQ(run.status, 0) << go;
        BestMove(run.output);
    }
}

TEST_F(UciSession, QuitAndInterruptEndASearch) {
    const ScratchFolder folder;  // the first engine's log is its own
    for (const char* go : {"go infinite", "go ponder"}) {
        Session vesk({"-quiet", "-threads", "2"});
        vesk.SendBytes(BUSY + "\n" + go + "\nisready\n");
        vesk.Expect("readyok");
        vesk.Send("quit");
        EXPECT_EQ(vesk.Wait(), 0);
        EXPECT_EQ(vesk.RestOfOutput(), "");
    }
    Session vesk;
    vesk.Send("go infinite");
    vesk.Expect("info");
    vesk.Signal(SIGINT);
    EXPECT_EQ(vesk.Wait(), 0);
    const std::string log = FileContent("vesk.log");
    EXPECT_TRUE(log.starts_with("CMD: go infinite\n")) << log;
    EXPECT_TRUE(log.ends_with('\n')) << log;
}

#ifndef VESK_INSTRUMENTED
// Instrumented programs cannot live in a limited address space.
TEST_F(UciSession, TableThatDoesNotFitEndsTheProgram) {
    const ScratchFolder folder;  // the first engine's log is its own
    const std::string limited = "ulimit -v 2000000; exec \"$0\" \"$@\"";
    Session start({"-c", limited, EnginePath(), "-hash", "8192"}, "/bin/sh");
    EXPECT_EQ(start.Wait(), 1);
    Session vesk({"-c", limited, EnginePath(), "-nolog"}, "/bin/sh");
    vesk.Send("go infinite");
    vesk.Send("setoption name Hash value 8192");
    vesk.Expect("info string not enough memory for the hash table");
    EXPECT_EQ(vesk.Wait(), 255);
}
#endif

}  // namespace
