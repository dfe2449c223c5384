// The options of the UCI protocol: what is announced holds at the start, and what is set stays
// within the limits announced.
#include "frontend/ucioptions.h"

#include <gtest/gtest.h>

#include <string>

#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

// Values by the names of the options.
int ValueOf(const std::string& name) {
    const Options& o = PBlock.options;
    if (name == "Hash") { return o.hash_mb; }
    if (name == "Threads") { return o.threads; }
    if (name == "Ponder") { return o.ponder; }
    if (name == "MultiPV") { return o.multipv; }
    if (name == "Communication Overhead") { return static_cast<int>(o.comm_overhead * 1000 + 0.5); }
    if (name == "OwnBook") { return o.own_book; }
    return o.log;
}

class UciOptions : public EngineTest {};

TEST_F(UciOptions, StartWithWhatIsAnnounced) {
    const std::string lines = OutputOf(ShowUciOptions);
    PBlock.Reset();
    PBlock.options.log = 0;  // as the answer to "uci" leaves it
    for (const char* name : {"Hash", "Threads", "MultiPV", "Communication Overhead"}) {
        const std::string line = "option name " + std::string(name) + " type spin default " +
                                 std::to_string(ValueOf(name)) + " min ";
        EXPECT_NE(lines.find(line), std::string::npos) << lines;
    }
    for (const char* name : {"Ponder", "OwnBook", "Log"}) {
        const std::string line = "option name " + std::string(name) + " type check default " +
                                 (ValueOf(name) != 0 ? "true" : "false") + "\n";
        EXPECT_NE(lines.find(line), std::string::npos) << lines;
    }
}

TEST_F(UciOptions, AreSetWithinTheirLimits) {
    const struct {
        const char *name, *value;
        int set;
    } cases[] = {
        {"MultiPV", "0", 1},
        {"MultiPV", "3", 3},
        {"MultiPV", "21", 20},
        {"Communication Overhead", "-1", 0},
        {"Communication Overhead", "70", 70},
        {"Communication Overhead", "5001", 5000},
        {"Hash", "-1", 0},
        {"Hash", "3", 3},
        {"Ponder", "false", 0},
        {"Ponder", "true", 1},
        {"Ponder", "True", 0},
        {"OwnBook", "true", 1},
        {"OwnBook", "xtrue", 0},
        {"OwnBook", "", 0},
        {"Log", "xtrue", 1},
        {"Log", "false", 0},
        {"ponder", "true", 0},
    };
    for (const auto& c : cases) {
        OutputOf([&] { SetUciOption(c.name, c.value); });
        EXPECT_EQ(ValueOf(c.name == std::string("ponder") ? "Ponder" : c.name), c.set)
            << c.name << ' ' << c.value;
    }
}

}  // namespace
