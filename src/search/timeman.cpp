// Time management: the clock, the preparation of a search with its target time, and the decision to
// stop.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "board/moves.h"
#include "board/zobrist.h"
#include "eval/personality.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/clock.h"
#include "search/search.h"
#include "search/threads.h"

namespace {

constexpr int ALL_MOVES = 0;   // moves_per_control: the clock covers the whole game
constexpr int FIXED_TIME = 1;  // moves_per_control: fixed time per move
constexpr double MIN_TARGET = 0.002;
constexpr double PONDER_FACTOR = 1.15;
constexpr double CAUTION_FACTOR = 0.9;
constexpr double MAX_CLOCK_SHARE = 0.65;
constexpr double OVERHEADS_KEPT = 4.0;
constexpr double EMERGENCY_OVERHEADS = 5.0;
constexpr double PERCENT = 0.01;
constexpr int MIN_STOP_DEPTH = 2;          // no clock stops a search before this depth is done
constexpr double MIN_STOP_SECONDS = 0.02;  // before it the search counts as stable
constexpr double EASY_SHARE = 0.5;
constexpr int LONGEST_START_TEXT = 64;       // of what a line says of the start of a search
constexpr double LONGEST_UNWATCHED = 0.005;  // seconds between two looks at a running search
constexpr double SHORTEST_WAIT = 0.0002;

// Shares of the remaining clock, in percent, that instability adds to the limit.
constexpr int FIRST_FAILS_LOW_PERCENT = 15;
constexpr int FAILS_HIGH_PERCENT = 10;
constexpr int LATER_FAILS_HIGH_PERCENT = 4;
constexpr int OTHER_MOVE_PERCENT = 3;
constexpr int OTHER_MOVE_LEAD = 15;
constexpr int BIG_DROP_PERCENT = 14;
constexpr int MIDDLE_DROP_PERCENT = 6;
constexpr int SMALL_DROP_PERCENT = 3;
constexpr int NEW_MOVE_PERCENT = 1;

// Drops of the score since the last iteration are measured in margins of |score| / 16 + 15, but for
// scores that decide the game.
constexpr int MARGIN_DIVISOR = 16;
constexpr int MARGIN_BASE = 15;
constexpr int DECIDING_SCORE = 800;
constexpr int DECIDING_MARGIN = 65;
constexpr int BIG_DROP_MARGINS = 4;
constexpr int MIDDLE_DROP_MARGINS = 2;
constexpr int NEW_MOVE_ITERATIONS = 1;  // a best move as young as this is new

// Sudden death: how many own moves the clock is planned for.
constexpr int OPENING_PLIES = 25;
constexpr int MOVES_FROM_START = 36;
constexpr int MOVES_AFTER_OPENING = 24;

constexpr int PONDER_MOVES = 2;  // pondering pays when more moves are to go

int MovesToGo(int hist_count) {
    const int n = PBlock.time.moves_per_control;
    if (n == ALL_MOVES) {
        return hist_count > OPENING_PLIES ? MOVES_AFTER_OPENING
                                          : MOVES_FROM_START - hist_count / PLIES_PER_MOVE;
    }
    if (PBlock.options.protocol == PROTOCOL_UCI) { return PBlock.time.moves_to_go; }
    return n - (hist_count / PLIES_PER_MOVE) % n;
}

// What other threads' root results say about the stability of the published move.
int ThreadInstability(int depth, int best, Move best_move) {
    int percent = 0;
    for (int i = 1; i <= PBlock.options.threads; ++i) {
        const ThreadBlock* tb = ThreadData[i];
        if (tb == nullptr || tb->iteration_depth < depth) { continue; }
        const int score = tb->running_score;
        const int status = tb->root_status;
        if (tb->root_move == best_move) {
            if (score < best && status == ROOT_FIRST_FAILS_LOW) {
                percent = FIRST_FAILS_LOW_PERCENT;
            }
        } else if (score > best) {
            if (status == ROOT_FAILS_HIGH) {
                percent = std::max(percent, FAILS_HIGH_PERCENT);
            } else if (status == ROOT_LATER_FAILS_HIGH) {
                percent = std::max(percent, LATER_FAILS_HIGH_PERCENT);
            } else if (score > best + OTHER_MOVE_LEAD) {
                percent = std::max(percent, OTHER_MOVE_PERCENT);
            }
        }
    }
    return percent;
}

int Instability() {
    if (PBlock.result.DepthDone() < MIN_STOP_DEPTH || PBlock.time.elapsed <= MIN_STOP_SECONDS) {
        return 0;
    }
    const ThreadBlock* main_thread = ThreadData[1];
    if (main_thread == nullptr) { return 0; }
    const int depth = main_thread->iteration_depth;
    if (depth < 1) { return 0; }
    const ResultSnapshot result = PBlock.result.Snapshot();
    const int best = result.score;
    const int percent = ThreadInstability(depth, best, result.pv[1]);
    const int previous = main_thread->best_score_by_depth[depth - 1];
    const int margin = std::abs(previous) < DECIDING_SCORE
                           ? std::abs(previous) / MARGIN_DIVISOR + MARGIN_BASE
                           : DECIDING_MARGIN;
    if (best < previous - BIG_DROP_MARGINS * margin) { return std::max(percent, BIG_DROP_PERCENT); }
    if (best < previous - MIDDLE_DROP_MARGINS * margin) {
        return std::max(percent, MIDDLE_DROP_PERCENT);
    }
    if (best < previous - margin) { return std::max(percent, SMALL_DROP_PERCENT); }
    if (PBlock.result.ChangeDepth() >= depth - NEW_MOVE_ITERATIONS) {
        return std::max(percent, NEW_MOVE_PERCENT);
    }
    return percent;
}

bool TimeIsFixed() { return PBlock.time.moves_per_control == FIXED_TIME; }

// Of the clock of the side to move.
double SecondsRemaining() {
    return std::max(0.0, PBlock.time.clock[game_position->side] - PBlock.time.elapsed);
}

// Seconds that the search may take, when its instability adds so many percent.
double SearchLimit(int percent) {
    const double limit = PBlock.time.target_time + PERCENT * percent * SecondsRemaining();
    return TimeIsFixed() ? limit : limit - PBlock.options.comm_overhead;
}

// What must stay on the clock, seconds.
double EmergencyReserve() {
    return TimeIsFixed() ? 0.0 : EMERGENCY_OVERHEADS * PBlock.options.comm_overhead;
}

bool TimeIsUp(int percent) {
    return PBlock.time.elapsed >= SearchLimit(percent) || EmergencyReserve() > SecondsRemaining();
}

void ResetProgress() {
    PBlock.control.stop = STOP_NONE;
    PBlock.progress.iteration_depth = 0;
    PBlock.progress.completed_depth = 0;
    PBlock.progress.completed_time = 0.0;
    PBlock.progress.easy_move = 0;
    std::fill(std::begin(PBlock.progress.ncnt), std::end(PBlock.progress.ncnt), 0);
}

}  // namespace

void GetElapsedTime(int start) {
    const double now = MonotonicSeconds();
    if (start) { PBlock.time.start_time = now; }
    PBlock.time.elapsed = now - PBlock.time.start_time;
}

double SecondsSinceStart() { return MonotonicSeconds() - PBlock.time.start_time; }

void SetTargetTime(int side, int hist_count) {
    if (PBlock.time.moves_per_control == FIXED_TIME) {
        PBlock.time.target_time = PBlock.time.base_time;
        PBlock.time.clock[side] = PBlock.time.base_time;
        return;
    }
    PBlock.time.moves_to_go = static_cast<u16>(MovesToGo(hist_count));
    const double clock = PBlock.time.clock[side];
    const double increment = PBlock.time.increment;
    double target = clock / (PBlock.time.moves_to_go + 1);
    target *= PBlock.options.ponder && PBlock.time.moves_to_go > PONDER_MOVES ? PONDER_FACTOR
                                                                              : CAUTION_FACTOR;
    if (clock > OVERHEADS_KEPT * PBlock.options.comm_overhead) {
        target += increment * clock / (2 * increment + clock);
    }
    target =
        std::min(target, MAX_CLOCK_SHARE * clock - OVERHEADS_KEPT * PBlock.options.comm_overhead);
    // Written so that a target that is no number, from clocks without sense, becomes the floor too.
    if (!(target >= MIN_TARGET)) { target = MIN_TARGET; }
    PBlock.time.target_time = target;
}

void ShowSearchStart() {
    const Position* pos = game_position;
    if (PBlock.options.noise >= NOISE_NEVER) { return; }
    char epd[EPD_FIELDS_SIZE];
    MakeEPD(pos, epd);
    char text[EPD_FIELDS_SIZE + LONGEST_START_TEXT];
    if (PBlock.options.protocol == PROTOCOL_UCI) {
        std::snprintf(text, sizeof text, "info string fen %s", epd);
        LogMessage(text);
        std::snprintf(text, sizeof text, "info string ply= %d, trg_time= %0.3f sec",
                      pos->hist_count, PBlock.time.target_time);
        LogMessage(text);
        return;
    }
    ShowMessageF("fen %s", epd);
    ShowMessageF("Ply= %d, Clock= %0.2fs  Target time= %0.2fs", pos->hist_count,
                 PBlock.time.clock[pos->side], PBlock.time.target_time);
}

void InitSearch() {
    const Position* pos = game_position;
    ResetProgress();
    PBlock.result.Clear(SearchKey(pos));
    PBlock.root.draw_score[pos->side] = Personality.draw_score;
    PBlock.root.draw_score[pos->side ^ 1] = static_cast<i16>(-Personality.draw_score);
    PBlock.root.tt_age = pos->hist_count;
    PBlock.control.search_state = PBlock.control.start_request;
    SetTargetTime(pos->side, pos->hist_count);
    CopyGamePosition();
    ShowSearchStart();
}

void SearchTimeout() {
    GetElapsedTime(0);
    if (PBlock.control.search_state == SEARCH_PONDER || PBlock.control.stop) { return; }
    if (TimeIsUp(Instability())) {
        if (PBlock.result.DepthDone() < MIN_STOP_DEPTH) { return; }
        PBlock.control.stop =
            PBlock.control.search_state == SEARCH_THINK ? STOP_FINISH : STOP_ABANDON;
    } else if (TimeIsFixed() && PBlock.options.conventions.all_limits) {
        return;  // what was asked for is done, however clear the move is
    } else if (PBlock.progress.easy_move == EASY_SINGLE ||
               (PBlock.progress.easy_move == EASY_CLEAR &&
                PBlock.time.elapsed >= EASY_SHARE * PBlock.time.target_time)) {
        PBlock.control.stop = STOP_FINISH;
    }
}

double SecondsToTimeout() {
    if (PBlock.control.search_state == SEARCH_PONDER || PBlock.control.stop) {
        return LONGEST_UNWATCHED;
    }
    GetElapsedTime(0);
    double seconds = SearchLimit(Instability()) - PBlock.time.elapsed;
    if (!TimeIsFixed()) { seconds = std::min(seconds, SecondsRemaining() - EmergencyReserve()); }
    if (PBlock.progress.easy_move == EASY_CLEAR) {
        seconds = std::min(seconds, EASY_SHARE * PBlock.time.target_time - PBlock.time.elapsed);
    }
    // Once the time is over the search only has to reach a depth, which nobody announces.
    return std::clamp(seconds, SHORTEST_WAIT, LONGEST_UNWATCHED);
}

double EffectiveBranchingFactor() {
    constexpr double unknown = 2.0;
    constexpr int last_short_depth = 5;
    constexpr int span = 4;  // iterations between the two node counts
    const int depth = PBlock.progress.completed_depth;
    const ThreadBlock* tb = ThreadData[1];
    if (depth <= last_short_depth || tb == nullptr) { return unknown; }
    const u64 nodes = tb->nodes_by_depth[depth];
    const u64 earlier = tb->nodes_by_depth[depth - span];
    if (nodes == 0 || earlier == 0) { return unknown; }
    return std::pow(static_cast<double>(nodes) / static_cast<double>(earlier), 1.0 / span);
}
