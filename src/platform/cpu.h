// Processor features, asked once at start-up. A port answers false where it cannot know. Any
// thread.
#pragma once

bool CpuHasPopcnt();  // counts the bits of a word in one instruction
bool CpuHasBmi();     // finds the lowest one in one instruction
