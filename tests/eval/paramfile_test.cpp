// The parameter file: every key, the example file, and a corpus of good and bad files, each with
// the record it must leave and the messages it must give.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "eval/personality.h"
#include "support/engine.h"

namespace {

// No padding: records can be compared as bytes.
static_assert(std::has_unique_object_representations_v<PersonalityRecord>);

using Lines = std::vector<std::string>;

class ParameterFileTest : public testing::Test {
protected:
    void SetUp() override {
        ResetEngine();
        SetPersonalityDefaults(&record_);
    }

    // Loads over record_ and returns the messages after the first line, each without the path.
    Lines Load(const std::string& path) {
        testing::internal::CaptureStdout();
        EXPECT_TRUE(LoadConfigFile(path.c_str(), &record_)) << path;
        std::stringstream output(testing::internal::GetCapturedStdout());
        std::string line;
        std::getline(output, line);
        EXPECT_EQ(line, "loading parameters from " + path);
        std::getline(output, line);
        EXPECT_EQ(line, "");
        Lines faults;
        while (std::getline(output, line)) {
            EXPECT_EQ(line.compare(0, path.size() + 2, path + ", "), 0) << line;
            faults.push_back(line.substr(std::min(line.size(), path.size() + 2)));
        }
        return faults;
    }

    PersonalityRecord record_;
    ScratchFolder folder_;
};

void ExpectSame(const PersonalityRecord& a, const PersonalityRecord& b, const std::string& what) {
    const auto* x = reinterpret_cast<const unsigned char*>(&a);
    const auto* y = reinterpret_cast<const unsigned char*>(&b);
    const auto at = std::mismatch(x, x + sizeof a, y).first - x;
    EXPECT_EQ(at, std::ptrdiff_t{sizeof a}) << what << ": where the records differ";
}

// all_keys.rc numbers the keys in the order of the record: bytes 41, 42, ...; words 301, 302, ...
TEST_F(ParameterFileTest, EveryKeySetsItsOwnFieldAndNoOther) {
    PersonalityRecord expected = record_;
    expected.draw_score = 301;
    expected.NMP_depth = 41;
    expected.LMR_depth = 42;
    expected.LMR_strength = 43;
    for (int k = 1; k <= 5; ++k) { expected.CNP_margin[k] = static_cast<i16>(301 + k); }
    for (int k = 1; k <= 3; ++k) { expected.FP_margin[k] = static_cast<i16>(306 + k); }
    for (int k = 1; k <= 5; ++k) { expected.LMP_count[k] = static_cast<u8>(43 + k); }
    i16 value = 310;
    for (i16* field = &expected.pawn_value_op; field <= &expected.pinned; ++field) {
        if (field != &expected.bishop_trapped) { *field = value++; }
    }
    for (int type = PAWN; type <= KING; ++type) {
        for (int sq = 0; sq < 64; ++sq) {
            expected.PST_op[type][sq] = static_cast<i16>(100 * type + sq);
            expected.PST_en[type][sq] = static_cast<i16>(-100 * type - sq);
        }
    }
    EXPECT_THAT(Load(DataFile("rc/all_keys.rc")), testing::IsEmpty());
    ExpectSame(record_, expected, "all_keys.rc");
}

TEST_F(ParameterFileTest, TheExampleFileChangesNothing) {
    EXPECT_THAT(Load(DataFile("../../share/vesk.rc.example")), testing::IsEmpty());
    PersonalityRecord defaults;
    SetPersonalityDefaults(&defaults);
    ExpectSame(record_, defaults, "example");
    // It sets the fields it names: over a record of other values it brings the defaults back.
    record_.knight_outpost = 99;
    record_.LMP_count[5] = 99;
    Load(DataFile("../../share/vesk.rc.example"));
    ExpectSame(record_, defaults, "example again");
}

// Each file of the corpus leaves the record that its sound twin leaves, and gives the messages of
// its list.
TEST_F(ParameterFileTest, CorpusFilesSetTheGoodLinesAndNameTheBadOnes) {
    for (const std::string name :
         {"separators", "widths", "crlf", "blank", "numbers", "keys", "long_lines", "nul",
          "short_rows", "cut_table", "bare_table_key"}) {
        const std::string path = DataFile("rc/" + name);
        std::ifstream messages(path + ".messages");
        ASSERT_TRUE(messages.is_open()) << path;
        Lines expected;
        for (std::string line; std::getline(messages, line);) { expected.push_back(line); }
        SetPersonalityDefaults(&record_);
        EXPECT_THAT(Load(path + ".same.rc"), testing::IsEmpty());
        const PersonalityRecord twin = record_;
        SetPersonalityDefaults(&record_);
        EXPECT_EQ(Load(path + ".rc"), expected) << name;
        ExpectSame(record_, twin, name);
    }
}

TEST_F(ParameterFileTest, AnEndlessLineSpoilsNothingElse) {
    std::ofstream("test.rc") << std::string(1000000, '=') << "\nhung = 7";
    EXPECT_THAT(Load("test.rc"), testing::SizeIs(1));
    EXPECT_EQ(record_.hung, 7);
}

TEST_F(ParameterFileTest, AMissingFileIsSilent) {
    testing::internal::CaptureStdout();
    for (const char* path : {"nowhere.rc", "."}) {
        EXPECT_FALSE(LoadConfigFile(path, &record_)) << path;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// The file comes before the limits, the reduction table and the copy of the record.
TEST_F(ParameterFileTest, StartUpDerivesFromWhatTheFileSays) {
    std::ofstream("vesk.rc") << "LMR_strength = 0\nCNP_margin_depth2 = 5000\n";
    testing::internal::CaptureStdout();
    InitPersonality("vesk.rc");
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(Personality.CNP_depth, 1);
    EXPECT_EQ(Personality.LMR_table[1][69][31], 0);
    ExpectSame(DefaultPersonality, Personality, "copy");
}

}  // namespace
