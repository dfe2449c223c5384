// Any bytes as a parameter file: it is read to its end, whatever it holds, and an evaluation with
// the values it sets still gives a score.
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "frontend/pblock.h"
#include "fuzz_engine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PrepareEngine();
    static const std::string path = "/tmp/vesk-fuzz-" + std::to_string(getpid()) + ".rc";
    static const int quiet = dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    (void)quiet;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    Require(file != nullptr);
    Require(std::fwrite(data, 1, size, file) == size);
    std::fclose(file);
    Personality = DefaultPersonality;
    Require(LoadConfigFile(path.c_str(), &Personality));
    std::remove(path.c_str());
    DeriveDepthLimits(&Personality);
    BuildReductionTable(&Personality);
    InitEval();
    SetPosition(game_position, "r1bq1rk1/pp2bppp/2n1pn2/3p4/3P4/2NBPN2/PP3PPP/R1BQ1RK1 w - -");
    Evaluate(ThreadData[0], 1, false);
    Personality = DefaultPersonality;
    InitEval();
    return 0;
}
