// The benchmark: fixed positions, searched one
// after the other; with one thread and the default depth the node total is the engine's signature.
// Everything of start-up must have run. Front-end thread only.
#include "frontend/benchmark.h"

#include <algorithm>
#include <cassert>
#include <string>
#include <vector>

#include "eval/personality.h"
#include "frontend/input.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "frontend/toolwait.h"
#include "frontend/units.h"
#include "search/keepoptions.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/toolsearch.h"
#include "search/ttable.h"

namespace {

constexpr int PROFILE_DEPTH = 16;
constexpr int QUICK_DEPTH = 13;
constexpr int DEFAULT_DEPTH = 17;   // when the depth limit is above DEEPEST_WANTED
constexpr int DEEPEST_WANTED = 40;  // a limit up to here was meant for the benchmark
constexpr double SECONDS_PER_POSITION = 99.0;

// clang-format off
constexpr const char* benchmark_positions[BENCHMARK_POSITIONS] = {
    "r1bqkb1r/pp1ppppp/2n2n2/8/3NP3/2N5/PPP2PPP/R1BQKB1R b KQkq -",
    "1n5k/3q3p/pp1p2pB/5r2/1PP1Qp2/P6P/6P1/2R3K1 w - -",
    "1r1qbr1k/4bp1p/p3p2Q/3pP3/2pP4/P1N1PN2/1PR2RP1/6K1 b - -",
    "2r1q2k/7p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -",
    "r2r2k1/5pp1/2bPp3/p1N4p/1qQ5/2P2P2/BP4PP/1K1R4 b - -",
    "5r1k/5rp1/p1n1p1qp/2P1p3/P7/4QN1P/5PP1/2R1R2K w - -",
    "2r3k1/1pq1b1p1/p1b1pr1p/8/PP2pP2/2P1B3/4B1PP/RQR4K w - -",
    "1r3b2/3R2pk/6q1/3Q1p2/p6P/4B2P/1P3P1K/8 w - -",
    "r2r2k1/6bp/1P2q1p1/4pp2/p1N5/2Q5/PPR3PP/4R2K b - -",
    "2r1q2k/7p/p1np1P1P/8/1pP2R2/8/PP1Q4/R1KN2r1 b - -",
    "r1bq1r1k/p1pnbpp1/1p2p3/6p1/3PB3/5N2/PPPQ1PPP/2KR3R w - - ",
    "r1b2rk1/1p1nbppp/pq1p4/3B4/P2NP3/2N1p3/1PP3PP/R2Q1R1K w - -",
    "r3r1kb/1npb1p1p/2q2np1/4p1B1/ppP1P2Q/1P2RNNP/P1B2PP1/3R2K1 w - -",
    "2rr3k/2qnbppp/p1n1p3/1p1pP3/3P1N2/1Q1BBP2/PP3P1P/1KR3R1 w - -",
    "3q1r1k/1b3ppp/p1n5/1p1pPB2/2rP4/P6N/1P2Q1PP/R4RK1 w - -",
    "r1b1k2r/1p1pppb1/p5pp/3P4/q2p1B2/3P1Q2/PPP2PPP/R3R1K1 w kq -",
    "R4bk1/2Bbp2p/2p2pp1/1rPp4/3P4/4P2P/4BPPK/1q1Q4 w - -",
    "r2q1rk1/5ppp/3b4/1nnP2P1/1Q3BbP/Pp4N1/1P4B1/1KN2R1R b - -",
    "r7/5pk1/5p2/2p5/pp6/1P1B1KPN/P6P/8 b - -",
    "r2q3r/1p1bbQ2/4p1Bk/3pP3/1n1P1P1p/pP6/Pn4PP/R1B1R1K1 w - -",
};
// clang-format on

bool NeverEager() { return false; }

// Searches one position; the profile benchmark on the calling thread.
void SearchPosition(const char* fen) {
    SetPosition(game_position, fen);
    ClearTTable();
    PrepareToolSearch();
    if (PBlock.tool.profile) {
        PBlock.limits.max_depth = PROFILE_DEPTH;
        SearchIterations(1);
    } else {
        StartSearch();
        WaitForToolSearch(NeverEager);
    }
    GetElapsedTime(0);
    PBlock.progress.hash_fill = HashFill();
}

struct BenchmarkTotals {
    double seconds = SHORTEST_RUN;
    double nodes = 0.0;
    double Rate() const { return nodes / seconds; }
};

void ShowPosition(int number, double nodes) {
    const double seconds = PBlock.time.elapsed;
    if (PBlock.options.conventions.full_bench) {
        ShowMessageF("pos %2d: %6.2f seconds, nodes= %.0f, nps= %.0f", number, seconds, nodes,
                     NodesPerSecond(nodes, seconds));
    } else {
        ShowMessageF("pos %2d: %6.2f seconds", number, seconds);
    }
}

// Searches the first positions within the limits of PBlock and prints what each has taken.
BenchmarkTotals SearchPositions(int positions) {
    assert(positions <= BENCHMARK_POSITIONS);
    BenchmarkTotals totals;
    PBlock.time.SetTimePerMove(SECONDS_PER_POSITION);
    PBlock.options.noise = NOISE_NEVER;
    InitEval();
    ShowMessage("running benchmark");
    for (int i = 0; i < positions; ++i) {
        UserInput();
        if (PBlock.control.quit != 0) { break; }  // the next search would not hear it
        ShowStatus("position %d of %d", i + 1, positions);
        SearchPosition(benchmark_positions[i]);
        ClearStatus();
        const double nodes = static_cast<double>(Collect().nodes);
        totals.seconds += PBlock.time.elapsed;
        totals.nodes += nodes;
        ShowPosition(i, nodes);
    }
    return totals;
}

void ShowTotals(const BenchmarkTotals& totals) {
    ShowMessageF("total time= %0.2f seconds, nodes= %.0f, nps= %.0f", totals.seconds, totals.nodes,
                 totals.Rate());
}

// Puts the game back at the end of its life.
class KeepGame {
public:
    KeepGame()
        : position_(*game_position),
          history_(game_position->undo, game_position->undo + MAX_UNDO_RECORDS) {}
    ~KeepGame() {
        std::copy(history_.begin(), history_.end(), position_.undo);
        *game_position = position_;
    }
    KeepGame(const KeepGame&) = delete;
    KeepGame& operator=(const KeepGame&) = delete;

private:
    Position position_;
    std::vector<UndoRecord> history_;
};

}  // namespace

void RunBenchmark(int positions) {
    const KeepOptions kept;
    if (PBlock.limits.max_depth > DEEPEST_WANTED) { PBlock.limits.max_depth = DEFAULT_DEPTH; }
    ShowTotals(SearchPositions(positions));
    PBlock.control.quit = 1;
}

void RunQuickBenchmark(int depth) {
    const KeepOptions kept_options;
    const KeepGame kept_game;
    PBlock.options.threads = 1;
    PBlock.options.multipv = 1;
    PBlock.limits = {};
    PBlock.limits.max_depth = static_cast<i8>(depth > 0 ? depth : QUICK_DEPTH);
    PBlock.root.wanted_count = 0;
    const BenchmarkTotals totals = SearchPositions(SHORT_BENCHMARK_POSITIONS);
    ClearTTable();
    if (PBlock.control.quit != 0) { return; }
    ShowTotals(totals);
    ShowMessageF("%.0f nodes %.0f nps", totals.nodes, totals.Rate());
}
