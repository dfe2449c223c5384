// The table of weights: nothing of the record is left out, and the documents say what it says.
#include "eval/weights.h"

#include <gmock/gmock.h>
#include <map>
#include <regex>
#include <set>

#include "support/engine.h"

namespace {

TEST(WeightsTest, EveryByteOfTheRecordBelongsToOneWeightWithNamesOfItsOwn) {
    std::map<WeightKind, std::size_t> bytes = {
        {WeightKind::BYTE, 1}, {WeightKind::WORD, 2}, {WeightKind::SQUARES, 2 * 64}};
    std::vector<int> owners(sizeof(PersonalityRecord));
    std::fill_n(owners.begin() + offsetof(PersonalityRecord, LMR_table),
                sizeof(PersonalityRecord::LMR_table), 1);  // derived
    std::set<std::string> names, words;
    for (const Weight& weight : AllWeights()) {
        for (std::size_t i = 0; i < bytes[weight.kind]; ++i) { ++owners[weight.offset + i]; }
        EXPECT_TRUE(names.insert(weight.name).second) << weight.name;
        if (weight.tuning == Tuning::UNTUNED) { continue; }
        EXPECT_TRUE(words.insert(TuningWord(weight)).second) << weight.name;
        EXPECT_EQ(weight.kind, WeightKind::WORD) << weight.name;
    }
    EXPECT_THAT(owners, testing::Each(1));
}

// Default and unit of each key that the lines of a document name.
using Entries = std::map<std::string, std::pair<int, std::string>>;
Entries EntriesOf(const std::string& text, const char* pattern) {
    Entries entries;
    const std::regex line(pattern);
    for (std::sregex_iterator m(text.begin(), text.end(), line), end; m != end; ++m) {
        const std::pair value(std::stoi((*m)[2]), (*m)[3]);
        EXPECT_TRUE(entries.emplace((*m)[1], value).second) << (*m)[1] << " twice";
    }
    return entries;
}

TEST(WeightsTest, TheDocumentsNameEveryKeyAndItsDefault) {
    const std::string manual_text = FileContent(DataFile("../../docs/parameters.md"));
    const Entries example = EntriesOf(FileContent(DataFile("../../share/vesk.rc.example")),
                                      "\n(\\w+) = (-?\\d+)(?=\n)()");
    const Entries manual =
        EntriesOf(manual_text, "\n\\| `(\\w+)` \\| (-?\\d+) \\| ([^|]*) \\| [^|]+ \\|");
    std::size_t numbers = 0;
    for (const Weight& weight : AllWeights()) {
        const std::string name = weight.name;
        if (!weight.in_file) { continue; }
        EXPECT_NE(manual_text.find("`" + name + "`"), std::string::npos) << name;
        if (weight.kind == WeightKind::SQUARES) { continue; }
        EXPECT_EQ(example.at(name).first, weight.initial) << name;
        EXPECT_EQ(manual.at(name).first, weight.initial) << name;
        // Numbers of eight bits have the range, or plies, for their unit.
        const std::string& unit = manual.at(name).second;
        const bool is_byte = unit == "plies" || unit.find("0..255") != std::string::npos;
        EXPECT_EQ(is_byte, weight.kind == WeightKind::BYTE) << name;
        ++numbers;
    }
    EXPECT_EQ(example.size(), numbers);
    EXPECT_EQ(manual.size(), numbers);
}

}  // namespace
