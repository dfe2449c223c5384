// Any bytes as a parameter file: it is read to its end, whatever it holds, and an evaluation with
// the values it sets still gives a score.
#include "fuzz_engine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PrepareEngine();
    const MemoryFolder folder;
    WriteFile("fuzz.rc", {reinterpret_cast<const char*>(data), size});
    Personality = DefaultPersonality;
    Require(LoadConfigFile("fuzz.rc", &Personality));
    DeriveDepthLimits(&Personality);
    BuildReductionTable(&Personality);
    InitEval();
    SetPosition(game_position, "r1bq1rk1/pp2bppp/2n1pn2/3p4/3P4/2NBPN2/PP3PPP/R1BQ1RK1 w - -");
    Evaluate(ThreadData[0], 1, false);
    Personality = DefaultPersonality;
    InitEval();
    return 0;
}
