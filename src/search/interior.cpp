// The interior search. Search handles a node as a whole: bounds, draws, evaluation, table, and the
// selective steps before any move; FW_Search is the move loop with its pruning, reductions and
// extensions.
#include <algorithm>
#include <cassert>

#include "board/bitboards.h"
#include "board/zobrist.h"
#include "eval/personality.h"
#include "frontend/pblock.h"
#include "search/draws.h"
#include "search/picker.h"
#include "search/search.h"

namespace {

constexpr int MAX_EXTENSIONS_ON_PATH = 3;  // outside PV nodes
constexpr int MAX_EXTENSION_DEPTH = 8;
constexpr int EXTENSION_SIXTEENTHS = 16;  // a full ply of the fractional extension
constexpr int RAZOR_MARGIN = 25;
constexpr int STATIC_CUT_MARGIN = 11;  // above beta, before any static cut is tried
constexpr int SNMP_MARGIN = 25;
constexpr int SNMP_EXCHANGE_MARGIN = 99;
constexpr int SNMP_DEPTH = 2;
constexpr int FIFTH_RANK = 4;  // as the side sees it
constexpr int SIXTH_RANK = 5;
constexpr int MAX_ENEMY_PASSER_RANK = FIFTH_RANK;  // a free passer further on forbids static cuts
constexpr int NULL_REDUCTION = 3;
constexpr int DEEP_NULL_DEPTH = 7;  // deeper, and with material, the null move reduces one more
constexpr int DEEP_NULL_MATERIAL = 6;
constexpr int NULL_VERIFY_DEPTH =
    4;  // deeper, a failing null move reduces the node instead of cutting
constexpr int PROBCUT_DEPTH = 3;
constexpr int PROBCUT_MARGIN = 100;
constexpr int IID_MARGIN = 199;
constexpr int LOSING_MATE = MATED_SCORE;
constexpr int PROMISING_SCORE = 149;  // moves ordered above it are neither pruned nor reduced
constexpr int GOOD_QUIET_SCORE = 31;  // quiet moves ordered above it have proved themselves
constexpr int MAX_REDUCTION = 4;
constexpr int NEVER = 99;                  // depth that no table entry reaches
constexpr int LAST_PLY_WITHOUT_TABLE = 3;  // a PV node up to it is always searched
constexpr int PV_TABLE_DEPTH = 2;          // plies that a result must be deeper to answer a PV node
constexpr int LAST_PLY_AFTER_GAME = 3;  // two plies before it stand moves of the game or the root
constexpr int OWN_LAST_MOVE = 2;        // undo records back
constexpr int HANGING_SHARE = 2;        // part of what hangs that a static cut keeps, as divisor
constexpr int IID_PV_REDUCTION = 3;
constexpr int IID_REDUCTION = 4;
constexpr int IID_SHORT_DEPTH = 4;  // without any hash move it is searched to depth 1 at least
constexpr int PV_SIXTEENTHS = 1;    // of extension, for a PV node and for a capture on the way
constexpr int CAPTURE_SIXTEENTHS = 2;
constexpr int SHALLOWEST_STORE = -1;  // results of less depth are not stored

int SelectivityIndex(int depth) { return std::clamp(depth, 0, SELECTIVITY_DEPTHS - 1); }

// One node's arguments and state, handed down the steps of Search.
struct Node {
    ThreadBlock* tb;
    Position* pos;
    PlyData* pd;
    int side;
    int ply;
    int depth;
    Window window;
    int type;
    int in_check;
    int eval;
    bool null_allowed;
    bool fails_low;
    bool fails_high;
    int table_depth;
    Move* pv;
};

int DrawScore(int side) { return PBlock.root.draw_score[side]; }

// Probes the table, fills the flags, and returns true with *score when the entry answers the node.
bool TableCutoff(Node* n, int* score) {
    TTEntry entry;
    entry.depth = TT_PRESET_DEPTH;
    entry.score = NO_SCORE;
    ProbeTTable(n->pos, &entry);
    n->tb->tt_probes += 1;
    n->table_depth = entry.depth;
    n->null_allowed = true;
    n->fails_low = n->fails_high = false;
    if (entry.depth < TT_HIT_DEPTH) { return false; }
    n->tb->tt_hits += 1;
    n->pd->hash_move = entry.move;
    const int value = ScoreFromTable(entry.score, n->ply);
    if (n->window.alpha >= value) {
        n->null_allowed = entry.bound == BOUND_LOWER;
        n->fails_low = entry.bound != BOUND_LOWER;
    }
    if (n->window.beta <= value) { n->fails_high = entry.bound != BOUND_UPPER; }
    int required = n->depth;
    if (n->type == NODE_PV) {
        required += n->ply > LAST_PLY_WITHOUT_TABLE ? PV_TABLE_DEPTH : NEVER;
    }
    if (entry.depth < required) { return false; }
    if (n->fails_low) {
        *score = n->window.alpha;
        return true;
    }
    if (n->fails_high) {
        if (entry.move != NO_MOVE && n->pos->board[MoveTo(entry.move)] == 0) {
            StoreKiller(n->tb, entry.move, n->in_check);
        }
        *score = n->window.beta;
        return true;
    }
    if (entry.bound == BOUND_EXACT) {
        *score = value;
        return true;
    }
    n->null_allowed = true;
    n->fails_high = false;
    return false;
}

// Does a null move fail high? Requires that the side is not in check.
bool NullMoveFailsHigh(const Node& n) {
    Position* pos = n.pos;
    int reduction = NULL_REDUCTION;
    if (n.depth > DEEP_NULL_DEPTH && pos->npm[n.side] >= DEEP_NULL_MATERIAL) { ++reduction; }
    const int child_depth = n.depth - reduction <= 0 ? 0 : n.depth - reduction - 1;
    n.pd->cursor = n.pd->list_start;
    *n.pd->cursor = {NO_MOVE, 0, 0, 0};
    TerminateList(n.pd, n.pd->cursor + 1);
    n.pd->check = CHECK_NOT_GIVEN;
    MakeNullMove(pos);
    const int v = -Search(n.tb, child_depth, Opposite(n.window), NODE_NULL, n.pv);
    UnmakeNullMove(pos);
    return v >= n.window.beta;
}

bool PreviousMoveWasNotNull(const Node& n) {
    return n.ply <= LAST_PLY_AFTER_GAME ||
           n.pos->undo[n.pos->hist_count - OWN_LAST_MOVE].move != NO_MOVE;
}

// The cuts tried at expected cut nodes. True when the node fails high; may reduce the node's depth
// instead.
bool StaticCuts(Node* n) {
    const PersonalityRecord& p = Personality;
    Position* pos = n->pos;
    if (n->type != NODE_CUT || n->in_check || !n->null_allowed ||
        n->eval <= n->window.beta + STATIC_CUT_MARGIN) {
        return false;
    }
    if (n->pd->free_pawn_rank[n->side ^ 1] > MAX_ENEMY_PASSER_RANK) { return false; }
    if (pos->npm[n->side] == 0 || PawnCount(pos->sig[n->side]) == 0) { return false; }
    if (n->depth <= p.CNP_depth) {
        const int margin = std::max<int>(n->pd->hanging[n->side] / HANGING_SHARE,
                                         p.CNP_margin[SelectivityIndex(n->depth)]);
        if (n->eval >= n->window.beta + margin) { return true; }
    }
    if (n->depth <= SNMP_DEPTH && n->eval >= n->window.beta + SNMP_MARGIN &&
        SNMP(n->tb, n->eval, n->window.beta)) {
        return true;
    }
    if (n->depth >= p.NMP_depth && PreviousMoveWasNotNull(*n) && NullMoveFailsHigh(*n)) {
        if (n->depth <= NULL_VERIFY_DEPTH) { return true; }
        n->depth -= NULL_VERIFY_DEPTH;
    }
    return n->depth > PROBCUT_DEPTH &&
           ProbCut(n->tb, n->depth - PROBCUT_DEPTH, n->window.beta + PROBCUT_MARGIN);
}

// Finds a hash move by a shallower search where the table gave none deep enough.
void InternalDeepening(const Node& n) {
    int depth = n.depth - (n.type == NODE_PV ? IID_PV_REDUCTION : IID_REDUCTION);
    if (n.depth == IID_SHORT_DEPTH && n.pd->hash_move == NO_MOVE) { depth = 1; }
    if (depth <= 0 || n.table_depth >= depth || n.eval < n.window.alpha - IID_MARGIN) { return; }
    n.pd->iid = 1;
    const int v = FW_Search(n.tb, depth, n.window, n.in_check, n.pv);
    n.pd->iid = 0;
    if (v > n.window.alpha) { n.pd->hash_move = n.pv[n.ply]; }
}

// Sixteenths of a ply collected on the way; a full one extends the node.
void FractionalExtension(const Node& n) {
    int accumulator = n.tb->extension_accumulator;
    if (n.type == NODE_PV) { accumulator += PV_SIXTEENTHS; }
    if (n.pd[-1].cursor->captured) { accumulator += CAPTURE_SIXTEENTHS; }
    if (accumulator >= EXTENSION_SIXTEENTHS) {
        n.pd->extension = 1;
        accumulator -= EXTENSION_SIXTEENTHS;
    }
    n.tb->extension_accumulator = static_cast<u8>(accumulator);
}

// --- the move loop ---

bool HasFreeSpan(const Position* pos, int side, Move m) {
    return (BB_PawnSpan[side][MoveTo(m)] & pos->bb[side ^ 1][PAWN]) == 0;
}

// A pawn move of which neither LMP nor LMR makes little: to the last two ranks, or to the fifth or
// sixth without an opposing pawn in its forward span.
bool IsAdvancedPawnMove(const Position* pos, int side, const MoveEntry* e) {
    if (PieceType(e->piece) != PAWN) { return false; }
    const int rank = RelativeRank(MoveTo(e->move), side);
    return rank >= SEVENTH_RANK || (rank >= FIFTH_RANK && HasFreeSpan(pos, side, e->move));
}

bool IsPawnMoveExemptFromPruning(const Position* pos, int side, const MoveEntry* e) {
    if (PieceType(e->piece) != PAWN) { return false; }
    const int rank = RelativeRank(MoveTo(e->move), side);
    return rank >= SEVENTH_RANK || (rank == SIXTH_RANK && HasFreeSpan(pos, side, e->move));
}

// Does a slider newly see one of `prey` along a free line of `rays`?
bool SeesAlongLine(const Position* pos, const SquareSets& rays, Move m, Bitboard prey) {
    Bitboard targets = rays[MoveTo(m)] & prey & ~rays[MoveFrom(m)];
    while (targets) {
        if ((BB_Between[MoveTo(m)][PopLSB(&targets)] & Occupied(pos)) == 0) { return true; }
    }
    return false;
}

// Does a quiet move threaten something worth a search? Kings are not asked.
bool ShowsThreat(const Position* pos, int side, const MoveEntry* e) {
    const Bitboard* enemy = pos->bb[side ^ 1];
    const Bitboard king_area = BB_KingRays[KingSquare(pos, side ^ 1)];
    const int from = MoveFrom(e->move);
    const int to = MoveTo(e->move);
    const int type = PieceType(e->piece);
    switch (type) {
        case PAWN:
            return IsAdvancedPawnMove(pos, side, e) ||
                   (BB_PawnRays[side][to] &
                    (enemy[KNIGHT] | enemy[BISHOP] | enemy[ROOK] | enemy[QUEEN] | king_area)) != 0;
        case KNIGHT:
            return (BB_KnightRays[to] & (enemy[ROOK] | enemy[QUEEN] | king_area)) != 0;
        case BISHOP:
            if (SeesAlongLine(pos, BB_BishopRays, e->move, enemy[ROOK] | enemy[QUEEN])) {
                return true;
            }
            break;
        case ROOK:
            if (SeesAlongLine(pos, BB_RookRays, e->move, enemy[QUEEN])) { return true; }
            break;
        default:
            break;
    }
    return MoveAttacksKingArea(pos, type, from, to, king_area) != 0;
}

// Late-move pruning of a move without flags, once enough moves have been searched.
bool IsLateMovePruned(const Position* pos, int side, const MoveEntry* e) {
    const bool unproven = e->score <= GOOD_QUIET_SCORE;
    if (PieceType(e->piece) == KING) {
        if (IsTwoFileStep(MoveFrom(e->move), MoveTo(e->move))) { return false; }
        if (unproven) { return true; }
    } else if (unproven && !ShowsThreat(pos, side, e)) {
        return true;
    }
    return !MoveIsSafe(pos, e->move);
}

// Plies by which the move is searched less deep, at a node of this (extended) depth.
int Reduction(ThreadBlock* tb, const PlyData* pd, const MoveEntry* e, int depth) {
    Position* pos = &tb->pos;
    const bool pv_node = pd->node_type == NODE_PV;
    const int column = std::min<int>(pd->moves_searched, LMR_MOVES - 1);
    int r = Personality.LMR_table[pv_node ? 0 : 1][depth][column];
    if (r <= 0) { return 0; }
    if (pd->move_flags) {
        r = pv_node ? 0 : 1;
    } else if (e->score > GOOD_QUIET_SCORE || IsAdvancedPawnMove(pos, pos->side, e)) {
        if (MoveIsSafe(pos, e->move)) { r = 0; }
    }
    return std::min(r, MAX_REDUCTION);
}

// Asks for the table's line of the position after a move. Of the changes that a move makes to the
// key the usual ones are looked at: where others come in, nothing is lost but the line.
void PrefetchAfter(const Position* pos, const MoveEntry* e) {
    const int from = MoveFrom(e->move);
    const int to = MoveTo(e->move);
    const int enemy = pos->side ^ 1;
    u64 key = pos->hash ^ rtable[e->piece][from] ^ rtable[e->piece][to] ^ rtable2[NO_SQUARE] ^
              rtable2[pos->castle] ^ stmh[enemy];
    if (e->captured) { key ^= rtable[e->captured][to]; }
    PrefetchTTable(enemy, key);
}

int MoveExtension(const Position* pos, int side, const MoveEntry* e, u8 flags) {
    if (flags & FLAG_DISCOVERED) { return 1; }
    if (flags & (FLAG_CHECK | FLAG_SEVENTH_RANK_PAWN)) { return MoveIsSafe(pos, e->move); }
    const int captured = PieceType(e->captured);
    if (captured > PAWN && npv[captured] == pos->npm[side ^ 1]) { return MoveIsSafe(pos, e->move); }
    return 0;
}

// Stores what the move loop has found of the node; `window` is the one on entry.
void StoreResult(const ThreadBlock* tb, int depth, Window window) {
    const PlyData* pd = CurrentPly(tb);
    if (pd->best_move == NO_MOVE || depth < SHALLOWEST_STORE) { return; }
    int score = window.alpha;
    int bound = BOUND_UPPER;
    if (pd->best_score >= window.beta) {
        score = window.beta;
        bound = BOUND_LOWER;
    } else if (pd->best_score > window.alpha) {
        score = pd->best_score;
        bound = BOUND_EXACT;
    }
    StoreInTTable(&tb->pos, pd->best_move, depth, ScoreToTable(score, tb->pos.ply), bound);
}

}  // namespace

u8 MoveFlags(const Position* pos, const CheckMasks& checks, const MoveEntry* e) {
    const int side = pos->side;
    u8 flags = 0;
    const int check = MoveGivesCheck(pos, checks, e);
    if (check != NO_CHECK) { flags = FLAG_CHECK; }
    if (check == DISCOVERED_CHECK) { flags |= FLAG_DISCOVERED; }
    if (e->captured) { flags |= FLAG_CAPTURE; }
    if (PieceType(e->piece) == PAWN) {
        if (RelativeRank(MoveTo(e->move), side) == SEVENTH_RANK) {
            flags |= FLAG_SEVENTH_RANK_PAWN;
        }
        if (e->move & PROMOTE_QUEEN) { flags |= FLAG_QUEEN_PROMOTION; }
        if (FileOf(MoveFrom(e->move)) != FileOf(MoveTo(e->move))) { flags |= FLAG_CAPTURE; }
    }
    return flags;
}

int SNMP(ThreadBlock* tb, int static_eval, int beta) {
    Position* pos = &tb->pos;
    const int side = pos->side;
    const Bitboard occupied = Occupied(pos);
    const int enough = std::max(static_eval - SNMP_EXCHANGE_MARGIN - beta, 1);
    for (int type = PAWN; type < KING; ++type) {
        if (piece_value[type] < enough) { continue; }  // no exchange wins more than the man
        for (Bitboard men = pos->bb[side][type]; men != 0;) {
            if (swapoff1(pos, side ^ 1, NO_SQUARE, PopLSB(&men), occupied) >= enough) { return 0; }
        }
    }
    return 1;
}

int ProbCut(ThreadBlock* tb, int depth, int bound) {
    assert(depth >= 1);
    Position* pos = &tb->pos;
    PlyData* pd = CurrentPly(tb);
    const int side = pos->side;
    MoveEntry* first = pd->list_start;
    MoveEntry* end = GeneratePawnCaptures(pos, side, first);
    end = GeneratePieceCaptures(pos, side, end);
    TerminateList(pd, end);
    for (MoveEntry* e = first; e != end; ++e) { e->score = CaptureOrder(e); }
    const LegalityMasks legality = FindLegality(pos);
    Move line[PV_SIZE];
    for (MoveEntry* e = first; e != end; ++e) {
        PickNextMove(e, end);
        const Move m = e->move;
        if (!MoveIsLegal(pos, legality, m) || !MoveIsSafe(pos, m)) { continue; }
        pd->cursor = e;
        pd->check = CHECK_UNKNOWN;
        MakeMove(pos, m);
        const int v = -Search(tb, depth - 1, Opposite({bound - 1, bound}), NODE_ALL, line);
        UnmakeMove(pos);
        if (PBlock.control.stop) { return 0; }
        if (v >= bound) { return 1; }
    }
    return 0;
}

// The move loop is one function of visible steps: splitting it would scatter the state that its
// steps share.
int FW_Search(ThreadBlock* tb, int depth, Window window, int in_check, Move* pv) {
    Position* pos = &tb->pos;
    PlyData* pd = CurrentPly(tb);
    const int side = pos->side;
    const int ply = pos->ply;
    const int node_type = pd->node_type;
    const int beta = window.beta;
    int alpha = window.alpha;
    assert(alpha < beta && in_check == InCheck(pos, side));
    const int extended = depth + pd->extension;
    const bool pv_node = node_type == NODE_PV;
    const bool pruning_allowed = extended <= Personality.LMP_depth && !pd->iid && !pv_node &&
                                 pos->npm[WHITE] != 0 && pos->npm[BLACK] != 0;
    const int pruning_count = Personality.LMP_count[SelectivityIndex(extended)];
    const bool extension_allowed = pv_node || (extended <= MAX_EXTENSION_DEPTH &&
                                               tb->extension_count <= MAX_EXTENSIONS_ON_PATH);
    int best = NO_SCORE;
    pv[ply] = NO_MOVE;
    pd->best_move = NO_MOVE;
    pd->moves_searched = 0;
    pd->stage = STAGE_START;
    const LegalityMasks legality = FindLegality(pos);
    const CheckMasks checks = in_check ? CheckMasks{} : FindChecks(pos);
    Move line[PV_SIZE];

    while (const MoveEntry* e = GetNextMoveFW(tb, in_check)) {
        const Move m = e->move;
        if (m == NO_MOVE || (m == pd->hash_move && pd->moves_searched > 0)) { continue; }
        if (!MoveIsLegal(pos, legality, m)) { continue; }

        // Extension, pruning and reduction are decided before the move is made.
        int extension = 0;
        int reduction = 0;
        pd->move_flags = 0;
        pd->check = CHECK_UNKNOWN;
        if (!in_check) {
            pd->move_flags = MoveFlags(pos, checks, e);
            pd->check = CheckOfMove(pos, e, pd->move_flags & FLAG_CHECK);
            extension = MoveExtension(pos, side, e, pd->move_flags);
            if (best >= LOSING_MATE && e->score <= PROMISING_SCORE && extension == 0) {
                if (pruning_allowed && pd->move_flags == 0 && pd->moves_searched >= pruning_count &&
                    !IsPawnMoveExemptFromPruning(pos, side, e) && IsLateMovePruned(pos, side, e)) {
                    continue;
                }
                if (extended >= Personality.LMR_depth) {
                    reduction = Reduction(tb, pd, e, extended);
                }
            }
        }
        if (!extension_allowed) { extension = 0; }
        const bool quiet = e->captured == 0;

        const int child_depth = extended + extension - 1;
        tb->extension_count = static_cast<u8>(tb->extension_count + extension);
        if (child_depth > 0 || pd->check == CHECK_GIVEN) { PrefetchAfter(pos, e); }
        MakeMove(pos, m);
        int v = 0;
        if (pd->moves_searched == 0 || child_depth <= 0) {
            v = -Search(tb, child_depth, Opposite({alpha, beta}), node_opp[node_type], line);
        } else {
            v = -Search(tb, child_depth - reduction, Opposite({alpha, alpha + 1}), NODE_CUT, line);
            if (v > alpha) {
                if (quiet && !in_check) { RaiseHistory(tb, e); }
                v = -Search(tb, child_depth, Opposite({alpha, beta}), pv_node ? NODE_PV : NODE_NULL,
                            line);
            }
        }
        tb->extension_count = static_cast<u8>(tb->extension_count - extension);
        UnmakeMove(pos);
        if (PBlock.control.stop) { return 0; }

        ++pd->moves_searched;
        if (quiet && !in_check) {
            if (v > alpha) {
                RaiseHistory(tb, e);
            } else {
                LowerHistory(tb, e);
            }
        }
        if (v <= best) { continue; }
        best = v;
        pd->best_move = m;
        pv[ply] = m;
        pv[ply + 1] = NO_MOVE;
        if (v <= alpha) { continue; }
        if (v >= beta) {
            if (quiet && depth > 0) {
                StoreKiller(tb, m, in_check);
                StoreCounterMove(tb, m);
            }
            break;
        }
        alpha = v;
        CopyLine(pv, line, ply + 1);
    }

    if (pd->moves_searched == 0) { best = in_check ? ply - INFINITE_SCORE : DrawScore(side); }
    pd->best_score = static_cast<i16>(best);
    StoreResult(tb, depth, window);
    return best;
}

int Search(ThreadBlock* tb, int depth, Window window, int node_type, Move* pv) {
    Position* pos = &tb->pos;
    const int side = pos->side;
    const int ply = pos->ply;
    assert(ply >= 2 && ply <= MAX_SEARCH_PLY + 1);
    if (tb->nodes >= tb->node_target) [[unlikely]] {
        PBlock.control.stop = STOP_FINISH;
        pv[ply] = pv[ply + 1] = NO_MOVE;
        return 0;
    }
    tb->nodes += 1;
    if (ply > tb->deepest_ply) [[unlikely]] { tb->deepest_ply = ply; }
    const int alpha = std::max(window.alpha, ply - INFINITE_SCORE);
    const int beta = std::min(window.beta, INFINITE_SCORE - 1 - ply);
    if (alpha >= beta) { return alpha; }

    // Long before they are read: the evaluation's caches, and the table where it will be probed.
    const u64 key = SearchKey(pos);
    PrefetchEvaluation(tb, key);
    if (depth > 0) { PrefetchTTable(side, key); }

    PlyData* pd = &tb->ply_data[ply];
    pd->node_type = static_cast<u8>(node_type);
    pd->depth = static_cast<i16>(depth);
    pd->alpha = static_cast<i16>(alpha);
    pd->beta = static_cast<i16>(beta);
    pd->extension = 0;
    pd->iid = 0;
    pd->moves_searched = 0;
    pd->hash_move = NO_MOVE;
    pd->static_eval = 0;
    std::fill(std::begin(pd[2].killer), std::end(pd[2].killer), NO_MOVE);
    pd[2].evasion_killer = NO_MOVE;
    pv[ply] = pv[ply + 1] = NO_MOVE;

    const int in_check =
        pd[-1].check == CHECK_UNKNOWN ? InCheck(pos, side) : pd[-1].check == CHECK_GIVEN;
    assert(in_check == InCheck(pos, side));
    Node n = {tb,        pos,      pd, side, ply,   depth, {alpha, beta},
              node_type, in_check, 0,  true, false, false, TT_PRESET_DEPTH,
              pv};
    if (IsDrawnByRule(tb, in_check)) { return DrawScore(side); }

    n.eval = Evaluate(tb, ply, in_check != 0);
    pd->static_eval = static_cast<i16>(n.eval);
    if (ply > MAX_SEARCH_PLY || !MoveListFits(tb)) { return in_check ? 0 : n.eval; }
    if (!in_check && pd->trivial_draw) { return n.eval; }
    if (depth <= 0 && !in_check) { return Q_Search(tb, depth, n.window, node_type, pv); }

    int score = 0;
    if (TableCutoff(&n, &score)) { return score; }

    if (node_type != NODE_PV && !in_check && !n.fails_high && depth <= Personality.FP_depth &&
        n.eval < alpha - Personality.FP_margin[SelectivityIndex(depth)]) {
        const int bound = alpha - RAZOR_MARGIN;
        if (Q_Search(tb, depth, {bound, beta}, node_type, pv) <= bound) { return alpha; }
    }
    if (StaticCuts(&n)) { return beta; }
    InternalDeepening(n);

    const u8 accumulator = tb->extension_accumulator;
    FractionalExtension(n);
    const int v = FW_Search(tb, n.depth, n.window, in_check, pv);
    tb->extension_accumulator = accumulator;
    return v > alpha ? std::min(v, beta) : alpha;
}
