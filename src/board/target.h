// The processor that this code is compiled for. The default program for x86-64 holds the engine
// once for each level of src/levels.cmake; otherwise the compiler's options say it.
#pragma once

#if defined(__POPCNT__) || defined(VESK_LEVEL_popcnt) || defined(VESK_LEVEL_bmi2)
#define VESK_HAS_POPCNT
#endif

#if defined(__BMI2__) || defined(VESK_LEVEL_bmi2)
#define VESK_HAS_BMI2
#endif

// Its name, for those who ask the program.
#if defined(VESK_LEVEL_bmi2)
inline constexpr char TARGET_NAME[] = "x86-64-bmi2";
#elif defined(VESK_LEVEL_popcnt)
inline constexpr char TARGET_NAME[] = "x86-64-popcnt";
#elif defined(VESK_ARCH)
inline constexpr char TARGET_NAME[] = VESK_ARCH;
#elif defined(__x86_64__)
inline constexpr char TARGET_NAME[] = "x86-64";
#else
inline constexpr char TARGET_NAME[] = "portable";
#endif
