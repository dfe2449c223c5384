// Any bytes as the tuner's positions: two passes over them give the same error, whatever was scored
// before.
#include <cmath>

#include "fuzz_engine.h"
#include "tune/errormeter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PrepareEngine();
    const MemoryFolder folder;
    ResetProgram();
    PBlock.limits.max_depth = 0;
    WriteFile("labels.epd", {reinterpret_cast<const char*>(data), size});
    ErrorMeter meter("labels.epd");
    const double error = meter.Measure("", 0);
    Require(std::isfinite(error) && error >= 0.0);
    Require(meter.Measure("", 1) == error);
    return 0;
}
