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

// Score of the position at `ply` (2 or more) in centipawns for the side to move; the line is left
// in pv[ply...].
int Search(Position* pos, int side, int ply, int depth, int alpha, int beta, int node_type,
           Move* pv);
int FW_Search(Position* pos, int side, int ply, int depth, int alpha, int beta, int in_check,
              int node_type, Move* pv);
// Requires the static evaluation in the ply's record and that the side to move is not in check.
int Q_Search(Position* pos, int side, int ply, int depth, int alpha, int beta, int node_type,
             Move* pv);
int SNMP(Position* pos, int side, int static_eval, int beta);
int ProbCut(Position* pos, int ply, int depth, int bound);
// Number of earlier positions of the game and path, same side to move, equal to this one, within
// the last fifty-counter plies; counting stops at `limit`.
int CountRepetitions(const Position* pos, int limit);
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
int SearchRoot(Position* pos, int side, int depth, int index);
void NewBestMove(ThreadBlock* tb);

// Time management (timeman.cpp). Seconds.
void GetElapsedTime(int start);
void InitSearch();
void SearchTimeout();
double EffectiveBranchingFactor();
// Fills target_time, and moves_to_go where it is computed, from the clock fields. (Part of
// InitSearch.)
void SetTargetTime(int side, int hist_count);
