// Whole console sessions with the built engine through pipes. Scripts with a fixed answer are
// compared as a whole with the files of tests/data/console (times masked); what is typed while a
// search runs is followed line by line.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/engine.h"
#include "support/session.h"

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Replaces what depends on the clock.
std::string MaskTimes(const std::string& text) {
    const std::pair<std::regex, const char*> masks[] = {
        {std::regex("(, time=|nps=) *[0-9.]+"), "$1 #"},
        {std::regex("in [0-9.]+ seconds"), "in # seconds"},
        {std::regex("(^|\n)([0-9][0-9]\\] [0-9][0-9][. ]) +[0-9.]+"), "$1$2 #"},
    };
    std::string masked = text;
    for (const auto& [pattern, mark] : masks) masked = std::regex_replace(masked, pattern, mark);
    return masked;
}

class ConsoleSession : public testing::Test {
protected:
    static RunResult Run(const std::string& input) { return RunVesk({"-c", "-nolog"}, input); }
    // The board's text starts with the position.
    static std::string Moved(Session* session, const std::string& echo) {
        session->Expect(echo);
        return session->ExpectMatch("[1-8a-zA-Z/]+ [wb] .*");
    }
    ScratchFolder folder_;
};

TEST_F(ConsoleSession, ScriptsAnswerAsRecorded) {
    for (const char* name : {"moves", "edit", "limits", "listings", "search", "multipv", "ev"}) {
        const std::string path = DataFile(std::string("console/") + name);
        const RunResult result = Run(ReadFile(path + ".in"));
        EXPECT_EQ(result.status, 0) << name;
        EXPECT_EQ(result.errors, "") << name;
        EXPECT_EQ(MaskTimes(result.output), ReadFile(path + ".out")) << name;
    }
}

TEST_F(ConsoleSession, CarriageReturnsAndPiecesOfLinesMakeNoDifference) {
    const std::string plain = Run("e4\ne5\nbd\n").output;
    EXPECT_EQ(Run("e4\r\n\r\ne5\r\n\nbd").output, plain);
    Session session({"-c", "-nolog"});
    for (const char c : std::string("e4\ne5\nbd\nquit\n")) session.SendBytes(std::string(1, c));
    EXPECT_EQ(session.Wait(), 0);
    EXPECT_EQ(session.RestOfOutput(), plain);
}

TEST_F(ConsoleSession, LogHoldsTheMessagesButNotTheListings) {
    const RunResult result = RunVesk(
        {"-c"}, "fen 4k3/8/8/3p4/4P3/8/8/4K3 w - -\nsp\nlmr\nswap\npv\ne4d5\nlevel 1 2 3\nquit\n");
    std::string expected = result.output;
    const std::size_t first = expected.find("piece values=");
    const std::string line_shown = "PV: \n\n";
    const std::size_t last = expected.find(line_shown) + line_shown.size();
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(expected.find("sq= d5, swap= 100\n"), std::string::npos);
    expected.erase(first, last - first);
    EXPECT_EQ(ReadFile("vesk.log"), expected);
}

TEST_F(ConsoleSession, CommandsAreHeardWhileASearchRuns) {
    Session session({"-c", "-nolog"});
    session.Send("an");
    session.Expect("01] 05");
    session.Send("level 40 5 0");
    session.Expect("set level");
    session.Send("pv");
    session.ExpectMatch("PV: .+ ");
    session.Send("e4");  // ends the search, whose report comes first
    session.ExpectMatch("move= [a-h][1-8][a-h][1-8], time= .*");
    EXPECT_EQ(Moved(&session, "1. move e4"),
              "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3");
    session.Send("an");
    session.Expect("01] 03");
    session.Send("set LMR_depth 5");  // what the search threads read changes only after their end
    session.Expect("move= ");
    session.Expect("LMR_depth set to 5");
    session.Send("an");
    session.Expect("01] 03");
    session.Send("hash 2\nan");  // another search waits for the end of this one
    session.Expect("01] 09");
    for (const std::string& line : session.Lines()) EXPECT_NE(line.substr(0, 6), "move= ");
    session.Send(".");
    session.Expect("00] ");
    session.Expect("Hash fill= ");
    session.Expect("01] 03");
    session.Send(".");
    session.Expect("00] ");
    session.Expect("Hash fill= ");
    session.Send("go 40");
    session.Expect("01] 03");
    session.Send("new");
    session.Expect("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
    session.Expect("move= ");
    session.Send("go 40");
    session.Expect("01] 03");
    session.Send("quit");
    EXPECT_EQ(session.Wait(), 0);
}

TEST_F(ConsoleSession, RequestsWaitAndClearATableThatIsNotKept) {
    const auto nodes = [](const std::string& input) {
        const std::string output = Run(input).output;
        const std::regex count("nodes= (\\d+)");
        std::vector<int> counts;
        for (std::sregex_iterator it(output.begin(), output.end(), count), end; it != end; ++it)
            counts.push_back(std::stoi((*it)[1]));
        return counts;
    };
    const std::vector<int> cleared = nodes("go 6\ngo 6\ngo 2\n");
    const std::vector<int> kept = nodes("hash 2\ngo 6\ngo 6\n");
    ASSERT_EQ(cleared.size(), 3u);
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_EQ(cleared[0], cleared[1]);
    EXPECT_LT(cleared[2], cleared[0]);
    const RunResult none = RunVesk({"-c", "-nolog", "-threads", "2"}, "go 0\ngo 3\n");
    EXPECT_EQ(none.status, 0) << "the other threads end with a search of depth 0";
    EXPECT_EQ(kept[0], cleared[0]);
    EXPECT_LT(kept[1], kept[0] / 2);
}

TEST_F(ConsoleSession, ToolsLeaveTheLineOfTheLastSearchAndTheGameAlone) {
    Session session({"-c", "-nolog"});
    session.Send("hash 0\ngo 5");
    session.Expect("Hash fill= ");
    session.Send("perft 2\nev\npv");
    session.ExpectMatch("PV: \\S+ \\S+ .*");
    session.Send("e4\nev\npv");  // not the line of this position
    session.ExpectMatch("PV: ");
    session.Send("sd 66\nlevel 1 60 0\nself");
    session.Expect("01] 03");
    session.Send("ev");
    session.Expect("move= ");
    session.Expect("eval= ");
    session.Expect("Ply= 1,");  // the search that was cut short is made again
    session.Send("an");
    session.Send(".");
    session.Expect("move= ");
    session.Expect("Ply= 1, Clock= 99999");  // and its move is not played when the user analyses
    session.Send("quit");
    EXPECT_EQ(session.Wait(), 0);
}

TEST_F(ConsoleSession, EngineThinksForASideAndPlaysBoth) {
    Session session({"-c", "-nolog", "-d", "2"});
    session.Send("fen 6k1/5ppp/8/8/8/8/8/R3K3 w - -");
    session.Send("mv");
    EXPECT_EQ(session.Expect("move= ").substr(0, 10), "move= a1a8");
    session.Send("bd");  // the move was not made
    session.Expect("6k1/5ppp/8/8/8/8/8/R3K3 w - -");
    session.Send("self");
    session.Expect("R5k1/5ppp/8/8/8/8/8/4K3 b - -");
    session.Expect("move= null");  // the side that is mated has none, and the game ends
    session.Send("new");
    session.Send("self");
    session.ExpectMatch("[1-8a-zA-Z/]+ b .*");
    session.ExpectMatch("[1-8a-zA-Z/]+ w .*");
    session.Send("force");
    session.Send("fen 4k3/8/8/8/8/8/8/4K2R w K -");
    session.Expect("4k3/8/8/8/8/8/8/4K2R w K -");
    session.Send("O-O");
    Moved(&session, "1. move O-O");
    session.Send("quit");
    EXPECT_EQ(session.Wait(), 0);
}

TEST_F(ConsoleSession, UciSwitchesTheProtocolForGood) {
    Session session({"-c", "-nolog"});
    session.Send("uci");
    session.Expect("uciok");
    session.Send("bd");
    session.Send("isready");
    EXPECT_EQ(session.Expect("readyok"), "readyok");
    EXPECT_EQ(session.Lines().back(), "readyok");
    session.CloseInput();
    EXPECT_EQ(session.Wait(), 0);
}

TEST_F(ConsoleSession, BookIsBuiltAndListedAfterARestart) {
    std::ofstream pgn("book.pgn");
    for (int i = 0; i < 12; ++i)
        pgn << "[Event \"x\"]\n[Result \"" << (i % 2 == 0 ? "1-0" : "1/2-1/2")
            << "\"]\n\n1. e4 e5 2. Nf3 *\n\n";
    pgn.close();
    const std::string start = Run("").output;
    const std::string built = Run("mkbook\nbook\nbd\n").output;
    EXPECT_EQ(built.substr(built.size() - start.size() - 6), "done\n\n" + start)
        << "the play book is off while the new one is built: " << built;
    std::filesystem::rename("book.opn", "vesk.opn");
    const std::string listed = Run("book\n").output.substr(start.size());
    EXPECT_TRUE(std::regex_match(
        listed, std::regex("e2e4       6 -     0 -     6   0\\.692  1\\.[0-9]{3}\n\n"
                           "book move is e2e4\n\n\n")))
        << listed;
}

TEST_F(ConsoleSession, TunerRunsFromTheConsole) {
    std::ofstream("tune.epd") << "4k3/8/8/8/8/8/4P3/4K3 w - - tune 0.8;\n"
                                 "4k3/4p3/8/8/8/8/8/4K3 w - - tune 0.1;\n";
    const std::string shown =
        Run("tune pawn_value_en 4\ntune pawn_value_en\ntune nothing 4\n").output;
    const std::size_t start = shown.find("tuning pawn_value_en\n");
    ASSERT_NE(start, std::string::npos) << shown;
    EXPECT_NE(shown.find("best= ", start), std::string::npos);
    EXPECT_NE(shown.find("tuning nothing\n", start), std::string::npos);
    EXPECT_NE(shown.find("done!\n", start), std::string::npos);
}

TEST_F(ConsoleSession, NoiseOfEveryKindIsSurvived) {
    std::string noise;
    unsigned seed = 12345;
    for (int i = 0; i < 40000; ++i) {
        seed = seed * 1103515245u + 12345u;
        noise += static_cast<char>(seed >> 16);
    }
    noise += "\n" + std::string(100000, 'a') + "\nfen " + std::string(100000, 'Q') + "\nload " +
             std::string(1000, 'x') + "\nget " + std::string(1000, '"') +
             "\nlevel a b c\nperft x\nset LMR_depth -1\nset\njump -1\njump 2147483648\nnew\ne4\n";
    const RunResult result = Run(noise);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("1. move e4\n"), std::string::npos);
}

TEST(EpdSession, SummaryAndProgressAreWholeLines) {
    const ScratchFolder folder;
    const std::vector<std::string> options = {
        "-anepd", DataFile("bratko-kopec.epd"), "-d", "7", "-threads", "2"};
    std::vector<std::string> quiet = options;
    quiet.push_back("-quiet");
    const RunResult summary = RunVesk(quiet, "");
    EXPECT_EQ(summary.status, 0);
    EXPECT_TRUE(std::regex_match(
        summary.output,
        std::regex("Analyzing .*bratko-kopec\\.epd\\.\\.\\.\n\\d+ / 24 correct best moves\n"
                   "total nodes= \\d+\ntotal time= \\d+\\.\\d\\d seconds\navg depth= \\d+\\.\\d\n"
                   "avg nodes= \\d+\\.0\nnode_rate= \\d+\navg bf= \\d\\.\\d\\d\n"
                   "avg error= 0\\.\\d{5}\n\n")))
        << summary.output;
    const std::vector<std::string> lines = SplitLines(RunVesk(options, "").output);
    int positions = 0, moves = 0;
    for (const std::string& line : lines) {
        if (line == "pos= " + std::to_string(positions + 1)) ++positions;
        moves += std::regex_match(
            line,
            std::regex("move= \\S{4}, time= \\d+\\.\\d{3}, score= -?\\d+, nodes= \\d+, \\d+K nps"));
    }
    EXPECT_EQ(positions, 24);
    EXPECT_EQ(moves, 24);
}

}  // namespace
