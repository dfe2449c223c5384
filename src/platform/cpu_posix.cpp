// Processor features, where the compiler's run-time support can tell them: on x86. Other processors
// have neither feature by these names.
#include "platform/cpu.h"

#if defined(__x86_64__) || defined(__i386__)

bool CpuHasPopcnt() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("popcnt") != 0;
}

bool CpuHasBmi() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("bmi") != 0;
}

#else

bool CpuHasPopcnt() { return false; }
bool CpuHasBmi() { return false; }

#endif
