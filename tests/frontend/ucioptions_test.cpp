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
    for (const std::string name :
         {"Hash", "Threads", "MultiPV", "Communication Overhead", "Ponder", "OwnBook", "Log"}) {
        const std::string number = std::to_string(ValueOf(name));
        const std::string truth = ValueOf(name) != 0 ? "true" : "false";
        EXPECT_TRUE(lines.find(name + " type spin default " + number + " min ") != lines.npos ||
                    lines.find(name + " type check default " + truth + "\n") != lines.npos)
            << name << "\n"
            << lines;
    }
}

TEST_F(UciOptions, AreSetWithinTheirLimits) {
    const struct {
        const char *name, *value;
        int set;
    } cases[] = {
        {"MultiPV", "0", 1},     {"MultiPV", "21", 20},
        {"Hash", "-1", 0},       {"Communication Overhead", "5001", 5000},
        {"Ponder", "false", 0},  {"Ponder", "true", 1},
        {"Ponder", "True", 0},   {"OwnBook", "true", 1},
        {"OwnBook", "xtrue", 0}, {"Log", "xtrue", 1},
        {"Log", "false", 0},
    };
    for (const auto& c : cases) {
        OutputOf([&] { SetUciOption(c.name, c.value); });
        EXPECT_EQ(ValueOf(c.name), c.set) << c.name << ' ' << c.value;
    }
}

}  // namespace
