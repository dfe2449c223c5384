// Parameter tuning: one weight at a time, a bracketing line search for the value with which the
// quiescence scores of labelled positions predict their results best. The positions are read once
// per run. A pass over them uses all processors: each position's score depends on the position
// alone, and the errors are added up in the order of the file, so the sum is the same to its last
// digit whoever computed the scores. Front-end thread only; no search may run.
#include "tune/tune.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "board/bitboards.h"
#include "board/epdline.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "eval/weights.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/clock.h"
#include "platform/interrupt.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/toolsearch.h"

namespace {

constexpr const char* POSITIONS_NAME = "tune.epd";
constexpr const char* LOG_NAME = "tune.log";
constexpr int MAX_RANGE = 10000;          // no weight is larger; keeps trials within 16 bits
constexpr std::size_t CHUNK = 128;        // positions taken by a worker at a time
constexpr std::size_t MIN_SHARED = 1024;  // below it starting threads costs more than it gives
constexpr double STATUS_INTERVAL = 0.25;  // seconds

// A position as it is set up for every pass.
struct LabelledPosition {
    std::size_t text;  // index of its text in PositionSet.texts
    double result;     // 0..1, for the side to move
    u8 side;           // the text may leave it open
};

// The positions of one file, owned by the run.
struct PositionSet {
    bool loaded = false;
    bool opened = false;
    std::vector<char> texts;  // NUL-terminated
    std::vector<LabelledPosition> positions;
    // Indices of positions. A pass scores the sides one after the other, since the draw scores,
    // which all threads read, are those of the root's side.
    std::array<std::vector<u32>, 2> quiet;
    std::vector<u32> in_check;
    std::vector<i16> scores;
};
PositionSet set;

// What the threads of a pass share.
const std::vector<u32>* pass_list;
std::atomic<std::size_t> pass_next;
std::atomic<bool> pass_broken;  // the user wants to end

// What the status line shows.
struct Status {
    const char* name;
    int trial;
    double error;         // of the last pass
    double start, shown;  // of the pass and of the line, seconds
    std::size_t done;     // positions of the pass
};
Status status;

// --- the positions ---

void AddPosition(const EpdRecord& record) {
    Position* pos = game_position;
    SetPosition(pos, record.position.c_str());
    LabelledPosition p = {set.texts.size(), record.result, pos->side};
    // The short text does, unless a malformed line has put the men on the board in another order.
    static Position whole;
    whole = *pos;
    char epd[EPD_FIELDS_SIZE];
    MakeEPD(pos, epd);
    SetPosition(pos, epd);
    const bool same = std::memcmp(&whole.plist, &pos->plist, sizeof pos->plist) == 0 &&
                      std::memcmp(&whole.board, &pos->board, sizeof pos->board) == 0 &&
                      whole.castle == pos->castle && whole.ep_square == pos->ep_square;
    const char* text = same ? epd : record.position.c_str();
    set.texts.insert(set.texts.end(), text, text + std::strlen(text) + 1);
    const u32 index = static_cast<u32>(set.positions.size());
    if (WhyUnplayable(pos) == nullptr) {
        (InCheck(pos, pos->side) ? set.in_check : set.quiet[pos->side]).push_back(index);
    }
    set.positions.push_back(p);
}

void LoadPositions() {
    set = PositionSet{};
    set.loaded = true;
    LineReader reader;
    set.opened = OpenLines(&reader, PBlock.tool.epd_file);
    if (set.opened) {
        std::string line;
        EpdRecord record;
        while (NextEpdRecord(&reader, &line, &record)) { AddPosition(record); }
        CloseLines(&reader);
    }
    set.scores.resize(set.positions.size());
}

void SetLabelledPosition(Position* pos, u32 index) {
    const LabelledPosition& p = set.positions[index];
    pos->side = p.side;
    SetPosition(pos, &set.texts[p.text]);
}

// Keeps the set and the thread records of the workers for the length of a run.
class TuneRun {
public:
    TuneRun() : owner_(!set.loaded) {
        if (owner_) { LoadPositions(); }
        if (!owner_) { return; }
        const std::size_t processors = std::max(1u, std::thread::hardware_concurrency());
        for (int slot = PBlock.options.threads + 1; slot < THREAD_SLOTS; ++slot) {
            if (slots_.size() == processors) { break; }
            if (ThreadData[slot] == nullptr && NewThreadBlock(slot) != nullptr) {
                slots_.push_back(slot);
            }
        }
        worker_slots = slots_;
    }
    ~TuneRun() {
        if (!owner_) { return; }
        for (const int slot : slots_) { FreeThreadBlock(slot); }
        worker_slots.clear();
        set = PositionSet{};
    }
    TuneRun(const TuneRun&) = delete;
    TuneRun& operator=(const TuneRun&) = delete;

    static inline std::vector<int> worker_slots;

private:
    bool owner_;
    std::vector<int> slots_;
};

// --- one pass ---

void UpdateStatus(bool now) {
    const double time = MonotonicSeconds();
    if (!now && time - status.shown < STATUS_INTERVAL) { return; }
    status.shown = time;
    const double seconds = std::max(time - status.start, 1e-6);
    ShowStatus("%s= %d, err= %0.5e, %0.0f%%, %0.0f positions/s", status.name, status.trial,
               status.error,
               100.0 * static_cast<double>(status.done) /
                   static_cast<double>(std::max<std::size_t>(set.scores.size(), 1)),
               static_cast<double>(status.done) / seconds);
}

// Scores chunks of the pass's list with the record of `slot` until none is left.
void ScoreChunks(int slot, bool show) {
    ThreadBlock* tb = ThreadData[slot];
    const std::vector<u32>& list = *pass_list;
    for (;;) {
        const std::size_t first = pass_next.fetch_add(CHUNK);
        if (first >= list.size() || pass_broken) { return; }
        const std::size_t end = std::min(first + CHUNK, list.size());
        for (std::size_t i = first; i < end; ++i) {
            SetLabelledPosition(&tb->pos, list[i]);
            tb->nodes = 0;
            SearchIterations(slot);
            set.scores[list[i]] = tb->running_score;
        }
        if (!show) { continue; }
        status.done += (end - first) * (TuneRun::worker_slots.size());
        status.done = std::min(status.done, set.scores.size());
        UpdateStatus(false);
        if (EndWanted()) { pass_broken = true; }
    }
}

void WorkerBody(int slot) { ScoreChunks(slot, false); }

// Prepares the shared fields of PBlock for the position's side and scores the position.
int ScorePosition(u32 index) {
    SetLabelledPosition(game_position, index);
    PrepareToolSearch();
    return ScoreGamePosition();
}

void ScoreList(const std::vector<u32>& list) {
    if (list.empty()) { return; }
    const std::vector<int>& slots = TuneRun::worker_slots;
    if (slots.empty() || PBlock.limits.max_depth > 0 || PBlock.limits.node_limit != 0 ||
        PBlock.options.trace != 0) {
        for (const u32 index : list) { set.scores[index] = static_cast<i16>(ScorePosition(index)); }
        return;
    }
    ScorePosition(list[0]);
    pass_list = &list;
    pass_next = 0;
    std::vector<std::thread> workers(list.size() < MIN_SHARED ? 0 : slots.size() - 1);
    std::size_t started = 0;  // fewer than wanted do the work too
    while (started < workers.size() &&
           StartThread(&workers[started], WorkerBody, slots[started + 1]) == 0) {
        ++started;
    }
    ScoreChunks(slots[0], true);
    for (std::size_t i = 0; i < started; ++i) { workers[i].join(); }
}

// Average error of the current weights over the set: what the EPD analysis at depth 0 returns.
double MeasureError(const char* name, int trial) {
    pass_broken = EndWanted();
    if (!set.opened) { return UNREADABLE_FILE; }
    status = {name, trial, status.error, MonotonicSeconds(), status.shown, 0};
    InitEval();
    PBlock.options.hash_mode = 0;
    for (const u32 index : set.in_check) {
        if (pass_broken) { break; }
        set.scores[index] = static_cast<i16>(ScorePosition(index));
    }
    ScoreList(set.quiet[WHITE]);
    ScoreList(set.quiet[BLACK]);
    const std::size_t n = set.positions.size();
    if (n == 0) { return 0.0; }
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        sum += std::fabs(set.positions[i].result - WinProbability(set.scores[i]));
    }
    SetLabelledPosition(game_position, static_cast<u32>(n - 1));
    status.error = sum / static_cast<double>(n);
    status.done = n;
    UpdateStatus(true);
    return status.error;
}

void SetTuningFields() {
    PBlock.limits.max_depth = 0;
    std::strcpy(PBlock.tool.epd_file, POSITIONS_NAME);
    PBlock.options.noise = NOISE_NEVER;
}

}  // namespace

int PTune(const char* name, i16* weight, int range, std::FILE* log) {
    const TuneRun run;
    const i16 original = *weight;
    range = std::clamp(range, -MAX_RANGE, MAX_RANGE);
    const auto show_best = [](int best, double error, int lo, int hi) {
        PrintDirect("best= %d, err= %0.5e, min= %d, max= %d\n\n", best, error, lo, hi);
    };
    int best = original;
    double best_error = MeasureError(name, best);
    int lo = std::max(best - range, INT16_MIN);
    int hi = std::min(best + range, INT16_MAX);
    while (!pass_broken && hi - lo > range / 12 + 2) {
        show_best(best, best_error, lo, hi);
        const int trial = hi - best < best - lo ? (lo + best) / 2 : (hi + best) / 2;
        if (trial == best) { break; }
        *weight = static_cast<i16>(trial);
        const double error = MeasureError(name, trial);
        if (pass_broken) { break; }
        PrintDirect("%s= %d, err= %0.5e\n", name, trial, error);
        if (error < best_error) {
            (trial < best ? hi : lo) = best;
            best = trial;
            best_error = error;
        } else {
            (trial > best ? hi : lo) = trial;
        }
    }
    ClearStatus();
    show_best(best, best_error, lo, hi);
    *weight = original;
    InitEval();
    if (log != nullptr && !pass_broken) {
        std::fprintf(log, "%-24s  %4d  %0.5f\n", name, best, best_error);
        std::fflush(log);
    }
    return best;
}

void TuneCommand(const char* name, const char* range) {
    if (name[0] == '\0' || range[0] == '\0') { return; }
    SetTuningFields();
    PrintDirect("tuning %s\n", name);
    const long value =
        std::clamp(std::strtol(range, nullptr, 10), -long{MAX_RANGE}, long{MAX_RANGE});
    if (const Weight* weight = FindTuningWord(name); weight != nullptr) {
        PTune(name, WordField(*weight, &Personality), static_cast<int>(value), nullptr);
    }
    PrintDirect("done!\n");
}

void RunTuneSchedule() {
    std::FILE* log = std::fopen(LOG_NAME, "w");
    if (log == nullptr) { return; }
    SetTuningFields();
    {
        const TuneRun run;
        for (const Weight& w : AllWeights()) {
            if (w.tuning_range == 0 || EndWanted()) { continue; }
            PTune(TuningWord(w), WordField(w, &Personality), w.tuning_range, log);
        }
    }
    const bool bad = std::ferror(log) != 0;
    if (std::fclose(log) != 0 || bad) { ShowMessageF("cannot write %s", LOG_NAME); }
}
