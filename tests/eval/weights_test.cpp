// The table of weights: nothing of the record is left out, and the documents say what it says.
#include "eval/weights.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "support/engine.h"

namespace {

std::size_t Bytes(WeightKind kind) {
    return kind == WeightKind::BYTE ? 1 : kind == WeightKind::WORD ? 2 : 2 * 64;
}

TEST(WeightsTest, EveryByteOfTheRecordBelongsToOneWeight) {
    std::vector<int> owners(sizeof(PersonalityRecord));
    std::fill_n(owners.begin() + offsetof(PersonalityRecord, LMR_table),
                sizeof(PersonalityRecord::LMR_table), 1);  // derived
    for (const Weight& weight : AllWeights()) {
        for (std::size_t i = 0; i < Bytes(weight.kind); ++i) { ++owners[weight.offset + i]; }
    }
    EXPECT_THAT(owners, testing::Each(1));
}

TEST(WeightsTest, NamesAreUnique) {
    std::set<std::string> names, words;
    for (const Weight& weight : AllWeights()) {
        EXPECT_TRUE(names.insert(weight.name).second) << weight.name;
        if (weight.tuning == Tuning::UNTUNED) { continue; }
        EXPECT_TRUE(words.insert(TuningWord(weight)).second) << weight.name;
        EXPECT_EQ(weight.kind, WeightKind::WORD) << weight.name;
    }
}

// The keys, defaults and remarks that the lines of a document name.
struct Entry {
    int initial;
    std::string unit;
    bool operator==(const Entry&) const = default;
};
std::map<std::string, Entry> EntriesOf(const std::string& path, const char* pattern) {
    std::map<std::string, Entry> entries;
    std::istringstream lines(FileContent(DataFile(path)));
    const std::regex expression(pattern);
    std::smatch m;
    for (std::string line; std::getline(lines, line);) {
        if (!std::regex_match(line, m, expression)) { continue; }
        EXPECT_TRUE(entries.insert({m[1], {std::stoi(m[2]), m[3]}}).second) << m[1] << " twice";
    }
    return entries;
}

TEST(WeightsTest, TheDocumentsNameEveryKeyAndItsDefault) {
    const auto example = EntriesOf("../../share/vesk.rc.example", "(\\w+) = (-?\\d+)()");
    const auto manual = EntriesOf("../../docs/parameters.md",
                                  "\\| `(\\w+)` \\| (-?\\d+) \\| ([^|]*) \\| [^|]+ \\|");
    const std::string manual_text = FileContent(DataFile("../../docs/parameters.md"));
    std::size_t numbers = 0;
    for (const Weight& weight : AllWeights()) {
        const std::string name = weight.name;
        if (weight.kind == WeightKind::SQUARES) {
            const bool named = manual_text.find("`" + name + "`") != std::string::npos;
            EXPECT_EQ(named, weight.in_file) << name;
            continue;
        }
        EXPECT_EQ(example.count(name), weight.in_file) << name;
        ASSERT_EQ(manual.count(name), weight.in_file) << name;
        if (!weight.in_file) { continue; }
        ++numbers;
        EXPECT_EQ(example.at(name).initial, weight.initial) << name;
        EXPECT_EQ(manual.at(name).initial, weight.initial) << name;
        // Numbers of eight bits have the range, or plies, for their unit.
        const std::string& unit = manual.at(name).unit;
        const bool is_byte = unit == "plies" || unit.find("0..255") != std::string::npos;
        EXPECT_EQ(is_byte, weight.kind == WeightKind::BYTE) << name;
    }
    EXPECT_EQ(example.size(), numbers);
    EXPECT_EQ(manual.size(), numbers);
}

}  // namespace
