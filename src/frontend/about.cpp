// The answers to "--help" and "--version". Nothing has to be initialised.
#include "frontend/about.h"

#include <algorithm>
#include <string>

#include "board/target.h"
#include "frontend/commandline.h"
#include "frontend/output.h"
#include "frontend/uci.h"

namespace {

#ifdef __clang__
constexpr const char* COMPILER = __VERSION__;  // with its name
#else
constexpr const char* COMPILER = "GCC " __VERSION__;
#endif

}  // namespace

void ShowUsage() {
    const std::vector<OptionHelp> helps = OptionHelps();
    std::size_t width = 0;
    for (const OptionHelp& o : helps) {
        width = std::max(width, o.name.size() + 1 + o.value.size());
    }
    PrintDirect("usage: vesk [OPTION]...\n");
    for (const OptionHelp& o : helps) {
        const std::string usage = o.name + ' ' + o.value;
        PrintDirect("  %-*s  %s\n", static_cast<int>(width), usage.c_str(), o.help.c_str());
    }
}

void ShowVersion() {
    PrintDirect("%s\ncompiled by %s, level %s\n", version, COMPILER, TARGET_NAME);
}
