// Sessions of the console and of the tools that cannot be written down as scripts: what is typed
// while a search runs, several search threads, bytes of any kind.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/engine.h"
#include "support/session.h"

namespace {

class ConsoleSession : public testing::Test {
protected:
    ScratchFolder folder_;
    Session vesk_{{"-c", "-nolog", "-d", "2"}};
};

TEST_F(ConsoleSession, CommandsAreHeardWhileASearchRuns) {
    vesk_.Send("an");
    vesk_.Expect("01] 05");
    vesk_.Send("level 40 5 0");
    vesk_.Expect("set level");
    vesk_.Send("pv");
    EXPECT_NE(vesk_.Expect("PV: "), "PV: ");
    vesk_.Send("e4");  // ends the search, whose report comes first
    vesk_.Expect("move= ");
    vesk_.Expect("1. move e4");
    vesk_.Expect("rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3");
    vesk_.Send("an");
    vesk_.Expect("01] 03");
    vesk_.Send("set LMR_depth 5");  // what the search threads read changes only after their end
    vesk_.Expect("move= ");
    vesk_.Expect("LMR_depth set to 5");
    vesk_.Send("an");
    vesk_.Expect("01] 03");
    vesk_.Send("hash 2\nan");  // another search waits for the end of this one
    vesk_.Expect("01] 09");
    for (const std::string& line : vesk_.Lines()) { EXPECT_NE(line.substr(0, 6), "move= "); }
    for (int searches = 0; searches < 2; ++searches) {
        vesk_.Send(".");
        vesk_.Expect("00] ");
        vesk_.Expect("Hash fill= ");
        if (searches == 0) { vesk_.Expect("01] 03"); }
    }
    vesk_.Send("go 40");
    vesk_.Expect("01] 03");
    vesk_.Send("new");
    vesk_.Expect("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -");
    vesk_.Expect("move= ");
    vesk_.Send("go 40");
    vesk_.Expect("01] 03");
    vesk_.Send("quit");
    EXPECT_EQ(vesk_.Wait(), 0);
}

TEST_F(ConsoleSession, SelfPlayEndsWhenTheGameIsLeft) {
    vesk_.Expect("white");
    vesk_.Send("self");
    vesk_.Expect("black");
    vesk_.Expect("white");
    vesk_.Send("force");
    vesk_.Send("fen 4k3/8/8/8/8/8/8/4K2R w K -");
    vesk_.Expect("4k3/8/8/8/8/8/8/4K2R w K -");
    vesk_.Send("O-O");
    vesk_.Expect("1. move O-O");
    vesk_.Send("quit");
    EXPECT_EQ(vesk_.Wait(), 0);
}

TEST_F(ConsoleSession, SelfPlayNeitherPlaysACutSearchNorTheMoveOfAnAnalysis) {
    vesk_.Send("sd 66\nlevel 1 60 0\nself");
    vesk_.Expect("01] 03");
    vesk_.Send("ev");
    vesk_.Expect("move= ");
    vesk_.Expect("eval= ");
    vesk_.Expect("Ply= 0,");
    vesk_.Send("an");
    vesk_.Send(".");
    vesk_.Expect("move= ");
    vesk_.Expect("Ply= 0, Clock= 99999");
    vesk_.Send("self\ngo 2\nself");  // of these only the last game begins
    vesk_.Send(".");
    vesk_.Expect("Ply= 0, Clock= 99999");
    vesk_.Expect("rnbqkbnr");
    vesk_.Send("force\nev");  // the report of the evaluation comes last
    vesk_.Expect("eval= ");
    vesk_.Send("an\nself\nfen 4k3/8/8/8/8/8/4P3/4K3 w - -\nev");
    vesk_.Expect("eval= ");
    vesk_.Expect("white");
    vesk_.Expect("");
    EXPECT_TRUE(vesk_.IsSilentFor(0.2)) << "nor does a game that was still to begin";
    vesk_.Send("quit");
    EXPECT_EQ(vesk_.Wait(), 0);
}

TEST_F(ConsoleSession, LinesArriveInPieces) {
    const std::string lines = "e4\r\ne5\nbd\nquit\n";
    for (const char c : lines) { vesk_.SendBytes(std::string(1, c)); }
    EXPECT_EQ(vesk_.Wait(), 0);
    EXPECT_EQ(vesk_.RestOfOutput(), RunVesk({"-c", "-nolog"}, lines).output);
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
    const RunResult result = RunVesk({"-c", "-nolog"}, noise);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("1. move e4\n"), std::string::npos);
}

TEST(ToolSession, SeveralThreadsSearchOnePositionAfterTheOther) {
    const ScratchFolder folder;
    const RunResult epd =
        RunVesk({"-quiet", "-threads", "2", "-anepd", DataFile("bratko-kopec.epd"), "-d", "6"}, "");
    EXPECT_NE(epd.output.find(" / 24 correct best moves\n"), std::string::npos) << epd.output;
    const RunResult bench = RunVesk({"-threads", "2", "-bench", "-d", "5"}, "");
    EXPECT_EQ(SplitLines(bench.output).size(), 12u) << bench.output;
}

TEST(ToolSession, QuitEndsTheBenchmarkAtOnce) {
    const ScratchFolder folder;
    Session bench({"-bench", "-d", "40"});
    bench.Expect("running benchmark");
    bench.Send("position startpos");
    bench.Send("quit");
    EXPECT_EQ(bench.Wait(), 0);
    EXPECT_NE(bench.RestOfOutput().find("total time= "), std::string::npos);
}

}  // namespace
