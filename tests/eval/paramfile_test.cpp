// The parameter file: every key, the example file, and a corpus of good and bad files, each with
// the record it must leave and the messages it must give.
#include <algorithm>
#include <cstring>
#include <fstream>

#include "eval/weights.h"
#include "support/engine.h"

namespace {

// No padding: records can be compared as bytes.
static_assert(std::has_unique_object_representations_v<PersonalityRecord>);

const std::string NO_FAULTS = "loading parameters from test.rc\n\n";

class ParameterFileTest : public EngineTest {
protected:
    // Loads a file with that text over the defaults and returns the messages.
    std::string Load(const std::string& text) {
        std::ofstream("test.rc", std::ios::binary) << text;
        SetPersonalityDefaults(&record_);
        return OutputOf([this] { EXPECT_TRUE(LoadConfigFile("test.rc", &record_)); });
    }

    PersonalityRecord record_;
    ScratchFolder folder_;
};

bool Same(const PersonalityRecord& a, const PersonalityRecord& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// all_keys.rc numbers the keys in the order of the record: bytes 41, 42, ...; words 301, 302, ...,
// those of squares from a1 to h8.
TEST_F(ParameterFileTest, EveryKeySetsItsOwnFieldAndNoOther) {
    EXPECT_EQ(Load(FileContent(DataFile("rc/all_keys.rc"))), NO_FAULTS);
    PersonalityRecord expected;
    SetPersonalityDefaults(&expected);
    std::vector<Weight> weights(AllWeights().begin(), AllWeights().end());
    std::ranges::sort(weights, {}, &Weight::offset);
    u8 byte = 41;
    i16 word = 301;
    for (const Weight& weight : weights) {
        if (!weight.in_file) { continue; }
        if (weight.kind == WeightKind::BYTE) {
            *ByteField(weight, &expected) = byte++;
            continue;
        }
        i16* field = WordField(weight, &expected);
        i16* const end = field + (weight.kind == WeightKind::WORD ? 1 : SQUARE_COUNT);
        while (field != end) { *field++ = word++; }
    }
    EXPECT_TRUE(Same(record_, expected));
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
        EXPECT_TRUE(Same(record_, twin)) << name;
    }
    EXPECT_EQ(Load(std::string(1000000, '=') + "\nhung = 7"),
              NO_FAULTS + "test.rc, line 1: line too long: \"" + std::string(40, '=') + "\"\n");
    EXPECT_EQ(record_.hung, 7);
}

TEST_F(ParameterFileTest, TheFilesOfTheProjectAreReadWhole) {
    EXPECT_EQ(Load(FileContent(DataFile("../../share/vesk.rc.example"))), NO_FAULTS);
    const PersonalityRecord example = record_;
    EXPECT_EQ(Load(""), NO_FAULTS);
    EXPECT_TRUE(Same(record_, example));
    // The file of stronger weights is read as a whole, and is not the built-in ones again.
    EXPECT_EQ(Load(FileContent(DataFile("../../share/strong.rc"))), NO_FAULTS);
    EXPECT_FALSE(Same(record_, example));
}

// A missing file is silent. One that is there comes before the limits, the reduction table and the
// copy of the record.
TEST_F(ParameterFileTest, StartUpDerivesFromWhatTheFileSays) {
    for (const char* path : {"nowhere.rc", ".", "/proc/self/mem"}) {
        EXPECT_EQ(OutputOf([&] { EXPECT_FALSE(LoadConfigFile(path, &record_)); }), "") << path;
    }
    Load("LMR_strength = 25\nCNP_margin_depth2 = 5000\n");
    EXPECT_EQ(OutputOf([] { InitPersonality("test.rc"); }), NO_FAULTS);
    EXPECT_EQ(Personality.CNP_depth, 1);
    EXPECT_EQ(Personality.LMR_table[0][49][9], 1);  // of 0.72
    EXPECT_EQ(Personality.LMR_table[1][49][9], 2);  // of 1.92
    EXPECT_TRUE(Same(DefaultPersonality, Personality));
}

}  // namespace
