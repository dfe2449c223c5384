#include "tune/errormeter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>
#include <type_traits>

#include "board/epdline.h"
#include "eval/personality.h"
#include "eval/threadblock.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/clock.h"
#include "platform/interrupt.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/toolsearch.h"

namespace {

constexpr std::size_t CHUNK = 128;        // positions taken by a worker at a time
constexpr std::size_t MIN_SHARED = 1024;  // below it starting threads costs more than it gives
constexpr double STATUS_INTERVAL = 0.25;  // seconds
constexpr double SHORTEST_TIME = 1e-6;    // seconds; rates divide by it
constexpr double PERCENT = 100.0;

// What the options ask for can be done on the calling thread only.
bool WorkersAreAllowed() {
    return PBlock.limits.max_depth <= 0 && PBlock.limits.node_limit == 0 &&
           PBlock.options.trace == 0;
}

bool SameWeights(const PersonalityRecord& a, const PersonalityRecord& b) {
    static_assert(std::has_unique_object_representations_v<PersonalityRecord>);
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

ErrorMeter::ErrorMeter(const char* path)
    : opened_(LoadPositions(path, game_position, &set_)), scores_(set_.positions.size()) {
    const std::size_t processors = std::max(1u, std::thread::hardware_concurrency());
    for (int slot = PBlock.options.threads + 1; slot < THREAD_SLOTS; ++slot) {
        if (slots_.size() == processors) { break; }
        if (ThreadData[slot] == nullptr && NewThreadBlock(slot) != nullptr) {
            slots_.push_back(slot);
        }
    }
}

ErrorMeter::~ErrorMeter() {
    for (const int slot : slots_) { FreeThreadBlock(slot); }
}

void ErrorMeter::ShowProgress(bool now) {
    const double time = MonotonicSeconds();
    if (!now && time - status_.shown < STATUS_INTERVAL) { return; }
    status_.shown = time;
    const double done = static_cast<double>(status_.done);
    const double all = static_cast<double>(std::max<std::size_t>(scores_.size(), 1));
    ShowStatus("%s= %d, err= %0.5e, %0.0f%%, %0.0f positions/s", status_.name, status_.trial,
               status_.error, PERCENT * done / all,
               done / std::max(time - status_.start, SHORTEST_TIME));
}

// Scores a position with slot 1, after preparing the shared fields of PBlock for its side.
void ErrorMeter::ScoreHere(u32 index) {
    SetUpPosition(set_, index, game_position);
    PrepareToolSearch();
    scores_[index] = static_cast<i16>(ScoreGamePosition());
}

// Scores chunks of the work with the record of `slot` until none is left. One of the workers shows
// the progress of all.
void ErrorMeter::ScoreChunks(Work* work, int slot, bool show) {
    ThreadBlock* tb = ThreadData[slot];
    for (;;) {
        const std::size_t first = work->next.fetch_add(CHUNK);
        if (first >= work->list.size() || broken_) { return; }
        const std::size_t end = std::min(first + CHUNK, work->list.size());
        for (std::size_t i = first; i < end; ++i) {
            const u32 index = work->list[i];
            SetUpPosition(set_, index, &tb->pos);
            tb->nodes = 0;
            SearchIterations(slot);
            scores_[index] = tb->running_score;
        }
        if (!show) { continue; }
        status_.done = std::min(status_.done + (end - first) * slots_.size(), scores_.size());
        ShowProgress(false);
        if (EndWanted()) { broken_ = true; }
    }
}

void ErrorMeter::ScoreOneByOne(const std::vector<u32>& list) {
    for (const u32 index : list) {
        if (EndWanted()) { broken_ = true; }
        if (broken_) { return; }
        ScoreHere(index);
    }
}

void ErrorMeter::ScoreList(const std::vector<u32>& list) {
    if (list.empty()) { return; }
    if (slots_.empty() || !WorkersAreAllowed()) {
        ScoreOneByOne(list);
        return;
    }
    ScoreHere(list[0]);  // prepares PBlock for all of them
    Work work = {list};
    std::vector<std::thread> workers(list.size() < MIN_SHARED ? 0 : slots_.size() - 1);
    const auto body = [this, &work](int slot) { ScoreChunks(&work, slot, false); };
    std::size_t started = 0;  // fewer than wanted do the work too
    while (started < workers.size() &&
           StartThread(&workers[started], body, slots_[started + 1]) == 0) {
        ++started;
    }
    ScoreChunks(&work, slots_[0], true);
    for (std::size_t i = 0; i < started; ++i) { workers[i].join(); }
}

void ErrorMeter::ScoreAll() {
    ScoreOneByOne(set_.in_check);
    ScoreList(set_.quiet[WHITE]);
    ScoreList(set_.quiet[BLACK]);
}

double ErrorMeter::AverageError() const {
    double sum = 0.0;
    for (std::size_t i = 0; i < scores_.size(); ++i) {
        sum += std::fabs(set_.positions[i].result - WinProbability(scores_[i]));
    }
    return sum / static_cast<double>(scores_.size());
}

double ErrorMeter::Measure(const char* name, int trial) {
    broken_ = EndWanted();
    if (!opened_) { return UNREADABLE_FILE; }
    status_.name = name;
    status_.trial = trial;
    status_.start = MonotonicSeconds();
    status_.done = 0;
    InitEval();
    PBlock.options.hash_mode = 0;
    if (scores_.empty()) { return 0.0; }
    if (first_pass_ && SameWeights(first_pass_->weights, Personality)) {
        status_.error = first_pass_->error;
    } else {
        ScoreAll();
        status_.error = AverageError();
        if (!first_pass_ && !broken_) { first_pass_ = {Personality, status_.error}; }
    }
    SetUpPosition(set_, static_cast<u32>(scores_.size() - 1), game_position);
    status_.done = scores_.size();
    ShowProgress(true);
    return status_.error;
}
