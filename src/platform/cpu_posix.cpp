// Processor features, where the compiler's run-time support can tell them: on x86. Other processors
// have none of them by these names.
#include "platform/cpu.h"

#if defined(__x86_64__) || defined(__i386__)

#include <cpuid.h>

namespace {

// Leaves of the CPUID instruction.
constexpr unsigned SIGNATURE_LEAF = 1;
constexpr unsigned EXTENDED_FEATURES_LEAF = 0x80000001u;

// AMD's processors with BMI2 before Zen 3, and those made after the same plans: PEXT and PDEP are
// microcode there and take up to hundreds of cycles. No other maker's have these families.
constexpr unsigned FIRST_SLOW_PEXT_FAMILY = 0x15;
constexpr unsigned LAST_SLOW_PEXT_FAMILY = 0x18;

// The compilers' cpu_supports does not know it everywhere. Code for LZCNT gives wrong results
// without, no fault.
bool HasLzcnt() {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(EXTENDED_FEATURES_LEAF, &eax, &ebx, &ecx, &edx) && (ecx & bit_LZCNT) != 0;
}

unsigned CpuFamily() {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (!__get_cpuid(SIGNATURE_LEAF, &eax, &ebx, &ecx, &edx)) { return 0; }
    const unsigned base_family = eax >> 8 & 0xF;
    const unsigned extended_family = eax >> 20 & 0xFF;
    return base_family + extended_family;
}

bool HasFastPext() {
    const unsigned family = CpuFamily();
    return family < FIRST_SLOW_PEXT_FAMILY || family > LAST_SLOW_PEXT_FAMILY;
}

}  // namespace

bool CpuHasPopcnt() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("popcnt") != 0;
}

bool CpuHasBmi() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("bmi") != 0;
}

CpuLevel FastestCpuLevel() {
    if (!CpuHasPopcnt() || !__builtin_cpu_supports("sse4.2")) { return CpuLevel::Baseline; }
    const bool has_bmi2 = CpuHasBmi() && __builtin_cpu_supports("bmi2") && HasLzcnt();
    return has_bmi2 && HasFastPext() ? CpuLevel::Bmi2 : CpuLevel::Popcnt;
}

#else

bool CpuHasPopcnt() { return false; }
bool CpuHasBmi() { return false; }
CpuLevel FastestCpuLevel() { return CpuLevel::Baseline; }

#endif
