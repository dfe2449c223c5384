// Quiescence search: captures, and on its first ply quiet checks and pawn pushes to the seventh
// rank.
#include <algorithm>
#include <cassert>

#include "board/bitboards.h"
#include "board/zobrist.h"
#include "search/picker.h"
#include "search/search.h"

namespace {

// Stages of the quiescence list.
enum QuiescenceStage : u8 {
    QUIESCENCE_START = STAGE_START,
    QUIESCENCE_CAPTURES,
    QUIESCENCE_CAPTURES_DONE,
    QUIESCENCE_QUIET,
};

constexpr int EN_PASSANT_SCORE = 1;
constexpr int DELTA_MARGIN = 150;       // what a capture may gain beyond its victim
constexpr int WIDE_DELTA_MARGIN = 250;  // at PV nodes and above the horizon
constexpr int RECAPTURES_ONLY_BELOW = -4;
constexpr int LATE_ENDGAME_PAWNS = 1;  // with as few enemy pawns left no capture is left out

MoveEntry* AddQuiet(MoveEntry* list, int from, int to, int piece) {
    *list = {MakeMoveWord(from, to), static_cast<u8>(piece), 0, 0};
    return list + 1;
}

void GenerateCaptures(const Position* pos, PlyData* pd) {
    const int side = pos->side;
    MoveEntry* end = GeneratePawnCaptures(pos, side, pd->list_start);
    end = GeneratePieceCaptures(pos, side, end);
    end = GeneratePromotions(pos, side, 0, end);
    TerminateList(pd, end);
    const int recapture = RecaptureSquare(pos);
    for (MoveEntry* e = pd->list_start; e != end; ++e) {
        int score = TacticalOrder(e, EN_PASSANT_SCORE);
        if (MoveTo(e->move) == recapture) { score += RECAPTURE_BONUS; }
        e->score = static_cast<i16>(score);
    }
    pd->stage = QUIESCENCE_CAPTURES;
}

// Pushes of the pawns whose square ahead is in `targets`, lowest pawn first.
MoveEntry* AddPushes(const Position* pos, Bitboard pawns, Bitboard targets, MoveEntry* list) {
    const int side = pos->side;
    Bitboard sources = pawns & (side == WHITE ? targets >> FILE_COUNT : targets << FILE_COUNT);
    while (sources) {
        const int from = PopLSB(&sources);
        list = AddQuiet(list, from, from + pawn_dir[side], PieceCode(side, PAWN));
    }
    return list;
}

template <typename Attacks>
MoveEntry* AddPieceChecks(const Position* pos, int type, Bitboard targets, Attacks attacks,
                          MoveEntry* list) {
    for (const u8* piece = pos->plist[pos->side][type]; *piece != NO_SQUARE; ++piece) {
        Bitboard reached = attacks(*piece) & targets;
        while (reached) {
            const int to = PopLSB(&reached);
            list = AddQuiet(list, *piece, to, PieceCode(pos->side, type));
        }
    }
    return list;
}

// Quiet moves that give direct check, then pawn pushes to the seventh rank, after the captures.
void GenerateQuietChecks(const Position* pos, PlyData* pd) {
    const int side = pos->side;
    const int king = KingSquare(pos, side ^ 1);
    const Bitboard occupied = Occupied(pos);
    const Bitboard empty = ~occupied;
    const Bitboard pawns = pos->bb[side][PAWN];
    const u32 sig = pos->sig[side];

    MoveEntry* end = AddPushes(pos, pawns, BB_PawnRays[side ^ 1][king] & empty, pd->cursor);
    end = AddPieceChecks(
        pos, KNIGHT, BB_KnightRays[king] & empty, [](int from) { return BB_KnightRays[from]; },
        end);
    if (BishopCount(sig) + RookCount(sig) + QueenCount(sig) > 0) {
        const Bitboard diagonals = GenAttacksB(king, occupied) & empty;
        const Bitboard lines = GenAttacksR(king, occupied) & empty;
        end = AddPieceChecks(
            pos, BISHOP, diagonals, [=](int from) { return GenAttacksB(from, occupied); }, end);
        end = AddPieceChecks(
            pos, ROOK, lines, [=](int from) { return GenAttacksR(from, occupied); }, end);
        end = AddPieceChecks(
            pos, QUEEN, diagonals | lines,
            [=](int from) { return GenAttacksB(from, occupied) | GenAttacksR(from, occupied); },
            end);
    }
    end = AddPushes(pos, pawns,
                    RankMask(side == WHITE ? SEVENTH_RANK : LAST_RANK - SEVENTH_RANK) & empty, end);
    TerminateList(pd, end);
    pd->stage = QUIESCENCE_QUIET;
}

// Next entry to try, or nullptr. Quiet moves come only when `with_quiet`.
MoveEntry* NextMove(const Position* pos, PlyData* pd, bool with_quiet) {
    if (pd->stage == QUIESCENCE_START) {
        GenerateCaptures(pos, pd);
        pd->cursor = pd->list_start;
    } else {
        ++pd->cursor;
    }
    if (pd->stage == QUIESCENCE_CAPTURES) {
        if (pd->cursor->move != END_OF_LIST) {
            PickNextMove(pd->cursor, EndOfPlyList(pd));
            return pd->cursor;
        }
        pd->stage = QUIESCENCE_CAPTURES_DONE;
        if (!with_quiet) { return nullptr; }
        GenerateQuietChecks(pos, pd);
    }
    return pd->cursor->move == END_OF_LIST ? nullptr : pd->cursor;
}

bool IsLateEndgameCapture(const Position* pos, const MoveEntry* e) {
    const int captured = PieceType(e->captured);
    if (captured == NO_PIECE) { return false; }
    const int enemy = pos->side ^ 1;
    const int pawns_left = PawnCount(pos->sig[enemy]) - (captured == PAWN ? 1 : 0);
    return pawns_left <= LATE_ENDGAME_PAWNS || npv[captured] == pos->npm[enemy];
}

bool IsPawnToLastRanks(const Position* pos, const MoveEntry* e) {
    return PieceType(e->piece) == PAWN && RelativeRank(MoveTo(e->move), pos->side) >= SEVENTH_RANK;
}

// Is the move left out? `promise`, the standing score and a margin, and the victim are the most
// that a capture without check can bring; `check` is what MoveGivesCheck says of it.
bool IsPruned(const Position* pos, const MoveEntry* e, int check, int promise, int best) {
    if (check == DISCOVERED_CHECK) { return false; }
    if (pos->npm[WHITE] == 0 || pos->npm[BLACK] == 0) { return false; }
    if (IsLateEndgameCapture(pos, e)) { return false; }
    const int captured = PieceType(e->captured);
    if (check == NO_CHECK && !IsPawnToLastRanks(pos, e) &&
        promise + piece_value[captured] <= best) {
        return true;
    }
    return exchange_scale[PieceType(e->piece)] > exchange_scale[captured] &&
           ExchangeLoses(pos, MoveFrom(e->move), MoveTo(e->move));
}

}  // namespace

int Q_Search(ThreadBlock* tb, int depth, Window window, int node_type, Move* pv) {
    Position* pos = &tb->pos;
    PlyData* pd = CurrentPly(tb);
    const int ply = pos->ply;
    const int beta = window.beta;
    assert(window.alpha < beta && !InCheck(pos, pos->side));
    const int stand = pd->static_eval;
    if (stand >= beta) { return beta; }
    int best = std::max(window.alpha, stand);
    pd->stage = STAGE_START;
    const int child_type = node_opp[node_type];
    const int margin = depth <= 0 && node_type != NODE_PV ? DELTA_MARGIN : WIDE_DELTA_MARGIN;
    Move line[PV_SIZE];
    // Found for the first move that asks for them: most nodes have none.
    bool masks_known = false;
    LegalityMasks legality;
    CheckMasks checks;
    while (const MoveEntry* e = NextMove(pos, pd, depth >= 0)) {
        const Move m = e->move;
        if (m == NO_MOVE) { continue; }
        if (depth < RECAPTURES_ONLY_BELOW && MoveTo(m) != RecaptureSquare(pos)) { continue; }
        if (!masks_known) {
            legality = FindLegality(pos);
            checks = FindChecks(pos);
            masks_known = true;
        }
        const int check = MoveGivesCheck(pos, checks, e);
        // Pruning is asked first: it is cheaper than the full test of legality.
        if (IsPruned(pos, e, check, stand + margin, best)) { continue; }
        if (!MoveIsLegal(pos, legality, m)) { continue; }
        pd->check = CheckOfMove(pos, e, check);
        MakeMove(pos, m);
        const int v = -Search(tb, depth - 1, Opposite({best, beta}), child_type, line);
        UnmakeMove(pos);
        if (v <= best) { continue; }
        pv[ply] = m;
        pv[ply + 1] = NO_MOVE;
        if (v >= beta) { return v; }
        best = v;
        CopyLine(pv, line, ply + 1);
    }
    return best;
}
