// The tuner: the path of its line search, the same result from every number of threads, names.
#include "tune/tune.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "eval/personality.h"
#include "frontend/epd.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class Tuner : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        std::filesystem::copy(DataFile("tune.epd"), "tune.epd");
    }
    static std::string Tune(const std::string& name, const std::string& range) {
        testing::internal::CaptureStdout();
        TuneCommand(name.c_str(), range.c_str());
        return testing::internal::GetCapturedStdout();
    }
    ScratchFolder folder_;
};

TEST_F(Tuner, TheSearchTakesItsPath) {
    const PersonalityRecord before = Personality;
    PBlock.options.hash_mode = 2;
    PBlock.options.noise = 0;
    std::istringstream golden(FileContent(DataFile("tune.txt")));
    int weights = 0;
    golden.ignore(2);  // each weight's path follows a line "# name range"
    for (std::string name, range, path; golden >> name >> range; ++weights) {
        golden.ignore();
        std::getline(golden, path, '#');
        EXPECT_EQ(Tune(name, range), "tuning " + name + "\n" + path + "done!\n");
    }
    EXPECT_EQ(weights, 3);
    EXPECT_EQ(std::memcmp(&before, &Personality, sizeof before), 0) << "a weight was not restored";
    EXPECT_EQ(PBlock.limits.max_depth, 0);
    EXPECT_EQ(PBlock.options.noise, NOISE_NEVER);
    EXPECT_EQ(PBlock.options.hash_mode, 2);
    EXPECT_STREQ(PBlock.tool.epd_file, "tune.epd");
}

// The first line of the path: the error of the current weights.
TEST_F(Tuner, TheErrorIsTheOneOfTheEpdAnalysisWhoeverComputesIt) {
    // Enough positions for several threads; some in check, some that are no positions.
    const std::string positions = FileContent("tune.epd");
    {
        std::ofstream out("tune.epd");
        for (int i = 0; i < 12; ++i) {
            out << positions << "# a comment line\n\n8/8/8/8/8/8/8/8 w - - tune 1.0;\n"
                << "4k3/8/8/8/8/8/4R3/4K3 b - - tune 0.250;\n"
                << "7k/6Q1/6K1/8/8/8/8/8 b - - tune 0.0;\n"
                << "4k3/4p3/8/8/8/8/4P3/4K3 w - -\r\n";
        }
    }
    for (const int draw_score : {0, 25}) {
        Personality.draw_score = static_cast<i16>(draw_score);
        PBlock.limits.max_depth = 0;
        std::strcpy(PBlock.tool.epd_file, "tune.epd");
        const double error = Analyze_EPD_File(0);
        char first[64];
        std::snprintf(first, sizeof first, "best= %d, err= %0.5e,", Personality.hung, error);
        EXPECT_NE(Tune("hung", "0").find(first), std::string::npos) << first;
        // With a node limit everything runs on the calling thread.
        const std::string path = Tune("pawn_value_en", "12");
        PBlock.limits.node_limit = 1000000000;
        EXPECT_EQ(Tune("pawn_value_en", "12"), path);
        PBlock.limits.node_limit = 0;
    }
}

TEST_F(Tuner, WithoutPositionsTheWeightStays) {
    const std::string zero = Tune("bishop_pair", "0");
    EXPECT_EQ(std::count(zero.begin(), zero.end(), '='), 4) << "one line without a trial";
    std::filesystem::remove("tune.epd");
    const std::string start = std::to_string(Personality.bishop_pair);
    std::string text = Tune("bishop_pair", "20");
    EXPECT_NE(text.find("best= " + start + ", err= 1.00000e+00"), std::string::npos) << text;
    const std::size_t last = text.rfind("best= ");
    EXPECT_EQ(text.compare(last + 6, start.size(), start), 0) << text;
    std::ofstream("tune.epd") << "# nothing here\n";
    EXPECT_NE(Tune("bishop_pair", "20").find("err= 0.00000e+00"), std::string::npos);
    for (const char* range : {"999999999999", "-5", "x"}) {
        EXPECT_NE(Tune("bishop_pair", range).find("done!"), std::string::npos) << range;
    }
    EXPECT_EQ(Tune("no_such_weight", "10"), "tuning no_such_weight\ndone!\n");
    for (const std::string name : {"ppawn_r6", "PST_R_en", "passed_pawn_rank7", "draw_score"}) {
        EXPECT_EQ(Tune(name, "10"), "tuning " + name + "\ndone!\n");
    }
    const std::string best = "best= " + std::to_string(Personality.passed_pawn_rank[5]) + ",";
    EXPECT_NE(Tune("ppawn_r7", "0").find(best), std::string::npos);
    EXPECT_EQ(Tune("bishop_pair", ""), "");
}

// Each weight is searched from its default within its range, in a fixed order, and logged.
TEST_F(Tuner, TheScheduleTakesTheWeightsInTheirOrder) {
    std::ofstream("tune.epd") << "# nothing here\n";
    const std::string output = OutputOf([] { RunTuneSchedule(); });
    std::istringstream log(FileContent("tune.log"));
    std::size_t at = 0;
    std::string line;
    for (const auto& row : ReadTable("schedule.tsv")) {
        ASSERT_TRUE(std::getline(log, line));
        const int start = std::stoi(line.substr(24)), range = std::stoi(row[1]);
        char expected[64];
        std::snprintf(expected, sizeof expected, "%-24s  %4d  %0.5f", row[0].c_str(), start, 0.0);
        EXPECT_EQ(line, expected);
        const std::string first = "best= " + std::to_string(start) +
                                  ", err= 0.00000e+00, min= " + std::to_string(start - range) +
                                  ", max= " + std::to_string(start + range) + "\n";
        at = output.find(first, at);
        ASSERT_NE(at, std::string::npos) << row[0] << ": " << first;
    }
    EXPECT_FALSE(std::getline(log, line)) << line;
}

}  // namespace
