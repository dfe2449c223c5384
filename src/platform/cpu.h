// Processor features, asked once at start-up. A port answers false or Baseline where it cannot
// know. Any thread.
#pragma once

bool CpuHasPopcnt();  // counts the bits of a word in one instruction
bool CpuHasBmi();     // finds the lowest one in one instruction

// The levels of x86-64 that code is compiled for; each has what those above it have.
enum class CpuLevel {
    Baseline,  // every processor
    Popcnt,    // POPCNT and SSE4.2
    Bmi2,      // BMI1, BMI2 and LZCNT
};

// The level that runs fastest on this processor: the highest that it has, but Popcnt where PEXT,
// which the code for Bmi2 uses all the time, is slow.
CpuLevel FastestCpuLevel();
