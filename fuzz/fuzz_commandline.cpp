// Any words as a command line, one a line of the input: whatever they ask for, the options stay in
// their ranges and a mode is chosen.
#include <cmath>
#include <string>
#include <vector>

#include "frontend/commandline.h"
#include "fuzz_engine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PrepareEngine();
    ResetProgram();
    std::string text(reinterpret_cast<const char*>(data), size);
    std::string name = "vesk";
    std::vector<char*> words = {name.data()};
    for (std::size_t at = 0; at < text.size();) {
        words.push_back(text.data() + at);
        at = text.find('\n', at);
        if (at == std::string::npos) { break; }
        text[at++] = '\0';
    }
    StartOptions options;
    ReadCommandLine(static_cast<int>(words.size()), words.data(), &options);
    const Options& o = PBlock.options;
    Require(o.hash_mb <= MAX_HASH_MB && o.threads >= 1 && o.threads <= MAX_THREADS);
    Require(!std::isnan(o.noise));
    Require(PBlock.limits.max_depth >= 0 && PBlock.limits.max_depth <= MAX_DEPTH);
    Require(options.mode >= RunMode::EpdAnalysis && options.mode <= RunMode::CommandLoop);
    Require(options.scan_mode >= 0 && options.scan_mode <= 4);
    Require(options.mode != RunMode::PgnScan || options.scan_mode != 0);
    return 0;
}
