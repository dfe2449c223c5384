// Evaluate: the driver of the static evaluation, and the terms of knights, bishops, rooks and
// queens. Needs the square tables, the keys, InitKPK and InitEval. Each thread works on its own
// ThreadBlock and reads the shared tables only.
//
// Code that differs by colour is a template on the side; what feeds the report is compiled apart
// (REPORT), so that the search's calls carry none of it.
#include "eval/evaluate.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "board/zobrist.h"
#include "eval/evalhelpers.h"
#include "eval/personality.h"
#include "eval/threadblock.h"

namespace {

constexpr int PHASE_CAP = 12;  // of one side: knights + bishops + 2 rooks + 4 queens
constexpr int MAX_PAWNS = 8;   // a ninth pawn adds no material value

// King zone: the block a1-c3 moved by the king's rank and file, so that it stays on the board.
constexpr Bitboard BLOCK_A1_C3 = 0x070707u;
constexpr u8 zone_rank_shift[8] = {0, 0, 8, 16, 24, 32, 40, 40};
constexpr u8 zone_file_shift[8] = {0, 0, 1, 2, 3, 4, 5, 5};

// Pressure on the enemy king, in entries of KingDanger.
constexpr int KING_ATTACK_PAWN = 2;
constexpr int KING_ATTACK_MINOR = 2;
constexpr int KING_ATTACK_MAJOR = 3;
constexpr int KING_ATTACK_XRAY = 2;

// Centipawns that have no parameter of their own.
constexpr int OUTPOST_DEFENDED = 5;
constexpr int BISHOP_CENTRE_SQUARE = 4;
constexpr int ROOK_FORWARD_SQUARE = 4;
constexpr int ROOK_FORWARD_MAX = 8;
constexpr int OPPOSITION = 5;

constexpr int knight_by_enemy_pawns[MAX_PAWNS + 1] = {0, 0, 0, 0, 4, 8, 12, 16, 20};

constexpr int ROOK_TRAPPED_MOBILITY = 5;  // fewer counted squares than this may be trapped
// Files between a wing rook and the centre on which an own king or pawn shuts the rook in.
constexpr Bitboard rook_blocking_files[8] = {
    FileMask(1) | FileMask(2), FileMask(2), 0, 0, 0, 0, FileMask(5), FileMask(5) | FileMask(6)};
// Corner squares of the enemy's camp where a bishop is easily shut in: a7, h7, b8, g8 and mirrored.
constexpr Bitboard bishop_trap[2] = {
    Bit(48) | Bit(55) | Bit(57) | Bit(62),
    Bit(8) | Bit(15) | Bit(1) | Bit(6),
};

constexpr int DRAWISH_FROM = 15;  // smaller scores are never scaled

// Sums of one side's pieces while they are walked.
struct PieceSums {
    Bitboard attacks;
    Bitboard twice;
    int opening = 0;
    int ending = 0;
    int mobility = 0;
    int king_attack;
};

inline void AddAttacks(PieceSums* s, Bitboard* by_type, Bitboard targets) {
    s->twice |= s->attacks & targets;
    s->attacks |= targets;
    *by_type |= targets;
}

template <int US, bool REPORT>
inline void AddPieceValue(const EvalInfo* info, PieceSums* s, i16* line, int square, int opening,
                          int ending) {
    s->opening += opening;
    s->ending += ending;
    if constexpr (REPORT) { ReportPiece(info, line + US, square, opening, ending); }
}

template <int US, bool REPORT>
inline void EvaluateKnights(EvalInfo* info, PieceSums* s) {
    constexpr int THEM = US ^ 1;
    const Bitboard king_targets = info->king_zone[THEM] | info->knight_checks[THEM];
    const int ending_bonus = knight_by_enemy_pawns[std::min(info->pawns[THEM], MAX_PAWNS)];
    Bitboard by_knights = 0;
    for (Bitboard knights = info->pos->bb[US][KNIGHT]; knights != 0;) {
        const int sq = PopLSB(&knights);
        const Bitboard targets = BB_KnightRays[sq];
        AddAttacks(s, &by_knights, targets);
        if (targets & king_targets) { s->king_attack += KING_ATTACK_MINOR; }
        s->mobility += KnightMobility[CountBits(targets & info->mobility_area[US])];
        int opening = KnightOpening[RelativeSquare<US>(sq)];
        if (info->outposts[US] & Bit(sq)) {
            opening += Personality.knight_outpost;
            if (info->attacks_by[US][PAWN] & Bit(sq)) { opening += OUTPOST_DEFENDED; }
        } else if (info->outposts[US] & targets) {
            opening += Personality.knight_outpost / 2;
        }
        const int ending = KnightEnding[RelativeSquare<US>(sq)] + ending_bonus;
        AddPieceValue<US, REPORT>(info, s, PBlock.report.knights, sq, opening, ending);
    }
    info->attacks_by[US][KNIGHT] = by_knights;
}

template <int US, bool REPORT>
inline void EvaluateBishops(EvalInfo* info, PieceSums* s) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const Bitboard king_targets = info->king_zone[THEM] | info->bishop_checks[THEM];
    const Bitboard occupied = info->occupied & ~pos->bb[US][QUEEN];
    Bitboard by_bishops = 0;
    for (Bitboard bishops = pos->bb[US][BISHOP]; bishops != 0;) {
        const int sq = PopLSB(&bishops);
        const Bitboard targets = GenAttacksB(sq, occupied);
        AddAttacks(s, &by_bishops, targets);
        if (targets & king_targets) { s->king_attack += KING_ATTACK_MINOR; }
        s->mobility += BishopMobility[CountBits(targets & info->mobility_area[US])] +
                       BISHOP_CENTRE_SQUARE * CountBits(targets & BLOCK_C3_F6);
        int opening = BishopOpening[RelativeSquare<US>(sq)];
        const Bitboard ways_out = targets & BLOCK_B2_G7 & ~info->attacks_by[THEM][PAWN];
        if ((bishop_trap[US] & Bit(sq)) && ways_out == 0) { opening += Personality.bishop_trapped; }
        const int ending = BishopEnding[RelativeSquare<US>(sq)];
        AddPieceValue<US, REPORT>(info, s, PBlock.report.bishops, sq, opening, ending);
    }
    info->attacks_by[US][BISHOP] = by_bishops;
}

template <int US, bool REPORT>
inline void EvaluateRooks(EvalInfo* info, PieceSums* s) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const Bitboard king_targets = info->king_zone[THEM] | info->rook_checks[THEM];
    const Bitboard occupied = info->occupied & ~(pos->bb[US][ROOK] | pos->bb[US][QUEEN]);
    const int own_files = info->pawn_entry->mask[US], enemy_files = info->pawn_entry->mask[THEM];
    Bitboard by_rooks = 0;
    for (Bitboard rooks = pos->bb[US][ROOK]; rooks != 0;) {
        const int sq = PopLSB(&rooks);
        const int file = FileOf(sq);
        const Bitboard targets = GenAttacksR(sq, occupied);
        AddAttacks(s, &by_rooks, targets);
        if (targets & king_targets) { s->king_attack += KING_ATTACK_MAJOR; }
        const int count = CountBits(targets & info->mobility_area[US]);
        const int forward = CountBits(targets & FileMask(file) & HOME_HALF[THEM]);
        s->mobility +=
            RookMobility[count] + std::min(ROOK_FORWARD_SQUARE * forward, ROOK_FORWARD_MAX);
        int opening = RookOpening[RelativeSquare<US>(sq)];
        int ending = RookEnding[RelativeSquare<US>(sq)];
        if (!((own_files >> file) & 1)) {
            const int bonus = (enemy_files >> file) & 1 ? Personality.rook_half_open_file
                                                        : Personality.rook_open_file;
            opening += bonus;
            ending += bonus;
        } else if (count < ROOK_TRAPPED_MOBILITY &&
                   ((pos->bb[US][PAWN] | pos->bb[US][KING]) & RankMask(RankOf(sq)) &
                    rook_blocking_files[file])) {
            opening += Personality.rook_trapped;
        }
        if (RelativeRank<US>(sq) == 6 && info->back_rank_target[US]) {
            opening += Personality.rook_rank7;
            ending += Personality.rook_rank7;
        }
        AddPieceValue<US, REPORT>(info, s, PBlock.report.rooks, sq, opening, ending);
    }
    info->attacks_by[US][ROOK] = by_rooks;
}

template <int US, bool REPORT>
inline void EvaluateQueens(EvalInfo* info, PieceSums* s) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const Bitboard king_targets =
        info->king_zone[THEM] | info->bishop_checks[THEM] | info->rook_checks[THEM];
    Bitboard by_queens = 0;
    for (Bitboard queens = pos->bb[US][QUEEN]; queens != 0;) {
        const int sq = PopLSB(&queens);
        const Bitboard diagonal = GenAttacksB(sq, info->occupied);
        const Bitboard straight = GenAttacksR(sq, info->occupied);
        const Bitboard targets = diagonal | straight;
        AddAttacks(s, &by_queens, targets);
        // Through own bishops and rooks that move the same way.
        const Bitboard bishops = diagonal & pos->bb[US][BISHOP];
        const Bitboard rooks = straight & pos->bb[US][ROOK];
        Bitboard behind = 0;
        if (bishops) { behind |= GenAttacksB(sq, info->occupied ^ bishops) & ~diagonal; }
        if (rooks) { behind |= GenAttacksR(sq, info->occupied ^ rooks) & ~straight; }
        s->twice |= behind;
        if (targets & king_targets) {
            s->king_attack += KING_ATTACK_MAJOR;
        } else if (behind & king_targets) {
            s->king_attack += KING_ATTACK_XRAY;
        }
        s->mobility += QueenMobility[CountBits(targets & info->mobility_area[US])];
        int opening = QueenOpening[RelativeSquare<US>(sq)];
        int ending = QueenEnding[RelativeSquare<US>(sq)];
        if (RelativeRank<US>(sq) == 6 && info->back_rank_target[US]) {
            opening += Personality.queen_rank7;
            ending += Personality.queen_rank7;
        }
        AddPieceValue<US, REPORT>(info, s, PBlock.report.queens, sq, opening, ending);
    }
    info->attacks_by[US][QUEEN] = by_queens;
}

template <int US, bool REPORT>
void EvaluatePieces(EvalInfo* info) {
    PieceSums s;
    s.attacks = info->attacks[US];
    s.twice = info->attacked_twice[US];
    s.king_attack = info->king_attack[US];
    EvaluateKnights<US, REPORT>(info, &s);
    EvaluateBishops<US, REPORT>(info, &s);
    EvaluateRooks<US, REPORT>(info, &s);
    EvaluateQueens<US, REPORT>(info, &s);
    info->attacks[US] = s.attacks;
    info->attacked_twice[US] = s.twice;
    info->king_attack[US] = s.king_attack;
    info->positional_op[US] += s.opening;
    info->positional_en[US] += s.ending;
    info->mobility[US] = s.mobility;
}

template <int US>
inline void CountMaterial(EvalInfo* info) {
    const u32 sig = info->pos->sig[US];
    const int p = PawnCount(sig), n = KnightCount(sig), b = BishopCount(sig);
    const int r = RookCount(sig), q = QueenCount(sig);
    info->pawns[US] = p;
    info->knights[US] = n;
    info->bishops[US] = b;
    info->rooks[US] = r;
    info->queens[US] = q;
    info->pieces[US] = n + b + r + q;
    info->phase[US] = std::min(n + b + 2 * r + 4 * q, PHASE_CAP);
    const int valued = std::min(p, MAX_PAWNS);
    info->material_op[US] =
        MtlPawnOp[valued] + MtlKnightOp[n] + MtlBishopOp[b] + MtlRookOp[r] + MtlQueenOp[q];
    info->material_en[US] =
        MtlPawnEn[valued] + MtlKnightEn[n] + MtlBishopEn[b] + MtlRookEn[r] + MtlQueenEn[q];
}

// Attack sets of pawns and king, the zone of the own king, and the enemy's mobility area, which
// excludes the squares that the own pawns attack.
template <int US>
inline void SetUpAttacks(EvalInfo* info) {
    const Position* pos = info->pos;
    const Bitboard by_pawns = PawnAttacks<US>(pos->bb[US][PAWN]);
    const Bitboard by_king = BB_KingRays[info->king_square[US]];
    info->attacks_by[US][PAWN] = by_pawns;
    info->attacks_by[US][KING] = by_king;
    info->attacks[US] = by_pawns | by_king;
    info->attacked_twice[US] = by_pawns & by_king;
    info->mobility_area[US ^ 1] = ~(pos->bb[US ^ 1][0] | by_pawns);
    const int k = info->king_square[US];
    info->king_zone[US] = BLOCK_A1_C3 << (zone_rank_shift[RankOf(k)] + zone_file_shift[FileOf(k)]);
}

template <int US>
inline void SetUpKingTargets(EvalInfo* info) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const int k = info->king_square[US];
    const Bitboard enemy_area = info->mobility_area[THEM];
    info->knight_checks[US] = BB_KnightRays[k] & enemy_area;
    info->bishop_checks[US] = GenAttacksB(k, info->occupied) & enemy_area;
    info->rook_checks[US] = GenAttacksR(k, info->occupied) & enemy_area;
    // Enemy pawns one step short of the zone.
    const Bitboard doorstep = Ahead<US>(info->king_zone[US]) & ~info->king_zone[US];
    info->king_attack[THEM] = KING_ATTACK_PAWN * CountBits(doorstep & pos->bb[THEM][PAWN]);
    constexpr Bitboard back_rank = RankMask(US == WHITE ? 0 : 7);
    constexpr Bitboard second_rank = RankMask(US == WHITE ? 1 : 6);
    info->back_rank_target[THEM] =
        ((pos->bb[US][KING] & back_rank) | (pos->bb[US][PAWN] & second_rank)) != 0;
}

// Pieces that stand to be lost, as far as the attack sets tell.
template <int US>
inline void EvaluateHanging(EvalInfo* info) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const Bitboard* own = pos->bb[US];
    const Bitboard by_pawns = info->attacks_by[THEM][PAWN];
    const Bitboard by_minors =
        by_pawns | info->attacks_by[THEM][KNIGHT] | info->attacks_by[THEM][BISHOP];
    Bitboard hanging = (own[KNIGHT] | own[BISHOP]) & by_pawns;
    hanging |= own[0] & info->attacks[THEM] & ~info->attacks[US];
    hanging |= own[ROOK] & by_minors;
    hanging |= own[QUEEN] & (by_minors | info->attacks_by[THEM][ROOK]);
    hanging &= ~(own[PAWN] & by_pawns);
    if (hanging == 0) { return; }
    info->hanging |= hanging;
    int value = info->pd->hanging[US], count = 0;
    do {
        value += piece_value[PieceType(pos->board[PopLSB(&hanging)])];
        ++count;
    } while (hanging != 0);
    info->pd->hanging[US] = static_cast<i16>(value);
    const int charge = Personality.hung * (2 * count - 1);
    info->positional_op[US] += charge;
    info->positional_en[US] += charge;
}

// Mixed difference of both sides' sums, for White.
inline int BlendedScore(const EvalInfo* info) {
    const int mobility = info->mobility[WHITE] - info->mobility[BLACK];
    const int opening = info->positional_op[WHITE] - info->positional_op[BLACK] + mobility +
                        info->material_op[WHITE] - info->material_op[BLACK];
    const int ending = info->positional_en[WHITE] - info->positional_en[BLACK] + mobility +
                       info->material_en[WHITE] - info->material_en[BLACK];
    return Blend(info->stage, opening, ending);
}

void ReportTotals(const EvalInfo* info, double factor) {
    EvalReport& report = PBlock.report;
    for (int c = WHITE; c <= BLACK; ++c) {
        report.material[c] =
            static_cast<i16>(Blend(info->stage, info->material_op[c], info->material_en[c]));
        report.positional[c] =
            static_cast<i16>(Blend(info->stage, info->positional_op[c], info->positional_en[c]));
        report.free_pawn_rank[c] = static_cast<i8>(info->pd->free_pawn_rank[c]);
    }
    report.stage = static_cast<i16>(info->stage);
    report.factor = factor;
    report.hanging = info->hanging;
    report.pinned = info->pinned;
}

// The general evaluation: everything after the special endings and the cache.
int EvaluateAllTerms(ThreadBlock* tb, EvalInfo* info, int side, double* factor) {
    CountMaterial<WHITE>(info);
    CountMaterial<BLACK>(info);
    info->stage = MAX_STAGE - info->phase[WHITE] - info->phase[BLACK];
    SetUpAttacks<WHITE>(info);
    SetUpAttacks<BLACK>(info);
    SetUpKingTargets<WHITE>(info);
    SetUpKingTargets<BLACK>(info);
    info->hanging = info->pinned = 0;
    EvaluatePawns(tb, info);
    if (info->report) {
        EvaluatePieces<WHITE, true>(info);
        EvaluatePieces<BLACK, true>(info);
    } else {
        EvaluatePieces<WHITE, false>(info);
        EvaluatePieces<BLACK, false>(info);
    }
    EvalKing(info, WHITE, info->king_square[WHITE]);
    EvalKing(info, BLACK, info->king_square[BLACK]);
    EvaluateHanging<WHITE>(info);
    EvaluateHanging<BLACK>(info);
    EvalPinnedPieces(info, WHITE);
    EvalPinnedPieces(info, BLACK);
    // Deliberately one-sided: only the black king above the white one.
    if (info->stage == MAX_STAGE && info->king_square[BLACK] == info->king_square[WHITE] + 16) {
        info->positional_en[side] -= OPPOSITION;
    }
    int score = BlendedScore(info);
    if (side == BLACK) { score = -score; }
    score += tempo_bonus[info->stage];
    *factor = std::abs(score) < DRAWISH_FROM ? 1.0 : DrawishnessFactor(info, side, score);
    return static_cast<int>(score * *factor);
}

}  // namespace

int Evaluate(ThreadBlock* tb, int side, int ply, int in_check) {
    PlyData* pd = &tb->ply_data[ply];
    pd->free_pawn_rank[WHITE] = pd->free_pawn_rank[BLACK] = 0;
    pd->hanging[WHITE] = pd->hanging[BLACK] = 0;
    pd->trivial_draw = 0;
    const Position* pos = &tb->pos;
    EvalInfo* info = &tb->eval_info;
    info->report = tb->slot == 1 && ply <= 1;
    if (info->report) {
        PBlock.report = EvalReport{};
        PBlock.report.factor = 1.0;
    }
    if (in_check) { return NO_SCORE; }

    info->pos = pos;
    info->pd = pd;
    info->ply = ply;
    info->king_square[WHITE] = KingSquare(pos, WHITE);
    info->king_square[BLACK] = KingSquare(pos, BLACK);
    info->occupied = Occupied(pos);
    if (PawnCount(pos->sig[WHITE]) + PawnCount(pos->sig[BLACK]) <= 1) {
        int score;
        if (EvalSpecialEnding(info, side, &score)) { return score; }
    }

    tb->eval_probes += 1;
    const u64 key = SearchKey(pos);
    EvalCacheEntry* entry = EvalCacheSlot(tb, key, side);
    if (entry->key == key && ply >= 2) {
        tb->eval_hits += 1;
        pd->free_pawn_rank[WHITE] = entry->free_pawn_rank[WHITE];
        pd->free_pawn_rank[BLACK] = entry->free_pawn_rank[BLACK];
        pd->hanging[WHITE] = entry->hanging[WHITE];
        pd->hanging[BLACK] = entry->hanging[BLACK];
        return entry->score;
    }

    double factor;
    // Cut to the cache's field here, so that hits and misses agree under any weights.
    const i16 score = static_cast<i16>(
        std::clamp(EvaluateAllTerms(tb, info, side, &factor), INT16_MIN, INT16_MAX));
    *entry = {score,
              {pd->free_pawn_rank[WHITE], pd->free_pawn_rank[BLACK]},
              {pd->hanging[WHITE], pd->hanging[BLACK]},
              key};
    if (info->report) { ReportTotals(info, factor); }
    return score;
}

double WinProbability(int score) {
    constexpr double steepness = 1.05;
    constexpr double decade = 400.0;  // centipawns that would tenfold the odds at steepness 1
    return 1.0 / (1.0 + std::pow(10.0, -steepness * score / decade));
}
