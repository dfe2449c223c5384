// The parameter file: every key, the example file, and a corpus of good and bad files, each with
// the record it must leave and the messages it must give.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "eval/personality.h"
#include "support/engine.h"

namespace {

// No padding: records can be compared as bytes.
static_assert(std::has_unique_object_representations_v<PersonalityRecord>);

const std::string NO_FAULTS = "loading parameters from test.rc\n\n";

class ParameterFileTest : public testing::Test {
protected:
    void SetUp() override { ResetEngine(); }

    // Loads a file with that text over the defaults and returns the messages.
    std::string Load(const std::string& text) {
        std::ofstream("test.rc", std::ios::binary) << text;
        SetPersonalityDefaults(&record_);
        return OutputOf([this] { EXPECT_TRUE(LoadConfigFile("test.rc", &record_)); });
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
    EXPECT_EQ(Load(FileContent(DataFile("rc/all_keys.rc"))), NO_FAULTS);
    PersonalityRecord expected;
    SetPersonalityDefaults(&expected);
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
    ExpectSame(record_, expected, "all_keys.rc");
}

TEST_F(ParameterFileTest, TheExampleFileChangesNothing) {
    EXPECT_EQ(Load(FileContent(DataFile("../../share/vesk.rc.example"))), NO_FAULTS);
    PersonalityRecord defaults;
    SetPersonalityDefaults(&defaults);
    ExpectSame(record_, defaults, "example");
}

// Each file of the corpus leaves the record that its sound twin leaves, and gives the messages of
// its list.
TEST_F(ParameterFileTest, CorpusFilesSetTheGoodLinesAndNameTheBadOnes) {
    for (const std::string name :
         {"separators", "widths", "crlf", "blank", "numbers", "keys", "long_lines", "nul",
          "short_rows", "cut_table", "bare_table_key"}) {
        const std::string path = DataFile("rc/" + name);
        EXPECT_EQ(Load(FileContent(path + ".same.rc")), NO_FAULTS);
        const PersonalityRecord twin = record_;
        EXPECT_EQ(Load(FileContent(path + ".rc")), FileContent(path + ".messages")) << name;
        ExpectSame(record_, twin, name);
    }
    const std::string shown(40, '=');
    EXPECT_EQ(Load(std::string(1000000, '=') + "\nhung = 7"),
              NO_FAULTS + "test.rc, line 1: line too long: \"" + shown + "\"\n");
    EXPECT_EQ(record_.hung, 7);
}

// Without a file the defaults do. The file comes before the limits, the reduction table and the
// copy of the record.
TEST_F(ParameterFileTest, StartUpDerivesFromWhatTheFileSays) {
    EXPECT_EQ(OutputOf([] { InitPersonality("nowhere.rc"); }), "");
    EXPECT_EQ(OutputOf([] { InitPersonality("."); }), "");
    EXPECT_EQ(Personality.CNP_depth, 3);
    Load("LMR_strength = 0\nCNP_margin_depth2 = 5000\n");
    EXPECT_EQ(OutputOf([] { InitPersonality("test.rc"); }), NO_FAULTS);
    EXPECT_EQ(Personality.CNP_depth, 1);
    EXPECT_EQ(Personality.LMR_table[1][69][31], 0);
    ExpectSame(DefaultPersonality, Personality, "copy");
}

}  // namespace
