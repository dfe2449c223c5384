// The search: interior nodes, quiescence, root with iterative deepening, and time management. A
// thread searches its own ThreadBlock; InitSearch and SearchTimeout belong to the front-end thread.
#pragma once

#include "eval/threadblock.h"
#include "search/ttable.h"

inline constexpr int NODE_NULL = 0;  // child of a null move, or non-PV re-search
inline constexpr int NODE_PV = 1;
inline constexpr int NODE_CUT = 2;
inline constexpr int NODE_ALL = 3;
inline constexpr int node_opp[4] = {0, 1, 3, 2};  // type of a node's first child

inline constexpr int PLIES_PER_MOVE = 2;
inline constexpr int INFINITE_SCORE = 10000;
inline constexpr int MATED_AT_ROOT = 1 - INFINITE_SCORE;  // the side to move is mated at ply 1
inline constexpr int MATE_IN_ONE = INFINITE_SCORE - 2;

// The scores between which a search tells the exact value, in centipawns for the side to move.
struct Window {
    int alpha;
    int beta;
};
inline constexpr Window FULL_WINDOW = {-INFINITE_SCORE, INFINITE_SCORE};
// The same as the other side sees it.
constexpr Window Opposite(Window w) { return {-w.beta, -w.alpha}; }

// The searches of one node: of the thread's position, at its ply, for its side to move. Scores are
// centipawns for that side, depths plies. `pv` is an array of PV_SIZE moves, indexed by ply; the
// line of a score inside the window is left in it from the position's ply on. Once `stop` is set
// the scores mean nothing and the callers return at once. The position is left as it was.

// The score of the node, clipped to the window but for draws, mates and static evaluations.
// Requires a ply of 2..MAX_SEARCH_PLY + 1, and at the ply before the cursor on the entry that led
// here and in `check` what is known of it.
int Search(ThreadBlock* tb, int depth, Window window, int node_type, Move* pv);
// The move loop of a node that Search has prepared: the best score, not clipped, which is also
// stored in the table. Requires alpha < beta and the truth about the check.
int FW_Search(ThreadBlock* tb, int depth, Window window, int in_check, Move* pv);
// The score that captures, and from depth 0 on quiet checks, can reach; at least alpha. Requires
// alpha < beta, the static evaluation in the ply's record, and a side to move that is not in check.
int Q_Search(ThreadBlock* tb, int depth, Window window, int node_type, Move* pv);
// 1 when no man of the side to move can be won by enough to bring the score down to beta, else 0.
int SNMP(ThreadBlock* tb, int static_eval, int beta);
// 1 when a safe capture, searched to depth - 1, reaches the bound, else 0. Uses up the picker of
// the ply. Requires depth >= 1.
int ProbCut(ThreadBlock* tb, int depth, int bound);
// FLAG_... bits of a move of the side to move, which is not in check, by the masks of its position.
// Requires a pseudo-legal move.
u8 MoveFlags(const Position* pos, const CheckMasks& checks, const MoveEntry* e);

// CHECK_... of a move about to be made, by what MoveGivesCheck says of it. That leaves out the
// castling rook and the line that en passant opens; a hash move of another position with the same
// key may name a promotion that is none.
inline u8 CheckOfMove(const Position* pos, const MoveEntry* e, int gives_check) {
    const int to = MoveTo(e->move);
    const bool castling = PieceType(e->piece) == KING && IsTwoFileStep(MoveFrom(e->move), to);
    if (castling || to == pos->ep_square || IsPromotion(e->move)) { return CHECK_UNKNOWN; }
    return gives_check != NO_CHECK ? CHECK_GIVEN : CHECK_NOT_GIVEN;
}

// Copies a line from index `from` on, up to its first 0 or the end of the array.
inline void CopyLine(Move* to, const Move* line, int from) {
    for (int i = from; i < PV_SIZE; ++i) {
        to[i] = line[i];
        if (line[i] == NO_MOVE) { break; }
    }
}

// Tells the user what a search begins with: the position, the clock, the target time. InitSearch
// does so; for a tool that must leave the running search alone.
void ShowSearchStart();

// Runs a whole search for one slot on the calling thread: deepens until `max_depth`, a mate inside
// the horizon, or `stop`. The record of the slot holds score, line and counters afterwards; those
// of slots 0 and 1 are published in PBlock.result as they come, and their end sets `stop`. At
// max_depth 0, out of check, only the quiescence score is left in the record and nothing is
// published. Requires InitSearch and a playable position.
void SearchIterations(int slot);
// Searches the root moves from list index `index` on at one depth, which leaves the best of them at
// that index. Returns 1 when a move became the best of them, 0 when the search was stopped or
// abandoned before. Requires the root list at ply 1 and a depth of 0..66; 0 is that of a root in
// check at max_depth 0.
int SearchRoot(ThreadBlock* tb, int depth, int index);
// Publishes the running line of the main search thread where it tells more than the published one,
// and shows it then. Requires that thread's record.
void NewBestMove(ThreadBlock* tb);

// Time management (timeman.cpp). Front-end thread only, but for EffectiveBranchingFactor, which
// requires idle search threads, and SecondsSinceStart. Seconds.

// Measures PBlock.time.elapsed; with `start` not 0 the clock begins anew.
void GetElapsedTime(int start);
// Seconds since the clock began, by the time of this moment. Any thread.
double SecondsSinceStart();
// Prepares a search of the game position: progress and result empty, draw scores, target time, the
// position in every thread's record. Requires a running clock and idle search threads.
void InitSearch();
// Measures the time and sets `stop` when the search has used what it may: all that its target and
// the instability of its result give it, less when the best move is easy. Not while pondering.
void SearchTimeout();
// How long the front end may sleep before SearchTimeout could have something to do, seconds, at
// most 0.005. Requires a search that runs.
double SecondsToTimeout();
// Nodes of an iteration by those of the one before, averaged over the last four; 2 when the last
// search was too short to tell.
double EffectiveBranchingFactor();
// Fills target_time, and moves_to_go where it is computed, from the clock fields, for a side whose
// game has `hist_count` plies behind it. (Part of InitSearch.)
void SetTargetTime(int side, int hist_count);
