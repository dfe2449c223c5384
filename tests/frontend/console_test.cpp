// Console commands on the game position: what they change and what they answer.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "eval/personality.h"
#include "frontend/frontend.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "search/search.h"
#include "search/ttable.h"
#include "support/engine.h"

namespace {

class Console : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        PBlock.protocol = PROTOCOL_CONSOLE;
    }
    void TearDown() override { ResetEngine(); }

    // Runs command lines and returns what they print.
    static std::string Run(const std::string& lines) {
        testing::internal::CaptureStdout();
        std::istringstream in(lines);
        for (std::string line; std::getline(in, line);) ConsoleCommand(line.c_str());
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    static std::string Board() {
        char epd[EPD_FIELDS_SIZE];
        MakeEPD(game_position, epd);
        return epd;
    }
    static std::string Diagram() {
        testing::internal::CaptureStdout();
        ShowBoard(game_position);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    // True when the command prints `before` and then the board as it stands afterwards.
    static testing::AssertionResult Shows(const std::string& lines, const std::string& before) {
        const std::string shown = Run(lines);
        const std::string expected = before + Diagram();
        if (shown == expected) return testing::AssertionSuccess();
        return testing::AssertionFailure() << lines << " shows\n" << shown << "not\n" << expected;
    }
    static void Write(const char* name, const std::string& text) {
        std::ofstream(name, std::ios::binary) << text;
    }
    static std::string Read(const char* name) {
        std::ifstream in(name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    ScratchFolder folder_;
};

TEST_F(Console, RecordReplaysWhatWasTakenBackAndEndsWithANewMove) {
    Run("e2e4\nmove e5\nNf3\n[\nundo");
    EXPECT_EQ(game_position->hist_count, 1);
    // What looks into the position with trial moves leaves the record alone.
    Run("perft 3\npv\nbook\nswap\nsave");
    EXPECT_EQ(Run("]").substr(0, 13), "1. move e7e5\n");
    EXPECT_EQ(Run("jump 1\njump 99").find("move"), std::string::npos);
    EXPECT_EQ(game_position->hist_count, 3);
    Run("jump 1\nd7d5\n]");
    EXPECT_EQ(game_position->hist_count, 2) << "g1f3 belongs to a game that was left";
    const std::string there = Board();
    EXPECT_TRUE(Shows("[", ""));
    Run("fen " + Board());
    EXPECT_TRUE(Shows("]", "")) << "a new position ends the record";
    EXPECT_NE(Board(), there);
}

TEST_F(Console, MoveIsEchoedAsTypedAndBadOnesAreIgnored) {
    EXPECT_TRUE(Shows("e4+", "1. move e4+\n"));
    EXPECT_EQ(Run("e2e5\nxyzzy\n\nmove\nmove e9\n" + std::string(5000, 'e')), "");
    EXPECT_EQ(game_position->hist_count, 1);
    SetGame("4k3/3r1r2/4P3/8/8/8/8/4K3 w - -");
    EXPECT_TRUE(Shows("exd7", "1. move exd7\n"));
    SetGame("4k3/3p4/4P3/3p4/4P3/8/8/4K3 w - -");
    EXPECT_EQ(Run("ed"), "ambiguous move\n");
}

TEST_F(Console, NumbersAreTakenWithinTheirLimits) {
    const struct {
        const char* line;
        double got;
        double (*value)();
    } cases[] = {
        {"depth 100", 66, [] { return double{PBlock.max_depth.Get() * 1.0}; }},
        {"sd -3", 0, [] { return PBlock.max_depth.Get() * 1.0; }},
        {"depth 99999999999999999999", 66, [] { return PBlock.max_depth.Get() * 1.0; }},
        {"sd", 0, [] { return PBlock.max_depth.Get() * 1.0; }},
        {"setmultipv 3", 3, [] { return PBlock.multipv.Get() * 1.0; }},
        {"multipv", 1, [] { return PBlock.multipv.Get() * 1.0; }},
        {"multipv 1000000", 20, [] { return PBlock.multipv.Get() * 1.0; }},
        {"noise 2.5", 2.5, [] { return PBlock.noise.Get(); }},
        {"noise nan", 0, [] { return PBlock.noise.Get(); }},
        {"noise  7", 0, [] { return PBlock.noise.Get(); }},  // the second word is empty
        {"hash 2", 2, [] { return PBlock.hash_mode * 1.0; }},
        {"trace 3", 3, [] { return PBlock.trace * 1.0; }},
        {"ponder 0", 0, [] { return PBlock.ponder * 1.0; }},
        {"time 7", 5, [] { return PBlock.clock[0]; }},  // the engine plays no side
    };
    for (const auto& c : cases) {
        Run(c.line);
        EXPECT_EQ(c.value(), c.got) << c.line;
        PBlock.trace = 0;
    }
    computer = BLACK;
    Run("time 7.5");
    EXPECT_EQ(PBlock.clock[BLACK], 7.5);
}

TEST_F(Console, LevelTakesMinutesAndSeconds) {
    EXPECT_EQ(Run("level 40 5:00 2"), "set level to 40 moves in 300.00 seconds, inc 2.00\n");
    EXPECT_EQ(Run("level 40 5 0"), "set level to 40 moves in 5.00 seconds, inc 0.00\n");
    EXPECT_EQ(PBlock.clock[WHITE], 5.0);
    EXPECT_EQ(Run("level 300 1:02.5 0.1"), "set level to 44 moves in 62.50 seconds, inc 0.10\n");
    EXPECT_EQ(Run("level"), "set level to 0 moves in 0.00 seconds, inc 0.00\n");
}

TEST_F(Console, GoSetsTheLimitsOfAnAnalysis) {
    for (const auto& [line, depth] : {std::pair{"go 12", 12},
                                      {"go 65", 65},
                                      {"go 66", 66},
                                      {"go 80", 66},
                                      {"go -1", 66},
                                      {"go", 0}}) {
        PBlock.start_request = SEARCH_IDLE;
        Run(line);
        EXPECT_EQ(PBlock.max_depth, depth) << line;
        EXPECT_EQ(PBlock.start_request, SEARCH_ANALYSE);
        EXPECT_EQ(PBlock.base_time, 99999.0);
        EXPECT_EQ(PBlock.moves_per_control, 1);
    }
}

TEST_F(Console, TableIsClearedForAnalysisUnlessItIsKept) {
    for (const int mode : {1, 2}) {
        PBlock.hash_mode = static_cast<u8>(mode);
        PBlock.start_request = SEARCH_IDLE;
        StoreInTTable(game_position, MakeMoveWord(12, 28), 5, 20, BOUND_EXACT);
        Run("go 3");
        EXPECT_EQ(ttcnt.load() == 0, mode == 1);
    }
}

TEST_F(Console, SetSwitchesSelectivity) {
    EXPECT_EQ(Run("set LMR_depth 5"), "LMR_depth set to 5\n");
    EXPECT_EQ(Run("set CNP_depth 257"), "CNP_depth set to 1\n");
    EXPECT_EQ(Run("set ss_off"), "selectivity set to OFF\n");
    EXPECT_EQ(Personality.NMP_depth, 99);
    EXPECT_EQ(Personality.LMP_depth, 0);
    EXPECT_EQ(Run("set"), "selectivity set to default\n");
    EXPECT_EQ(std::memcmp(&Personality, &DefaultPersonality, sizeof Personality), 0);
}

TEST_F(Console, UnplayablePositionIsShownAndRefused) {
    const struct {
        const char* fen;
        const char* why;
    } positions[] = {
        {"8/8/8/8/8/8/8/8 w - -", "white has no king\n"},
        {"4k3/8/8/8/8/8/8/P3K3 w - -", "a pawn stands on the first or last rank\n"},
        {"4k3/8/8/8/8/8/8/K3R3 w - -", "the side that is not to move is in check\n"},
    };
    for (const auto& p : positions) {
        EXPECT_TRUE(Shows(std::string("fen ") + p.fen, ""));
        for (const char* line : {"go 5", "an", "mv", "self", "ev", "pv", "book", "swap", "perft 2"})
            EXPECT_EQ(Run(line), p.why) << line;
        EXPECT_EQ(Run("move e2e4\ne1d1\nxyzzy"), "");
        EXPECT_EQ(PBlock.start_request, SEARCH_IDLE);
        EXPECT_TRUE(Shows("debug 1\nbd", ""));
        Run("undo\n]\njump 3\nsave\ndebug 0");
    }
}

TEST_F(Console, EditBuildsAPositionFromItsLines) {
    const struct {
        const char* name;
        const char* before;
        const char* lines;
        const char* after;
    } cases[] = {
        {"the end alone keeps the board", fen_opn, ".\n",
         "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"},
        {"clear and place, rights as the pieces say", fen_opn,
         "#\nw Ke1 Rh1 ra2 pa2\nb ke8 Ra8 pe7\n.more\n", "r3k3/4p3/8/8/8/8/P7/4K2R b Kq -"},
        {"unknown letters are skipped, a bad square ends the line", fen_opn,
         "#\nwhite Ke1 Xe2 Qa9 Pe2\nb Kh8 Q Ph7\nnothing\n.\n", "7k/8/8/8/8/8/8/4K3 b - -"},
        {"a tenth piece of a kind is left out", fen_opn,
         "#\nw Ke1 Na1 Nb1 Nc1 Nd1 Nf1 Ng1 Nh1\nw Na2 Nb2 Nc2\nb Ke8\n.\n",
         "4k3/8/8/8/8/8/NN6/NNNNKNNN b - -"},
        {"the end of input ends it", "4k3/8/8/8/8/8/8/4K3 w - -", "b Qd5",
         "4k3/8/8/3q4/8/8/8/4K3 b - -"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SetGame(c.before);
        ResetInput();
        FeedInput(c.lines, static_cast<int>(std::strlen(c.lines)));
        // A last line without an end is one only once the input has ended; here it never does.
        if (c.lines[std::strlen(c.lines) - 1] != '\n') FeedInput("\n", 1);
        const std::string shown = Run("edit");
        EXPECT_EQ(Board(), c.after);
        EXPECT_EQ(shown,
                  ".                    end edit\n#                    clear board\n"
                  "w  Pa2 Pb2 Kc2       white, pieces\nb  Pa7 Pb7 Kc7       black, pieces\n" +
                      Diagram());
        EXPECT_TRUE(PositionIsSound(game_position));
        EXPECT_EQ(game_position->hist_count, 0);
        EXPECT_FALSE(InputPending());
    }
}

// Game files as they come: a byte-order mark, both kinds of line end, comments, nested variations,
// glyphs, escape lines, a line far beyond any buffer, results, tags inside comments.
const std::string game_file =
    "\xEF\xBB\xBF[Event \"One\"]\r\n[White \"Smith\"]\r\n\r\n"
    "1.e4 {a (comment\r\n[over\r\n; lines} e5 $1 2. Nf3 (2. Bc4 {or) this} (2. d4 exd4) Nf6 $12) "
    "Nc6\r\n"
    "3. Bb5 ; the rest (is { no move\r\n% neither is this Qh5\r\na6 1/2-1/2\r\n\r\n"
    "[Event \"Two\"]\n[White \"Jones\"]\n\n1. d4 {" +
    std::string(200000, 'x') +
    "} d5 2. c4\n*\n"
    "[Event \"Three\"]\n\n1. Nf3 Nf6 2. Nf6 Nc6 0-1\n"
    "[Event \"Four\"]\n\n1. c4 c5 2. Nc3 1-0";

TEST_F(Console, LoadReadsGamesAsTheyCome) {
    Write("games.pgn", game_file);
    const char* const one = "r1bqkbnr/1ppp1ppp/p1n5/1B2p3/4P3/5N2/PPPP1PPP/RNBQK2R w KQkq -";
    const char* const two = "rnbqkbnr/ppp1pppp/8/3p4/2PP4/8/PP2PPPP/RNBQKBNR b KQkq c3";
    const char* const four = "rnbqkbnr/pp1ppppp/8/2p5/2P5/2N5/PP1PPPPP/R1BQKBNR b KQkq -";
    const char* const start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";
    const std::pair<const char*, const char*> games[] = {
        {"", one},    {"1", one},    {"2", two},     {"4", four},       {"0", one},
        {"5", start}, {"1001", one}, {"Jones", two}, {"Four\"]", four}, {"nobody", start}};
    for (const auto& [tag, epd] : games) {
        PBlock.clock[WHITE] = 1.0;
        const std::string shown = Run(std::string("load games.pgn ") + tag);
        EXPECT_EQ(Board(), epd) << tag;
        EXPECT_EQ(shown, std::string("loading games.pgn, tag ") + tag + "\n\n" + Diagram());
        EXPECT_EQ(PBlock.clock[WHITE], PBlock.base_time);
    }
    EXPECT_EQ(Run("load games.pgn 3").find("loading games.pgn, tag 3\n\ncan't parse move 'Nf6'\n"),
              0u);
    EXPECT_EQ(game_position->hist_count, 2) << "the moves before it stay";
    EXPECT_TRUE(Shows("]", ""));
    EXPECT_EQ(Run("load missing.pgn 2"), "loading missing.pgn, tag 2\n\n");
    Write("bare.pgn", "e4 e5");
    Run("load bare.pgn");
    EXPECT_EQ(game_position->hist_count, 2) << "a file without tags is one game";
}

TEST_F(Console, SaveAppendsTheGameAndLeavesItAsItIs) {
    Run("e4\ne5\nNf3\nNc6\nBc4\nBc5\nO-O\nNf6\nd3\nO-O\nBg5\nd6\na3\n[");
    const std::string board = Board();
    EXPECT_EQ(Run("save\nsave"), "");
    const std::string game =
        "[Event \"Unknown\"]\ne4 e5 Nf3 Nc6 Bc4 Bc5 o-o Nf6 d3 o-o Bg5 \nd6 \n\n";
    EXPECT_EQ(Read("tmp.pgn"), game + game);
    EXPECT_EQ(Board(), board);
    EXPECT_EQ(Run("]").substr(0, 13), "7. move a2a3\n");
    Run("load tmp.pgn 2");
    EXPECT_EQ(Board(), board) << "what was saved can be loaded";
}

TEST_F(Console, GetFindsAPositionByItsId) {
    EXPECT_EQ(Run("get a.1"), "") << "no file";
    const std::string line =
        "4k3/8/8/8/8/8/8/4KQ2 w - - bm Qf7; id \"a.2\"; c0 \"" + std::string(400, 'y') + "\";";
    Write("test.epd", "; id \"a.2\"\n id \"a.2\"\nid \"a.1\"\n" + line + "\r\n");
    EXPECT_TRUE(Shows("get a.2", line.substr(0, 254) + "\n"));
    EXPECT_EQ(Board(), "4k3/8/8/8/8/8/8/4KQ2 w - -");
    EXPECT_TRUE(Shows("get a.9", "\n"));
    EXPECT_EQ(Board(), "4k3/8/8/8/8/8/8/4KQ2 w - -");
}

TEST_F(Console, PerftCountsWithinItsDepths) {
    PBlock.noise = NOISE_NEVER;
    for (const auto& [line, nodes] :
         {std::pair{"perft 4", "197281"}, {"perft", "1"}, {"perft -2", "1"}})
        EXPECT_EQ(Run(line).find(std::string("visited ") + nodes + " nodes in "), 0u) << line;
    PBlock.start_request = SEARCH_THINK;
    Run("perft 1\nev");
    EXPECT_EQ(PBlock.search_state, SEARCH_IDLE) << "no search runs";
    EXPECT_EQ(PBlock.start_request, SEARCH_THINK) << "the request still waits";
}

TEST_F(Console, SwapListsEveryExchangeThatGains) {
    for (const auto& row : ReadTable("keys.tsv")) {
        SetGame(row[0]);
        if (WhyUnplayable(game_position) != nullptr) continue;
        std::string expected;
        std::istringstream values(row[10]);
        for (std::string value; values >> value;)
            expected += "sq= " + value.substr(0, 2) + ", swap= " + value.substr(3) + "\n";
        EXPECT_EQ(Run("swap"), expected) << row[0];
    }
}

TEST_F(Console, PvShowsTheLineOfTheLastSearchOfThisPosition) {
    PBlock.noise = NOISE_NEVER;
    PBlock.max_depth = 4;
    InitSearch();
    SearchIterations(1);
    const std::string start = Board();
    char best[MOVE_TEXT_SIZE], san[MOVE_TEXT_SIZE], other[MOVE_TEXT_SIZE], third[MOVE_TEXT_SIZE];
    GenMoveStrings(game_position, PBlock.pv[1], best, san, other, third);
    EXPECT_EQ(Run("pv").find(std::string("PV: ") + san + " "), 0u);
    EXPECT_EQ(Board(), start);
    ClearTTable();
    Run("a2a3");
    EXPECT_TRUE(Shows("pv", "PV: \n\n")) << "another position, an empty table";
}

TEST_F(Console, ListingsHaveTheirShape) {
    InitEval();
    const std::string parameters = Run("sp");
    EXPECT_EQ(parameters.find("piece values=  "), 0u);
    EXPECT_NE(parameters.find("\ni= 0, kdngr= "), std::string::npos);
    EXPECT_NE(parameters.find("\nrank=8,  ppadv=  0\npawn_shield= "), std::string::npos);
    EXPECT_LT(parameters.find("PawnOpening\n"), parameters.find("PawnEnding\n"));
    EXPECT_EQ(parameters.substr(parameters.size() - 3), "\n\n\n");
    std::istringstream in(Run("lmr"));
    int rows = 0;
    for (std::string line; std::getline(in, line); ++rows)
        EXPECT_EQ(line.empty(), rows % 31 == 30) << rows;
    EXPECT_EQ(rows, 62);
}

}  // namespace
