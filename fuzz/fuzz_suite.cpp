// Any bytes as an EPD suite: a run at depth 0 or 1 reads it to its end, and every position that it
// sets is sound. The first byte chooses depth and noise.
#include <cmath>
#include <cstring>

#include "board/moves.h"
#include "frontend/epd.h"
#include "fuzz_engine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FileRun run(data, size, "suite.epd");
    PBlock.tool.epd_file = "suite.epd";
    SetToolInput(true);
    PBlock.limits.max_depth = static_cast<i8>(run.input.variant & 1);
    if ((run.input.variant & 2) != 0) { PBlock.options.noise = 0.0; }
    const double error = Analyze_EPD_File(1);
    Require(std::isfinite(error) && error >= 0.0);
    Require(PositionIsSound(game_position) == 1);
    return 0;
}
