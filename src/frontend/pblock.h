// PBlock: the one global record of program state, in groups by owner. A leaf header: it includes
// type headers only, so that every folder may include it. Nothing has to be initialised. Fields of
// type Relaxed may be read by any thread at any time; what a group says of its writers holds for
// all of its fields. Everything else is read and written by the front-end thread, or by the search
// threads while it waits for them.
#pragma once

#include <algorithm>
#include <iterator>
#include <mutex>
#include <string>

#include "board/types.h"
#include "frontend/conventions.h"
#include "platform/atomics.h"
#include "platform/types.h"

inline constexpr int MAX_THREADS = 64;
inline constexpr int MAX_DEPTH = 66;
inline constexpr int MAX_HASH_MB = 8192;
inline constexpr int MAX_MULTIPV = 20;
inline constexpr double NOISE_NEVER =
    9999.0;  // value of `noise` that suppresses search information

inline constexpr int PROTOCOL_CONSOLE = 0;
inline constexpr int PROTOCOL_UCI = 2;

// Values of search_state and start_request.
inline constexpr int SEARCH_IDLE = 0;
inline constexpr int SEARCH_THINK = 1;
inline constexpr int SEARCH_PONDER = 2;
inline constexpr int SEARCH_ANALYSE = 3;

// Values of stop; any non-zero value ends the search.
inline constexpr int STOP_NONE = 0;
inline constexpr int STOP_FINISH = 1;   // end and report
inline constexpr int STOP_ABANDON = 2;  // a command changed the game, or time ran out in analysis
inline constexpr int STOP_NO_MOVE = 3;  // no legal move at the root
inline constexpr int STOP_QUIT = 99;    // the pool is being ended

// Values of easy_move: why the time control may stop early.
inline constexpr u8 EASY_NONE = 0;
inline constexpr u8 EASY_SINGLE = 1;  // one legal move
inline constexpr u8 EASY_CLEAR = 2;   // a best move far above the others

inline constexpr int NO_COMPUTER = 2;  // value of `computer`: the engine plays neither side

// How far a search may go.
struct SearchLimits {
    Relaxed<i8> max_depth = MAX_DEPTH;  // plies, 0..66
    Relaxed<u64> node_limit = 0;        // nodes per thread, 0 = none
    Relaxed<u8> mate_moves = 0;         // a mate in so many moves ends the search, 0 = none
};

// How the board is shown: letters as in FEN, or the symbols of Unicode.
enum class BoardStyle : u8 { Ascii, Symbols };

// What the user chose, for the whole run. Written by the front end: those that are not Relaxed only
// while no search runs.
struct Options {
    u8 threads = 1;                // search threads, 1..64
    double comm_overhead = 0.025;  // seconds lost per move between engine and GUI
    u8 own_book = 0;
    i16 book_weight = 20;       // spread of the random term of the book choice, 0.01 each; 0 = none
    Relaxed<u8> hash_mode = 1;  // 0 no table, 1 cleared before console searches, 2+ kept
    u16 ponder = 1;
    u16 hash_mb = 64;             // 0..8192
    Relaxed<double> noise = 0.0;  // seconds before search information is printed
    Relaxed<u16> log = 1;
    Relaxed<u16> trace = 0;  // moves up to this ply are traced
    u16 debug = 0;
    BoardStyle board_style = BoardStyle::Ascii;
    Relaxed<u16> multipv = 1;  // 1..20
    Relaxed<u16> protocol = PROTOCOL_UCI;
    Conventions conventions;
    u8 analyse_mode = 0;        // 1: the own book is not asked
    u8 weights_as_options = 0;  // 1: UCI announces and sets the weights
    int uci_extra = 0;          // information lines carry the thread number
    SearchLimits go_limits;     // of the command line: every UCI "go" starts from them
    double go_seconds = 5.0;    // likewise: time of a move whose "go" names no limit
    // What the processor has, 0 or 1. The build chooses the instructions; this is for the developer
    // who wonders about a node rate.
    u8 has_popcnt = 0;
    u8 has_bmi = 0;
    std::string book_file = "vesk.opn";  // empty: no book
};

// Time control. Written by the front end; `elapsed` by its clock only.
struct TimeControl {
    u8 moves_per_control = 1;      // 0 sudden death, 1 fixed time per move, n moves per control
    double base_time = 5.0;        // seconds
    double increment = 0.0;        // seconds per move
    double clock[2] = {5.0, 5.0};  // remaining seconds
    u16 moves_to_go = 0;
    double target_time = 0.0;       // seconds planned for this move
    double start_time = 0.0;        // of the search, monotonic seconds
    Relaxed<double> elapsed = 0.0;  // seconds since then

    // Every move gets this much time.
    void SetTimePerMove(double seconds) {
        moves_per_control = 1;
        base_time = seconds;
    }
    // Both sides get the time of a control.
    void ResetClocks() { clock[WHITE] = clock[BLACK] = base_time; }
};

inline constexpr int MAX_WANTED_MOVES = 256;

// What the position at the root gives its search. Written by the front end before a search.
struct RootFacts {
    i16 tt_age = 0;              // of the table's entries: plies of the game
    i16 draw_score[2] = {0, 0};  // by side, for that side to move
    // The root moves to search, each legal; all of them while there is none here.
    int wanted_count = 0;
    Move wanted[MAX_WANTED_MOVES] = {};
};

// What runs and what shall run. Written by the front end; `stop` by the search threads too.
struct ControlBytes {
    u8 quit = 0;  // 1 ends the running mode
    Relaxed<u8> stop = STOP_NONE;
    u8 search_state = SEARCH_IDLE;
    u8 start_request = SEARCH_IDLE;
    u8 infinite = 0;             // 1: report only after "stop" ("go infinite")
    int computer = NO_COMPUTER;  // side the engine plays: 0 white, 1 black, 2 none
    int selfplay = 0;            // console self-play is running
};

// How far the search has come. Written by the main search thread; by the front end while it is
// idle.
struct SearchProgress {
    Relaxed<i8> iteration_depth = 0;       // last started
    Relaxed<i8> completed_depth = 0;       // last finished
    Relaxed<double> completed_time = 0.0;  // `elapsed` at that moment
    Relaxed<u8> easy_move = EASY_NONE;
    // `elapsed` when each iteration up to completed_depth ended, by the clock of that moment.
    Relaxed<double> seconds_by_depth[PV_SIZE] = {};
    double hash_fill = 0.0;            // share of the table in use, 0..1
    int second_best_score = NO_SCORE;  // highest of a second-placed root move, for easy_move
    // For developers: what they count in these while they look into the search is shown with its
    // end.
    i32 ncnt[4] = {};
};

inline constexpr int NO_MOVE_READ = -1;  // value of `expected_move`: the line names none

// What a tool works on and how. Front-end thread only.
struct ToolState {
    std::string epd_file;
    std::string match_file;
    std::string tune_word;             // what came after "-tune"; the tuner itself needs no word
    int expected_move = NO_MOVE_READ;  // of an EPD run: 0 unusable
    int profile = 0;                   // 1 under "-pbench"
    bool failed = false;  // the tool could not do its work: the program ends with status 1
};

// What a search has cost up to a moment.
struct Effort {
    double seconds = 0.0;  // since its start
    u64 nodes = 0;         // of all threads
};

// The published result as it was at one moment.
struct ResultSnapshot {
    u64 searched_key = 0;   // search key of the position that pv belongs to
    int score = NO_SCORE;   // centipawns for the side to move
    bool bounded = false;   // the true score may be higher: the search was stopped before it knew
    int depth_done = 0;     // plies
    int change_depth = 0;   // iteration at which the best move last changed
    Move pv[PV_SIZE] = {};  // [1] best move, [2] expected reply
    // Of the last line published at each depth, for whoever checks a search depth by depth.
    i16 score_by_depth[PV_SIZE];  // NO_SCORE before
    Move best_move_by_depth[PV_SIZE] = {};
    Effort effort_by_depth[PV_SIZE] = {};  // until that move, or a mate by it, was published

    ResultSnapshot() {
        std::fill(std::begin(score_by_depth), std::end(score_by_depth), static_cast<i16>(NO_SCORE));
    }
};

// The best move, score, depth and line of the running or last search. Any thread may call; each
// call takes the lock that it needs.
class PublishedResult {
public:
    // Empties the result for a search of the position with this search key.
    void Clear(u64 searched_key) {
        const std::lock_guard<std::mutex> guard(lock_);
        Store({});
        now_.searched_key = searched_key;
    }
    // Takes over a line (indexed from 1) where it tells more than the published one: a mate that is
    // sure, a deeper line unless a sure mate stands, a better score of the same depth. Returns
    // whether it did. `bounded`: the score is a lower bound; `effort`: of the search so far.
    bool Publish(int score, bool bounded, int depth, const Move* pv, const Effort& effort) {
        const std::lock_guard<std::mutex> guard(lock_);
        const bool sure_mate = score > SURE_MATE && score >= now_.score;
        const bool deeper = depth > now_.depth_done && now_.score < SURE_MATE;
        const bool better = depth == now_.depth_done && score > now_.score;
        if (!sure_mate && !deeper && !better) { return false; }
        ResultSnapshot next = now_;
        if (pv[1] != now_.pv[1]) { next.change_depth = depth; }
        next.score = score;
        next.bounded = bounded;
        next.depth_done = depth;
        std::copy(pv, pv + PV_SIZE, next.pv);
        next.score_by_depth[depth] = static_cast<i16>(score);
        if (pv[1] != now_.best_move_by_depth[depth] || sure_mate) {
            next.effort_by_depth[depth] = effort;
        }
        next.best_move_by_depth[depth] = pv[1];
        Store(next);
        return true;
    }
    // A search stopped before its first result still answers with a legal move.
    void PublishFallback(Move m) {
        const std::lock_guard<std::mutex> guard(lock_);
        if (now_.pv[1] == NO_MOVE) { now_.pv[1] = m; }
    }
    // The best move and score of what was answered without a search.
    void PublishMove(Move m) {
        const std::lock_guard<std::mutex> guard(lock_);
        now_.pv[1] = m;
    }
    void PublishScore(int score) {
        const std::lock_guard<std::mutex> guard(lock_);
        now_.score = score;
        score_ = static_cast<i16>(score);
    }
    // Puts back what a snapshot has kept.
    void PublishSnapshot(const ResultSnapshot& kept) {
        const std::lock_guard<std::mutex> guard(lock_);
        Store(kept);
    }
    ResultSnapshot Snapshot() const {
        const std::lock_guard<std::mutex> guard(lock_);
        return now_;
    }
    Move SnapshotMove() const {
        const std::lock_guard<std::mutex> guard(lock_);
        return now_.pv[1];
    }
    // Single values, without the lock: each is right by itself, not with the others.
    int Score() const { return score_; }
    int DepthDone() const { return depth_done_; }
    int ChangeDepth() const { return change_depth_; }

private:
    static constexpr int SURE_MATE = 9899;

    void Store(const ResultSnapshot& next) {
        now_ = next;
        score_ = static_cast<i16>(next.score);
        depth_done_ = static_cast<i8>(next.depth_done);
        change_depth_ = static_cast<i8>(next.change_depth);
    }

    mutable std::mutex lock_;
    ResultSnapshot now_;
    Relaxed<i16> score_ = NO_SCORE;
    Relaxed<i8> depth_done_ = 0;
    Relaxed<i8> change_depth_ = 0;
};

struct ProgramBlock {
    Options options;
    TimeControl time;
    SearchLimits limits;  // of this search; `stop` ends it earlier
    RootFacts root;
    ControlBytes control;
    SearchProgress progress;
    PublishedResult result;
    ToolState tool;

    // Every field as it is at the start of the program. No search may run.
    void Reset() {
        options = {};
        time = {};
        limits = {};
        root = {};
        control = {};
        progress = {};
        result.Clear(0);
        tool = {};
    }
};

inline ProgramBlock PBlock;

// The style in which moves are shown now.
inline MoveStyle TextStyle() {
    return PBlock.options.protocol == PROTOCOL_UCI ? MoveStyle::Uci : MoveStyle::Plain;
}

// The position of slot 0 that the front end plays the game on; set at start-up (and by tests),
// never null afterwards. Front-end thread only.
inline Position* game_position = nullptr;
