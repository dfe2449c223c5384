// Processor features, asked once at start-up. A port answers false where it cannot know.
#pragma once

bool CpuHasPopcnt();
bool CpuHasBmi();
