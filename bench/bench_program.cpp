// Benchmarks of the built engine as those who use it run it: node rates of whole searches and the
// time from its start to its end.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// What a command line prints on standard output.
std::string OutputOf(const std::string& command) {
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) { std::abort(); }
    std::string output;
    char part[4096];
    while (std::fgets(part, sizeof part, pipe) != nullptr) { output += part; }
    return pclose(pipe) == 0 ? output : "";
}

// Nodes per second of the benchmark positions, all threads together, as the engine counts them.
void BenchNodeRate(benchmark::State& state, const char* options) {
    const std::string command = std::string(VESK_BINARY) + " -bench -d 14 -nolog " + options;
    double rates = 0.0;
    for (auto _ : state) {
        const std::string output = OutputOf(command);
        const std::size_t rate = output.rfind("nps= ");
        if (rate == std::string::npos) {
            state.SkipWithError("the engine tells no node rate");
            return;
        }
        rates += std::strtod(output.c_str() + rate + std::strlen("nps= "), nullptr);
    }
    state.counters["nps"] = benchmark::Counter(rates, benchmark::Counter::kAvgIterations);
}

// From the start of the process to its end, with "uci" answered between them.
void BenchStart(benchmark::State& state) {
    const std::string command = "printf 'uci\\nquit\\n' | " + std::string(VESK_BINARY) + " -nolog";
    for (auto _ : state) {
        if (OutputOf(command).find("uciok") == std::string::npos) {
            state.SkipWithError("the engine does not start");
            return;
        }
    }
}

constexpr int SEARCHES = 3;
BENCHMARK_CAPTURE(BenchNodeRate, one_thread, "")
    ->Unit(benchmark::kSecond)
    ->Iterations(1)
    ->Repetitions(SEARCHES)
    ->UseRealTime();
BENCHMARK_CAPTURE(BenchNodeRate, two_threads, "-threads 2")
    ->Unit(benchmark::kSecond)
    ->Iterations(1)
    ->Repetitions(SEARCHES)
    ->UseRealTime();
BENCHMARK_CAPTURE(BenchNodeRate, table_of_a_gigabyte, "-hash 1024")
    ->Unit(benchmark::kSecond)
    ->Iterations(1)
    ->Repetitions(SEARCHES)
    ->UseRealTime();
BENCHMARK(BenchStart)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
