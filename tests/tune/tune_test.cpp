// The tuner: the paths of its line search, names and ranges, and the schedule.
#include "tune/tune.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "eval/personality.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

class Tuner : public EngineTest {
    ScratchFolder folder_;
};

TEST_F(Tuner, TheSearchTakesItsPathAndLeavesTheWeights) {
    std::filesystem::copy(DataFile("tune.epd"), "tune.epd");
    const PersonalityRecord before = Personality;
    PBlock.options.hash_mode = 2;
    PBlock.options.noise = 0;
    std::istringstream golden(FileContent(DataFile("tune.txt")));
    golden.ignore(2);  // each weight's path follows a line "# name range"
    for (std::string name, range, path; golden >> name >> range;) {
        golden.ignore();
        std::getline(golden, path, '#');
        const auto action = [&] { TuneCommand(name.c_str(), range.c_str()); };
        EXPECT_EQ(OutputOf(action), "tuning " + name + "\n" + path + "done!\n") << range;
    }
    EXPECT_EQ(OutputOf([] { TuneCommand("bishop_pair", ""); }), "");
    EXPECT_EQ(std::memcmp(&before, &Personality, sizeof before), 0) << "a weight was not restored";
    EXPECT_EQ(PBlock.limits.max_depth, 0);
    EXPECT_EQ(PBlock.options.noise, NOISE_NEVER);
    EXPECT_EQ(PBlock.options.hash_mode, 2);
    EXPECT_EQ(PBlock.tool.epd_file, "tune.epd");
}

// Each weight is searched from its default within its range, in a fixed order, and logged.
TEST_F(Tuner, TheScheduleTakesTheWeightsInTheirOrder) {
    std::ofstream("tune.epd") << "# nothing here\n";
    const std::string output = OutputOf([] { RunTuneSchedule(); });
    std::string log;
    std::size_t at = 0;
    for (const auto& row : ReadTable("schedule.tsv")) {
        log += row[0] + "\n";
        at = output.find(row[1] + "\n\n", at);
        ASSERT_NE(at, std::string::npos) << row[0] << ": " << row[1];
    }
    EXPECT_EQ(FileContent("tune.log"), log);
    EXPECT_EQ(OutputOf([] { RunTuneSchedule([] { PBlock.control.quit = 1; }); }),
              output.substr(0, output.find("\n\n") + 2));
    EXPECT_EQ(FileContent("tune.log"), "");
    EXPECT_FALSE(PBlock.tool.failed);
    std::filesystem::remove("tune.epd");
    OutputOf([] { RunTuneSchedule(); });
    EXPECT_TRUE(PBlock.tool.failed) << "no positions";
}

}  // namespace
