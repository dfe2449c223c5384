// PBlock: the one global record of program state: options, time control, modes, the stop byte, the
// published result and the evaluation report. A leaf header: it includes type headers only, so that
// every folder may include it. The front-end thread writes the options; fields of type Relaxed are
// also read or written by search threads while they search; everything else changes only while all
// search threads are idle, or under the lock that is named, or is read by the front end alone.
#pragma once

#include "board/plydata.h"
#include "platform/atomics.h"
#include "platform/types.h"

inline constexpr int MAX_THREADS = 64;
inline constexpr int MAX_DEPTH = 66;
inline constexpr int MAX_HASH_MB = 8192;
inline constexpr int FILE_NAME_SIZE = 140;
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

// How the evaluation sees one position; written by slot 1's calls at ply 1 or below. Centipawns,
// [0] white, [1] black.
struct EvalReport {
    i16 squares[64];  // blended contribution of the piece on each square
    i16 material[2];
    i16 positional[2];
    i16 pawns[2];
    i16 knights[2];
    i16 bishops[2];
    i16 rooks[2];
    i16 queens[2];
    i16 kings[2];
    i16 passers[2];
    i16 stage;      // 0..24
    double factor;  // drawishness factor, 0..1
    Bitboard hanging;
    Bitboard pinned;
    i8 free_pawn_rank[2];
};

struct ProgramBlock {
    // Options and modes.
    u8 threads = 1;  // search threads, 1..64
    u8 quit = 0;     // 1 ends the running mode
    Relaxed<u8> stop = STOP_NONE;
    Relaxed<i8> max_depth = MAX_DEPTH;  // depth limit, 0..66
    Relaxed<u64> node_limit = 0;        // nodes per thread, 0 = none
    u8 moves_per_control = 1;      // 0 sudden death, 1 fixed time per move, n moves per control
    double base_time = 5.0;        // seconds
    double increment = 0.0;        // seconds per move
    double clock[2] = {5.0, 5.0};  // remaining seconds
    u16 moves_to_go = 0;
    double comm_overhead = 0.025;  // seconds
    u8 search_state = SEARCH_IDLE;
    u8 start_request = SEARCH_IDLE;
    u8 infinite = 0;  // 1: report only after "stop" ("go infinite")
    u8 own_book = 0;
    i16 book_weight = 20;       // spread of the random term of the book choice, 0.01 each; 0 = none
    Relaxed<u8> hash_mode = 1;  // 0 no table, 1 cleared before console searches, 2+ kept
    u8 saved_hash_mode =
        0;  // hash_mode to come back once a table of 0 MB has been replaced, 0 = none
    u16 ponder = 1;
    u16 hash_mb = 64;             // 0..8192
    Relaxed<double> noise = 0.0;  // seconds before search information is printed
    Relaxed<u16> log = 1;
    Relaxed<u16> trace = 0;  // moves up to this ply are traced
    u16 debug = 0;
    Relaxed<u16> multipv = 1;  // 1..20
    char epd_file[FILE_NAME_SIZE] = "";
    char match_file[FILE_NAME_SIZE] = "";
    char book_file[FILE_NAME_SIZE] = "vesk.opn";
    Relaxed<u16> protocol = PROTOCOL_UCI;
    u8 has_popcnt = 0;
    u8 has_bmi = 0;
    i8 line_max_depth = MAX_DEPTH;  // depth limit that every UCI "go" starts from
    u64 line_node_limit = 0;        // node limit likewise

    // Search: written by the front end before a search.
    double target_time = 0.0;       // seconds planned for this move
    Relaxed<double> elapsed = 0.0;  // seconds since the search started
    i16 tt_age = 0;
    i16 draw_score[2] = {0, 0};  // by side, for that side to move

    // Published result; written under spinlock1 while a search runs.
    Relaxed<i8> depth_done = 0;
    Relaxed<i16> score = -10000;
    Move pv[PV_SIZE] = {};         // [1] best move, [2] expected reply
    u64 searched_key = 0;          // search key of the position that pv belongs to
    Relaxed<i8> change_depth = 0;  // iteration at which the best move last changed
    i16 score_by_depth[PV_SIZE] = {};
    Move best_move_by_depth[PV_SIZE] = {};

    // Written by the main search thread; hash_fill also by the front end while it is idle.
    double hash_fill = 0.0;                // share of the table in use, 0..1
    Relaxed<i8> iteration_depth = 0;       // last started
    Relaxed<i8> completed_depth = 0;       // last finished
    Relaxed<double> completed_time = 0.0;  // `elapsed` at that moment
    Relaxed<u8> easy_move = 0;             // 0 none, 1 one legal move, 2 clear best move

    int expected_move = -1;  // of an EPD run: -1 none read, 0 unusable
    i32 ncnt[4] = {};        // diagnostic counters
    EvalReport report = {};
};

inline ProgramBlock PBlock;

// Front-end globals that belong to the program state.
inline int computer = 2;   // side the engine plays: 0 white, 1 black, 2 none
inline int selfplay = 0;   // console self-play is running
inline int uci_extra = 0;  // information lines carry the thread number
inline int profile = 0;    // 1 under "-pbench"
