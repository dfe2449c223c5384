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

inline constexpr int INFINITE_SCORE = 10000;

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
// line of a score inside the window is left in it from the position's ply on.

// Requires a ply of 2 or more.
int Search(ThreadBlock* tb, int depth, Window window, int node_type, Move* pv);
// The move loop of a node that Search has prepared.
int FW_Search(ThreadBlock* tb, int depth, Window window, int in_check, Move* pv);
// Requires the static evaluation in the ply's record and that the side to move is not in check.
int Q_Search(ThreadBlock* tb, int depth, Window window, int node_type, Move* pv);
// 1 when no man of the side to move can be won by enough to bring the score down to beta, else 0.
int SNMP(ThreadBlock* tb, int static_eval, int beta);
// 1 when a safe capture, searched to depth - 1, reaches the bound, else 0.
int ProbCut(ThreadBlock* tb, int depth, int bound);
// Flags (FLAG_...) of a move of a side that is not in check.
u8 MoveFlags(const Position* pos, int side, const MoveEntry* e);

// Copies a line from index `from` on, up to its first 0 or the end of the array.
inline void CopyLine(Move* to, const Move* line, int from) {
    for (int i = from; i < PV_SIZE; ++i) {
        to[i] = line[i];
        if (line[i] == NO_MOVE) { break; }
    }
}

// Runs a whole search for one slot on the calling thread. Requires InitSearch.
void SearchIterations(int slot);
// Searches the root moves from list index `index` on at one depth. Returns 1 when a move became the
// best of them, 0 when the search was stopped or abandoned before.
int SearchRoot(ThreadBlock* tb, int depth, int index);
void NewBestMove(ThreadBlock* tb);

// Time management (timeman.cpp). Seconds.
void GetElapsedTime(int start);
void InitSearch();
void SearchTimeout();
double EffectiveBranchingFactor();
// Fills target_time, and moves_to_go where it is computed, from the clock fields. (Part of
// InitSearch.)
void SetTargetTime(int side, int hist_count);
