// Whole UCI sessions with the built engine through pipes: every form of "go", what may arrive while
// a search runs, and every way to end.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "book/book.h"
#include "support/engine.h"
#include "support/session.h"

namespace {

const char* const MATE_IN_ONE = "position fen 6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1";
const char* const BUSY =
    "position fen r1bqkb1r/pp1ppppp/2n2n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R b KQkq -";

// The move of a "bestmove" line; with `fen` it must be legal there.
std::string BestMove(const std::string& line, const std::string& fen = "") {
    std::smatch match;
    const std::regex form(
        "bestmove ([a-h][1-8][a-h][1-8][qrbn]?|null)( ponder [a-h1-8qrbn]{4,5})?");
    if (!std::regex_match(line, match, form)) {
        ADD_FAILURE() << "no such line: " << line;
        return "";
    }
    std::string text = match[1].str() + " ";
    Move m;
    if (!fen.empty()) {
        SetGame(fen);
        EXPECT_TRUE(IsValidMove(text.substr(0, text.size() - 1).data(), &m)) << line;
    }
    return match[1];
}

int CountStarts(const std::vector<std::string>& lines, const std::string& prefix) {
    int count = 0;
    for (const std::string& line : lines) count += line.compare(0, prefix.size(), prefix) == 0;
    return count;
}

// Number after a keyword of an information line, -1 without it.
long Value(const std::string& line, const std::string& keyword) {
    std::smatch match;
    return std::regex_search(line, match, std::regex("\\b" + keyword + " (-?\\d+)"))
               ? std::stol(match[1])
               : -1;
}

std::string MaskTimes(const std::string& text) {
    return std::regex_replace(text, std::regex("(time|nps) \\d+"), "$1 #");
}

class UciSession : public testing::Test {
protected:
    ScratchFolder folder;  // takes the log file
};

TEST_F(UciSession, EveryLimitEndsInOneBestMove) {
    const std::string fen = std::string(BUSY).substr(13);
    Session vesk({"-nolog", "-t", "1"});
    for (const char* go : {"go wtime 300 btime 300 winc 10 binc 10", "go wtime 300 btime 300",
                           "go btime 0", "go wtime 2000 btime 2000 movestogo 20", "go movetime 60",
                           "go movetime 0", "go depth 5", "go nodes 3000", "go nodes 1",
                           "go depth 4 wtime 1 btime 1", "go searchmoves foo depth 2"}) {
        vesk.Send(BUSY);
        vesk.Send(go);
        BestMove(vesk.Expect("bestmove"), fen);
        const std::vector<std::string> lines = vesk.Lines();
        ASSERT_GE(lines.size(), 2u) << go;
        const std::string last = lines[lines.size() - 2];
        EXPECT_TRUE(std::string(go) != "go depth 5" || Value(last, "depth") == 5) << last;
        EXPECT_TRUE(std::string(go) != "go nodes 3000" || Value(last, "nodes") < 30000) << last;
        EXPECT_EQ(CountStarts(lines, "info depth"), static_cast<int>(lines.size()) - 1) << go;
        EXPECT_TRUE(last.find(" pv " + BestMove(lines.back())) != std::string::npos) << last;
    }
    EXPECT_TRUE(vesk.IsSilentFor(0.05));
}

TEST_F(UciSession, SameSearchSameLines) {
    const std::string input = std::string("isready\n") + BUSY + "\ngo depth 6\n";
    const RunResult first = RunVesk({"-nolog"}, input);
    EXPECT_EQ(first.status, 0);
    EXPECT_EQ(SplitLines(first.output).front(), "readyok");
    EXPECT_EQ(MaskTimes(RunVesk({"-nolog"}, input).output), MaskTimes(first.output));
    const RunResult quiet = RunVesk({"-quiet"}, input);
    EXPECT_EQ(quiet.output, "readyok\n" + SplitLines(first.output).back() + "\n");
}

TEST_F(UciSession, InfiniteWaitsForStop) {
    Session vesk({"-nolog"});
    vesk.Send(MATE_IN_ONE);  // a search that has nothing left to find
    vesk.Send("go infinite");
    vesk.Expect("info depth 1");
    for (int i = 0; i < 2; ++i) {
        vesk.Send("isready");
        vesk.Expect("readyok");
        EXPECT_EQ(CountStarts(vesk.Lines(), "bestmove"), 0);
    }
    vesk.Send("stop");
    EXPECT_EQ(BestMove(vesk.Expect("bestmove")), "a1a8");
    for (int i = 0; i < 3; ++i) {  // at once: nothing may have been published yet
        vesk.Send(BUSY);
        vesk.Send("go infinite");
        vesk.Send("stop");
        BestMove(vesk.Expect("bestmove"), std::string(BUSY).substr(13));
    }
    vesk.Send("stop");
    EXPECT_TRUE(vesk.IsSilentFor(0.05));
}

TEST_F(UciSession, PonderWaitsForHitOrStop) {
    Session vesk({"-nolog"});
    for (const char* end : {"ponderhit", "stop"}) {
        vesk.Send(MATE_IN_ONE);
        vesk.Send("go ponder wtime 1000 btime 1000");
        vesk.Expect("info depth 1");
        vesk.Send("isready");
        vesk.Expect("readyok");
        EXPECT_EQ(CountStarts(vesk.Lines(), "bestmove"), 0);
        vesk.Send(end);
        EXPECT_EQ(BestMove(vesk.Expect("bestmove")), "a1a8");
    }
    vesk.Send(BUSY);
    vesk.Send("go ponder movetime 50");
    vesk.Send("ponderhit");
    BestMove(vesk.Expect("bestmove"), std::string(BUSY).substr(13));
}

TEST_F(UciSession, MultiPvShowsEachLine) {
    Session vesk({"-nolog"});
    vesk.Send("setoption name MultiPV value 3");
    vesk.Expect("info string MultiPV set to 3");
    vesk.Send(BUSY);
    vesk.Send("go depth 3");
    const std::string best = BestMove(vesk.Expect("bestmove"));
    const std::vector<std::string> lines = vesk.Lines();
    ASSERT_EQ(lines.size(), 3u * 3 + 2);
    for (int i = 0; i < 9; ++i) {
        const std::string& line = lines[static_cast<std::size_t>(i)];
        EXPECT_EQ(line.substr(0, 24), "info multipv " + std::to_string(i % 3 + 1) + " depth " +
                                          std::to_string(i / 3 + 1) + " t");
    }
    std::set<std::string> moves;
    for (std::size_t i = 6; i < 9; ++i) moves.insert(lines[i].substr(lines[i].find(" pv ") + 4, 4));
    EXPECT_EQ(moves.size(), 3u);
    EXPECT_EQ(lines[9].find("info multipv 1 depth 3"), 0u);
    EXPECT_EQ(moves.count(best), 1u);
}

TEST_F(UciSession, CommandsDuringASearchFinishItFirst) {
    Session vesk({"-nolog", "-hash", "1"});
    for (const char* command : {"position startpos", "ucinewgame", "setoption name Hash value 2",
                                "setoption name Threads value 3", "setoption name Threads value 1",
                                "setoption name Clear Hash", "go depth 1"}) {
        vesk.Send(BUSY);
        vesk.Send("go infinite");
        vesk.Send(command);
        BestMove(vesk.Expect("bestmove"), std::string(BUSY).substr(13));
        if (std::string(command) == "go depth 1") {
            vesk.Expect("bestmove");
            continue;
        }
        vesk.Send("isready");
        vesk.Expect("readyok");
        EXPECT_EQ(CountStarts(vesk.Lines(), "bestmove"), 0) << command;
    }
}

TEST_F(UciSession, ThreadsShareOneReport) {
    Session vesk({"-nolog", "-threads", "4", "-uci_extra"});
    vesk.Send(BUSY);
    vesk.Send("go depth 5");
    BestMove(vesk.Expect("bestmove"), std::string(BUSY).substr(13));
    for (const std::string& line : vesk.Lines())
        EXPECT_TRUE(
            std::regex_match(line, std::regex("info \\[0[01][. ]\\] depth \\d time \\d+ score "
                                              "cp -?\\d+ nodes \\d+ nps \\d+ pv .*|"
                                              "bestmove .*")))
            << line;
}

TEST_F(UciSession, PositionsThatCannotBeSearched) {
    struct {
        const char* fen;
        const char* reply;
    } const cases[] = {
        {"8/8/8/8/8/8/8/8 w - -", "info string white has no king\nbestmove null\n"},
        {"k7/8/8/8/8/8/8/KK6 w - -", "info string white has more than one king\nbestmove null\n"},
        {"k6P/8/8/8/8/8/8/K7 w - -",
         "info string a pawn stands on the first or last rank\nbestmove null\n"},
        {"k7/8/8/8/8/8/8/R3K3 w - -",
         "info string the side that is not to move is in check\nbestmove null\n"},
        {"k7/8/1Q6/8/8/8/8/K7 b - -", "bestmove null\n"},   // stalemate
        {"k7/1Q6/1K6/8/8/8/8/8 b - -", "bestmove null\n"},  // mate
        {"garbage \x01\xff", "info string white has no king\nbestmove null\n"},
    };
    for (const auto& c : cases) {
        const RunResult run =
            RunVesk({"-quiet"}, "position fen " + std::string(c.fen) + "\ngo infinite\n");
        EXPECT_EQ(run.output, c.reply) << c.fen;
        EXPECT_EQ(run.status, 0);
    }
    std::string shuffle = "position fen 4k3/8/8/8/8/8/8/R3K3 w - - moves";
    for (int i = 0; i < 26; ++i) shuffle += " a1a2 e8e7 a2a1 e7e8";
    EXPECT_EQ(RunVesk({"-quiet"}, shuffle + "\ngo depth 3\n").output, "bestmove null\n");
}

TEST_F(UciSession, LongGamesAndGarbage) {
    std::string game = "position startpos moves";
    for (int i = 0; i < 1500; ++i) game += " g1f3 g8f6 f3g1 f6g8";
    std::string input = game + " e2e4\ngo depth 3\n";
    for (int i = 0; i < 300; ++i) input += static_cast<char>(i * 7 % 256);
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
    EXPECT_EQ(RunVesk({}, "").output, "");
    for (const char* go : {"go infinite", "go ponder", "go depth 66", "go nodes 2000",
                           "go movetime 50", "go ponder movetime 50", "go nodes 0"}) {
        const RunResult run = RunVesk({"-quiet"}, std::string(BUSY) + "\n" + go + "\n");
        EXPECT_EQ(run.status, 0) << go;
        BestMove(run.output.substr(0, run.output.size() - 1), std::string(BUSY).substr(13));
    }
}

TEST_F(UciSession, QuitAndInterruptEndASearch) {
    for (const char* go : {"go infinite", "go ponder"}) {
        Session vesk({"-quiet", "-threads", "2"});
        vesk.Send(BUSY);
        vesk.Send(go);
        vesk.Send("isready");
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
    std::stringstream log;
    log << std::ifstream("vesk.log").rdbuf();
    EXPECT_EQ(log.str().substr(0, 17), "CMD: go infinite\n");
    EXPECT_EQ(log.str().back(), '\n');
}

TEST_F(UciSession, BookMoveIsPlayedWithoutSearch) {
    SetGame("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
    PlayGameMove(game_position, MakeMoveWord(8, 24));  // a2a4
    ASSERT_EQ(InitBook(), 0);
    UpdatePosHash(game_position);
    unsigned char bytes[BOOK_RECORD_SIZE];
    EncodeBookRecord({static_cast<u16>(hash1 & 0x7fff), hash2, 1, 50, 10, 0}, bytes);
    std::ofstream("vesk.opn", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes), sizeof bytes);
    EXPECT_EQ(
        RunVesk({"-nolog"}, "setoption name OwnBook value true\nposition startpos\ngo\n").output,
        "info string OwnBook set to 1\ninfo string book move\nbestmove a2a4\n");
}

TEST_F(UciSession, OptionsAreAnsweredAndLogged) {
    Session vesk;
    vesk.Send("uci");
    vesk.Expect("uciok");
    EXPECT_EQ(vesk.Lines().size(), 12u);
    EXPECT_EQ(vesk.Lines().front(), "CMD: uci");
    vesk.Send("setoption name Log value true");
    vesk.Expect("info string Log set to 1");
    vesk.Send("setoption name Threads value 2");
    vesk.Expect("info string Threads set to 2");
    EXPECT_EQ(vesk.Lines(), (std::vector<std::string>{"CMD: setoption name Threads value 2",
                                                      "info string Threads set to 2"}));
    vesk.CloseInput();
    EXPECT_EQ(vesk.Wait(), 0);
    std::stringstream log;
    log << std::ifstream("vesk.log").rdbuf();
    const std::vector<std::string> lines = SplitLines(log.str());
    ASSERT_EQ(lines.size(), 14u);  // "uci" turns the log off before its last line
    EXPECT_EQ(lines[10], "option name Log type check default false");
    EXPECT_EQ(lines[11], "info string Log set to 1");
}

TEST_F(UciSession, UnusableModesSaySo) {
    EXPECT_EQ(RunVesk({"-anepd"}, "").output, "option -anepd needs a file name after it\n");
    const RunResult run = RunVesk({"-scan_pgn2", "missing.pgn"}, "");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "cannot read missing.pgn\n");
    EXPECT_EQ(run.status, 0);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Instrumented programs cannot live in a limited address space.
TEST_F(UciSession, TableThatDoesNotFitEndsTheProgram) {
    const std::string limited = "ulimit -v 2000000; exec \"$0\" \"$@\"";
    Session start({"-c", limited, EnginePath(), "-hash", "8192"}, "", "/bin/sh");
    EXPECT_EQ(start.Wait(), 1);
    Session vesk({"-c", limited, EnginePath(), "-nolog"}, "", "/bin/sh");
    vesk.Send("go infinite");
    vesk.Send("setoption name Hash value 8192");
    vesk.Expect("info string not enough memory for the hash table");
    EXPECT_EQ(vesk.Wait(), 255);
}
#endif

}  // namespace
