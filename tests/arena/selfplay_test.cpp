// Self-play at volume, by the built program: its games depend on nothing but the settings.
#include "arena/selfplay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>

#include "support/engine.h"
#include "support/session.h"

namespace {

using testing::HasSubstr;

std::vector<std::string> Arguments(const std::string& file, const std::vector<std::string>& more) {
    std::vector<std::string> words = {"-nolog", "-selfplay",    file, "-nodes",
                                      "300",    "-randomplies", "4"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

std::string GamesOf(const std::string& file) {
    const std::regex seconds(" [0-9.]+s\\}");
    return std::regex_replace(FileContent(file), seconds, "}");
}

TEST(SelfPlay, PlaysTheSameGamesHoweverManyAtOnceAndGoesOnWhereItEnded) {
    const ScratchFolder folder;
    std::ofstream("weak.rc") << "queen_value_op 1\nqueen_value_en 1\n";
    const std::vector<std::string> settings = {"-player2", "weak.rc", "-games", "8"};
    const auto with = [&settings](const char* threads) {
        std::vector<std::string> words = settings;
        words.insert(words.end(), {"-threads", threads});
        return words;
    };
    const RunResult one = RunVesk(Arguments("one.pgn", with("1")), "");
    const RunResult three = RunVesk(Arguments("three.pgn", with("3")), "");
    EXPECT_EQ(one.status, 0);
    EXPECT_EQ(one.output, three.output);
    const std::string games = GamesOf("one.pgn");
    EXPECT_EQ(games, GamesOf("three.pgn"));
    EXPECT_THAT(one.output, HasSubstr("8 games: +"));
    EXPECT_THAT(games, HasSubstr("[Round \"8\"]\n[White \"weak.rc\"]\n[Black \"default\"]\n"));

    // Broken off in the third game, in the middle of a line.
    const std::string whole = FileContent("one.pgn");
    const std::size_t third = whole.find("[Event", whole.find("[Round \"3\"]"));
    std::ofstream("half.pgn") << whole.substr(0, third - 40);
    // A result may stand alone on its line.
    std::string half = whole.substr(0, third - 40);
    const std::size_t second = half.find("[Event", 1);
    ASSERT_EQ(half[half.rfind(' ', second)], ' ');
    half[half.rfind(' ', second)] = '\n';
    std::ofstream("half.pgn") << half;
    const RunResult rest = RunVesk(Arguments("half.pgn", with("2")), "");
    EXPECT_EQ(rest.output, "going on after 2 games\n" + one.output);
    const std::string joined =
        std::regex_replace(GamesOf("half.pgn"), std::regex("\n(?=[01/2-]+\n\n)"), " ");
    EXPECT_EQ(joined, std::regex_replace(games, std::regex("\n(?=[01/2-]+\n\n)"), " "));
}

TEST(SelfPlay, CountsPairsOfARepeatedOpeningOnce) {
    const ScratchFolder folder;
    std::ofstream("openings.epd") << "4k3/pppp4/8/8/8/8/PPPP4/4K3 w - -\n"
                                     "4k3/4pppp/8/8/8/8/4PPPP/4K3 w - -\n";
    const auto play = [](const std::vector<std::string>& limit) {
        std::vector<std::string> words = {"-nolog",    "-selfplay",    "games.pgn", "-games", "6",
                                          "-openings", "openings.epd", "-threads",  "1"};
        words.insert(words.end(), limit.begin(), limit.end());
        return RunVesk(words, "").output;
    };
    const std::string once =
        "openings= 3, different= 2: pairs that repeat one are not counted as evidence\n";
    const std::string output = play({"-nodes", "50"});
    EXPECT_THAT(output, testing::StartsWith(once));
    EXPECT_THAT(output, testing::ContainsRegex("6 games: .* pairs (0 ){2}2 0 0\n"));
    EXPECT_EQ(play({"-nodes", "50"}),
              once + "going on after 6 games\n" + output.substr(once.size()));
    std::filesystem::remove("games.pgn");
    EXPECT_THAT(play({"-t", "0.001"}), testing::StartsWith("openings= 3, different= 2\n"));
}

TEST(SelfPlay, LeavesAFileOfOtherThingsAloneAndSaysWhatIsMissing) {
    const ScratchFolder folder;
    std::ofstream("other.pgn") << "[Event \"Self-play, of long ago\"]\n";
    EXPECT_EQ(RunVesk(Arguments("other.pgn", {"-games", "2"}), "").status, 1);
    EXPECT_EQ(FileContent("other.pgn"), "[Event \"Self-play, of long ago\"]\n");
    EXPECT_EQ(RunVesk(Arguments("new.pgn", {"-player1", "missing.rc"}), "").status, 1);
    EXPECT_EQ(RunVesk(Arguments("new.pgn", {"-openings", "missing.epd"}), "").status, 1);
    EXPECT_EQ(FileContent("new.pgn"), "");
    EXPECT_EQ(RunVesk({"-nolog", "-rc", "missing.rc"}, "").status, 1);

    // Games of other players, and a file that another run writes.
    std::ofstream("weak.rc") << "queen_value_op 1\n";
    EXPECT_EQ(RunVesk(Arguments("games.pgn", {"-games", "2", "-player2", "weak.rc"}), "").status,
              0);
    const std::string games = FileContent("games.pgn");
    EXPECT_EQ(RunVesk(Arguments("games.pgn", {"-games", "4", "-player1", "weak.rc"}), "").status,
              1);
    EXPECT_EQ(FileContent("games.pgn"), games);
    Session running(Arguments("shared.pgn", {"-games", "20000", "-randomplies", "12"}));
    for (int i = 0; i < 600 && FileContent("shared.pgn").empty(); ++i) { running.IsSilentFor(0.1); }
    EXPECT_EQ(RunVesk(Arguments("shared.pgn", {"-games", "2"}), "").status, 1);
    running.Signal(SIGINT);
    EXPECT_EQ(running.Wait(), 0);
}

TEST(SelfPlay, EndsWithTheTestAndWithTheUser) {
    const ScratchFolder folder;
    std::ofstream("weak.rc") << "queen_value_op 1\nqueen_value_en 1\nrook_value_op 1\n";
    const RunResult tested = RunVesk(
        Arguments("tested.pgn", {"-player2", "weak.rc", "-games", "400", "-sprt", "0", "200"}), "");
    EXPECT_THAT(tested.output, HasSubstr("of [0, 200]: accepted"));
    EXPECT_THAT(tested.output, testing::Not(HasSubstr("400 games")));

    Session endless(
        Arguments("endless.pgn", {"-games", "20000", "-randomplies", "12", "-threads", "2"}));
    for (int i = 0;
         i < 600 && FileContent("endless.pgn").find("[Round \"2\"]") == std::string::npos; ++i) {
        endless.IsSilentFor(0.1);
    }
    endless.Send("quit");
    EXPECT_EQ(endless.Wait(), 0);
    EXPECT_TRUE(FileContent("endless.pgn").ends_with("\n\n"));
}

}  // namespace
