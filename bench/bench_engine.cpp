// Micro-benchmarks of the parts that a search spends its time in. The positions come from the
// evaluation's golden file, so that they are the same in every run.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/zobrist.h"
#include "book/book.h"
#include "eval/evaluate.h"
#include "eval/kpk.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/epd.h"
#include "frontend/pblock.h"
#include "search/perft.h"
#include "search/ttable.h"
#include "tune/errormeter.h"

namespace {

std::vector<std::string> positions;

// A position as it is copied into the thread's record, and its legal moves.
struct Prepared {
    Position pos;
    std::vector<Move> legal;
};
std::vector<Prepared> prepared;

void PrepareEngine() {
    InitBitboards();
    InitKPK();
    PBlock.options.hash_mb = 16;
    PBlock.options.log = 0;
    PBlock.options.noise = NOISE_NEVER;
    InitPersonality(nullptr);
    if (InitTTable() != 0 || NewThreadBlock(0) == nullptr || NewThreadBlock(1) == nullptr) {
        std::abort();
    }
    game_position = &ThreadData[0]->pos;
    InitEval();
}

bool ReadPositions() {
    std::ifstream in(VESK_POSITIONS);
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) positions.push_back(line.substr(0, line.find('\t')));
    return !positions.empty();
}

// Uses a slot that writes no evaluation report.
ThreadBlock* Worker() { return ThreadData[2]; }

void PreparePositions() {
    if (NewThreadBlock(2) == nullptr) std::abort();
    Position* pos = &Worker()->pos;
    for (const std::string& fen : positions) {
        SetPosition(pos, fen.c_str());
        GenerateAll(pos);
        Prepared p{*pos, {}};
        for (const MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e) {
            if (MoveIsLegal(pos, pos->side, e->move) != 0) p.legal.push_back(e->move);
        }
        prepared.push_back(p);
    }
}

void SetRate(benchmark::State& state, u64 items) {
    state.SetItemsProcessed(static_cast<i64>(items));
}

// Leaves per second through the picker.
void BenchPerft(benchmark::State& state, const char* fen) {
    ThreadBlock* tb = ThreadData[0];
    const int depth = static_cast<int>(state.range(0));
    SetPosition(&tb->pos, fen);
    u64 leaves = 0;
    for (auto _ : state) {
        tb->nodes = 0;
        benchmark::DoNotOptimize(Perft(tb, depth));
        leaves += tb->nodes.Get();
    }
    SetRate(state, leaves);
}

// At the root neither cache is trusted: every call computes everything.
void BenchEvaluate(benchmark::State& state) {
    u64 done = 0;
    for (auto _ : state) {
        for (const Prepared& p : prepared) {
            Worker()->pos = p.pos;
            const bool in_check = InCheck(&p.pos, p.pos.side) != 0;
            benchmark::DoNotOptimize(Evaluate(Worker(), 1, in_check));
            ++done;
        }
    }
    SetRate(state, done);
}

void BenchGenerate(benchmark::State& state) {
    u64 moves = 0;
    MoveEntry list[MAX_LIST_SIZE];
    for (auto _ : state) {
        for (const Prepared& p : prepared) {
            const Position* pos = &p.pos;
            MoveEntry* end = GeneratePromotions(pos, pos->side, 1, list);
            end = GeneratePawnCaptures(pos, pos->side, end);
            end = GeneratePieceCaptures(pos, pos->side, end);
            end = GenerateNonCaptures(pos, pos->side, end);
            benchmark::DoNotOptimize(list);
            moves += static_cast<u64>(end - list);
        }
    }
    SetRate(state, moves);
}

void BenchMakeUnmake(benchmark::State& state) {
    u64 moves = 0;
    for (auto _ : state) {
        for (const Prepared& p : prepared) {
            Position* pos = &Worker()->pos;
            *pos = p.pos;
            for (const Move m : p.legal) {
                MakeMove(pos, m);
                benchmark::DoNotOptimize(pos->hash);
                UnmakeMove(pos);
            }
            moves += p.legal.size();
        }
    }
    SetRate(state, moves);
}

void BenchLegality(benchmark::State& state) {
    u64 moves = 0;
    for (auto _ : state) {
        for (const Prepared& p : prepared) {
            const Position* pos = &p.pos;
            for (const Move m : p.legal) {
                benchmark::DoNotOptimize(MoveIsLegalNonZero(pos, pos->side, m));
            }
            moves += p.legal.size();
        }
    }
    SetRate(state, moves);
}

// Keys and look-up of a position of the book whose block is loaded.
void BenchBookLookup(benchmark::State& state) {
    PBlock.options.book_file = VESK_BOOK;
    InitBook();
    Position* pos = &Worker()->pos;
    SetPosition(pos, "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3");
    UpdatePosHash(pos);
    if (!FindPosition(pos->side)) { state.SkipWithError("the book cannot be read"); }
    for (auto _ : state) {
        UpdatePosHash(pos);
        benchmark::DoNotOptimize(FindPosition(pos->side));
    }
    FreeBook();
}

// The positions as an EPD file, each once: another copy would find the evaluations of the first.
// The file goes with the object.
class Suite {
public:
    Suite() {
        std::ofstream file(path_);
        for (const std::string& fen : positions) { file << fen << " tune 0.500;\n"; }
        PBlock.tool.epd_file = path_;
        PBlock.limits.max_depth = 0;
    }
    ~Suite() { std::filesystem::remove(path_); }
    Suite(const Suite&) = delete;
    Suite& operator=(const Suite&) = delete;

private:
    const std::string path_ = std::filesystem::temp_directory_path() / "vesk-bench.epd";
};

// Positions per second of "-anepd" at depth 0.
void BenchEpdRun(benchmark::State& state) {
    const Suite suite;
    u64 done = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Analyze_EPD_File(0));
        done += positions.size();
    }
    SetRate(state, done);
}

// Legal moves in algebraic notation.
void BenchReadMove(benchmark::State& state) {
    std::vector<std::vector<std::string>> texts;
    for (const Prepared& p : prepared) {
        texts.emplace_back();
        for (const Move m : p.legal) {
            MoveForms forms;
            GenMoveStrings(&p.pos, m, &forms);
            texts.back().push_back(forms.san);
        }
    }
    u64 done = 0;
    for (auto _ : state) {
        for (std::size_t i = 0; i < prepared.size(); ++i) {
            for (const std::string& text : texts[i]) {
                benchmark::DoNotOptimize(ReadMove(&prepared[i].pos, text));
            }
            done += texts[i].size();
        }
    }
    SetRate(state, done);
}

// A temporary working directory, and standard output turned away, for what writes files and tells
// of it.
class QuietFolder {
public:
    QuietFolder() {
        std::filesystem::create_directories(path_);
        std::filesystem::current_path(path_);
        std::fflush(stdout);
        output_ = dup(STDOUT_FILENO);
        if (std::freopen("/dev/null", "w", stdout) == nullptr) { std::abort(); }
    }
    ~QuietFolder() {
        std::fflush(stdout);
        if (dup2(output_, STDOUT_FILENO) < 0) { std::abort(); }
        close(output_);
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(path_);
    }

private:
    const std::filesystem::path before_ = std::filesystem::current_path();
    const std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("bench" + std::to_string(getpid()));
    int output_ = -1;
};

// Writes a file many times over, so that starting and ending weigh little; returns its content.
std::string WriteRepeated(const char* path, const char* games) {
    constexpr int times = 50;
    std::ifstream in(games, std::ios::binary);
    std::ostringstream one;
    one << in.rdbuf();
    std::string all;
    for (int i = 0; i < times; ++i) { all += one.str(); }
    std::ofstream(path, std::ios::binary) << all;
    return all;
}

// Bytes per second of engine games turned into positions.
void BenchScan(benchmark::State& state) {
    const QuietFolder folder;
    const std::string games = WriteRepeated("games.pgn", VESK_ENGINE_GAMES);
    u64 bytes = 0;
    for (auto _ : state) {
        Scan_PGN_File("games.pgn", static_cast<int>(state.range(0)));
        bytes += games.size();
    }
    state.SetBytesProcessed(static_cast<i64>(bytes));
}

// Games per second made into a book.
void BenchMakeBook(benchmark::State& state) {
    const QuietFolder folder;
    const std::string text = WriteRepeated("book.pgn", VESK_GAMES);
    u64 games = 0;
    for (std::size_t at = 0; (at = text.find("[Event ", at)) != std::string::npos; ++at) {
        ++games;
    }
    u64 done = 0;
    for (auto _ : state) {
        MakeBook();
        done += games;
    }
    SetRate(state, done);
}

// Positions per second of the tuner's passes: so few that the calling thread does it alone.
void BenchTunerPass(benchmark::State& state) {
    const Suite suite;
    ErrorMeter meter(PBlock.tool.epd_file.c_str());
    const i16 original = Personality.bishop_pair;
    benchmark::DoNotOptimize(meter.Measure("bishop_pair", original));
    Personality.bishop_pair = static_cast<i16>(original + 1);  // the first pass is remembered
    u64 done = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(meter.Measure("bishop_pair", Personality.bishop_pair));
        done += positions.size();
    }
    Personality.bishop_pair = original;
    SetRate(state, done);
}

constexpr const char* middle_game =
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -";

BENCHMARK_CAPTURE(BenchPerft, start, fen_opn)->Arg(5)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BenchPerft, middle_game, middle_game)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK(BenchEvaluate)->Unit(benchmark::kMicrosecond);
BENCHMARK(BenchGenerate)->Unit(benchmark::kMicrosecond);
BENCHMARK(BenchMakeUnmake)->Unit(benchmark::kMicrosecond);
BENCHMARK(BenchLegality)->Unit(benchmark::kMicrosecond);
BENCHMARK(BenchBookLookup);
BENCHMARK(BenchEpdRun)->Unit(benchmark::kMillisecond);
BENCHMARK(BenchTunerPass)->Unit(benchmark::kMillisecond);
BENCHMARK(BenchReadMove)->Unit(benchmark::kMicrosecond);
BENCHMARK(BenchScan)->DenseRange(1, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(BenchMakeBook)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    PrepareEngine();
    if (!ReadPositions()) {
        std::fprintf(stderr, "no positions in %s\n", VESK_POSITIONS);
        return 1;
    }
    PreparePositions();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
