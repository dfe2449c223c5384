// The program's entry. Where it holds the engine for several levels of the processor it runs the
// one that suits the processor at hand.
#include "frontend/program.h"
#include "platform/cpu.h"

#if defined(VESK_LEVELS)

// The copies of the engine for the higher levels, see src/levels.cmake.
namespace level_popcnt {
int RunProgram(int argc, char** argv);
}
namespace level_bmi2 {
int RunProgram(int argc, char** argv);
}

int main(int argc, char** argv) {
    switch (FastestCpuLevel()) {
        case CpuLevel::Bmi2:
            return level_bmi2::RunProgram(argc, argv);
        case CpuLevel::Popcnt:
            return level_popcnt::RunProgram(argc, argv);
        case CpuLevel::Baseline:
            break;
    }
    return RunProgram(argc, argv);
}

#else

int main(int argc, char** argv) { return RunProgram(argc, argv); }

#endif
