// Evaluate: the driver of the static evaluation, and the terms of knights, bishops, rooks and
// queens. Needs the square tables, the keys, InitKPK and InitEval. Each thread works on its own
// ThreadBlock and reads the shared tables only.
//
// Code that differs by colour is a template on the side; what feeds the report is one on the report
// (NoReport or ReportWriter), so that the search's calls carry none of it.
#include "eval/evaluate.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>

#include "board/zobrist.h"
#include "eval/endgame.h"
#include "eval/evalhelpers.h"
#include "eval/personality.h"
#include "eval/threadblock.h"

namespace {

// Phase of one side: its pieces, counted by what they mean for the stage.
constexpr int ROOK_PHASE = 2;  // minor pieces count 1
constexpr int QUEEN_PHASE = 4;
constexpr int PHASE_CAP = 12;
constexpr int MAX_PAWNS = 8;  // a ninth pawn adds no material value

// King zone: the block a1-c3 moved by the king's rank and file, so that it stays on the board.
constexpr Bitboard BLOCK_A1_C3 = 0x070707u;
constexpr u8 zone_rank_shift[RANK_COUNT] = {0, 0, 8, 16, 24, 32, 40, 40};
constexpr u8 zone_file_shift[FILE_COUNT] = {0, 0, 1, 2, 3, 4, 5, 5};

// Pressure on the enemy king, in entries of KingDanger.
constexpr int KING_ATTACK_PAWN = 2;
constexpr int KING_ATTACK_MINOR = 2;
constexpr int KING_ATTACK_MAJOR = 3;
constexpr int KING_ATTACK_XRAY = 2;

// Centipawns that have no parameter of their own.
constexpr int OUTPOST_DEFENDED = 5;
constexpr int OUTPOST_NEAR_DIVISOR = 2;  // of the weight, for a knight that attacks an outpost
constexpr int BISHOP_CENTRE_SQUARE = 4;
constexpr int ROOK_FORWARD_SQUARE = 4;
constexpr int ROOK_FORWARD_MAX = 8;
constexpr int OPPOSITION = 5;
constexpr int HUNG_AGAIN = 2;  // times the weight, for each hanging man after the first

constexpr int knight_by_enemy_pawns[MAX_PAWNS + 1] = {0, 0, 0, 0, 4, 8, 12, 16, 20};

constexpr int ROOK_TRAPPED_MOBILITY = 5;  // fewer counted squares than this may be trapped
// Files between a wing rook and the centre on which an own king or pawn shuts the rook in.
constexpr Bitboard rook_blocking_files[FILE_COUNT] = {
    FileMask(1) | FileMask(2), FileMask(2), 0, 0, 0, 0, FileMask(5), FileMask(5) | FileMask(6)};
// Corner squares of the enemy's camp where a bishop is easily shut in: a7, h7, b8, g8 and mirrored.
constexpr Bitboard bishop_trap[2] = {
    Bit(SquareOfText("a7")) | Bit(SquareOfText("h7")) | Bit(SquareOfText("b8")) |
        Bit(SquareOfText("g8")),
    Bit(SquareOfText("a2")) | Bit(SquareOfText("h2")) | Bit(SquareOfText("b1")) |
        Bit(SquareOfText("g1")),
};

constexpr int DRAWISH_FROM = 15;  // smaller scores are never scaled

// Sums of one side's pieces while they are walked.
struct PieceSums {
    Bitboard attacks;
    Bitboard twice;
    TaperedScore value;
    int mobility = 0;
    int king_attack;
};

inline void AddAttacks(PieceSums* s, Bitboard* by_type, Bitboard targets) {
    s->twice |= s->attacks & targets;
    s->attacks |= targets;
    *by_type |= targets;
}

template <int US, typename Report>
inline void EvaluateKnights(EvalInfo* info, PieceSums* s, Report report) {
    constexpr int THEM = US ^ 1;
    const Bitboard king_targets = info->king_zone[THEM] | info->knight_checks[THEM];
    const int ending_bonus = knight_by_enemy_pawns[std::min(info->pawns[THEM], MAX_PAWNS)];
    Bitboard by_knights = 0;
    for (Bitboard knights = info->pos->bb[US][KNIGHT]; knights != 0;) {
        const int sq = PopLSB(&knights);
        const Bitboard targets = BB_KnightRays[sq];
        AddAttacks(s, &by_knights, targets);
        if (targets & king_targets) { s->king_attack += KING_ATTACK_MINOR; }
        s->mobility += eval_tables.KnightMobility[CountBits(targets & info->mobility_area[US])];
        TaperedScore value = {eval_tables.KnightOpening[RelativeSquare(sq, US)],
                              eval_tables.KnightEnding[RelativeSquare(sq, US)] + ending_bonus};
        if (info->outposts[US] & Bit(sq)) {
            value.opening += Personality.knight_outpost;
            if (info->attacks_by[US][PAWN] & Bit(sq)) { value.opening += OUTPOST_DEFENDED; }
        } else if (info->outposts[US] & targets) {
            value.opening += Personality.knight_outpost / OUTPOST_NEAR_DIVISOR;
        }
        s->value += value;
        report.Charge(info, KNIGHT_TERM, US, sq, value);
    }
    info->attacks_by[US][KNIGHT] = by_knights;
}

template <int US, typename Report>
inline void EvaluateBishops(EvalInfo* info, PieceSums* s, Report report) {
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
        s->mobility += eval_tables.BishopMobility[CountBits(targets & info->mobility_area[US])] +
                       BISHOP_CENTRE_SQUARE * CountBits(targets & BLOCK_C3_F6);
        TaperedScore value = {eval_tables.BishopOpening[RelativeSquare(sq, US)],
                              eval_tables.BishopEnding[RelativeSquare(sq, US)]};
        const Bitboard ways_out = targets & BLOCK_B2_G7 & ~info->attacks_by[THEM][PAWN];
        if ((bishop_trap[US] & Bit(sq)) && ways_out == 0) {
            value.opening += Personality.bishop_trapped;
        }
        s->value += value;
        report.Charge(info, BISHOP_TERM, US, sq, value);
    }
    info->attacks_by[US][BISHOP] = by_bishops;
}

template <int US, typename Report>
inline void EvaluateRooks(EvalInfo* info, PieceSums* s, Report report) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const Bitboard king_targets = info->king_zone[THEM] | info->rook_checks[THEM];
    const Bitboard occupied = info->occupied & ~(pos->bb[US][ROOK] | pos->bb[US][QUEEN]);
    const unsigned own_files = PawnFiles(info->pawn_entry, US);
    const unsigned enemy_files = PawnFiles(info->pawn_entry, THEM);
    Bitboard by_rooks = 0;
    for (Bitboard rooks = pos->bb[US][ROOK]; rooks != 0;) {
        const int sq = PopLSB(&rooks);
        const int file = FileOf(sq);
        const Bitboard targets = GenAttacksR(sq, occupied);
        AddAttacks(s, &by_rooks, targets);
        if (targets & king_targets) { s->king_attack += KING_ATTACK_MAJOR; }
        const int count = CountBits(targets & info->mobility_area[US]);
        const int forward = CountBits(targets & FileMask(file) & HOME_HALF[THEM]);
        s->mobility += eval_tables.RookMobility[count] +
                       std::min(ROOK_FORWARD_SQUARE * forward, ROOK_FORWARD_MAX);
        TaperedScore value = {eval_tables.RookOpening[RelativeSquare(sq, US)],
                              eval_tables.RookEnding[RelativeSquare(sq, US)]};
        if (!((own_files >> file) & 1)) {
            value += BothStages((enemy_files >> file) & 1 ? Personality.rook_half_open_file
                                                          : Personality.rook_open_file);
        } else if (count < ROOK_TRAPPED_MOBILITY &&
                   ((pos->bb[US][PAWN] | pos->bb[US][KING]) & RankMask(RankOf(sq)) &
                    rook_blocking_files[file])) {
            value.opening += Personality.rook_trapped;
        }
        if (RelativeRank(sq, US) == SEVENTH_RANK && info->back_rank_target[US]) {
            value += BothStages(Personality.rook_rank7);
        }
        s->value += value;
        report.Charge(info, ROOK_TERM, US, sq, value);
    }
    info->attacks_by[US][ROOK] = by_rooks;
}

template <int US, typename Report>
inline void EvaluateQueens(EvalInfo* info, PieceSums* s, Report report) {
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
        s->mobility += eval_tables.QueenMobility[CountBits(targets & info->mobility_area[US])];
        TaperedScore value = {eval_tables.QueenOpening[RelativeSquare(sq, US)],
                              eval_tables.QueenEnding[RelativeSquare(sq, US)]};
        if (RelativeRank(sq, US) == SEVENTH_RANK && info->back_rank_target[US]) {
            value += BothStages(Personality.queen_rank7);
        }
        s->value += value;
        report.Charge(info, QUEEN_TERM, US, sq, value);
    }
    info->attacks_by[US][QUEEN] = by_queens;
}

template <int US, typename Report>
void EvaluatePieces(EvalInfo* info, Report report) {
    PieceSums s;
    s.attacks = info->attacks[US];
    s.twice = info->attacked_twice[US];
    s.king_attack = info->king_attack[US];
    EvaluateKnights<US>(info, &s, report);
    EvaluateBishops<US>(info, &s, report);
    EvaluateRooks<US>(info, &s, report);
    EvaluateQueens<US>(info, &s, report);
    info->attacks[US] = s.attacks;
    info->attacked_twice[US] = s.twice;
    info->king_attack[US] = s.king_attack;
    info->positional[US] += s.value;
    info->mobility[US] = s.mobility;
}

template <int US>
inline void CountMaterial(EvalInfo* info) {
    const u32 sig = info->pos->sig[US];
    if (sig == info->counted[US]) { return; }
    info->counted[US] = sig;
    const int p = PawnCount(sig), n = KnightCount(sig), b = BishopCount(sig);
    const int r = RookCount(sig), q = QueenCount(sig);
    info->pawns[US] = p;
    info->knights[US] = n;
    info->bishops[US] = b;
    info->rooks[US] = r;
    info->queens[US] = q;
    info->pieces[US] = n + b + r + q;
    info->phase[US] = std::min(n + b + ROOK_PHASE * r + QUEEN_PHASE * q, PHASE_CAP);
    const int valued = std::min(p, MAX_PAWNS);
    info->material[US] = {
        eval_tables.MtlPawnOp[valued] + eval_tables.MtlKnightOp[n] + eval_tables.MtlBishopOp[b] +
            eval_tables.MtlRookOp[r] + eval_tables.MtlQueenOp[q],
        eval_tables.MtlPawnEn[valued] + eval_tables.MtlKnightEn[n] + eval_tables.MtlBishopEn[b] +
            eval_tables.MtlRookEn[r] + eval_tables.MtlQueenEn[q]};
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
    constexpr Bitboard back_rank = RankMask(US == WHITE ? FIRST_RANK : LAST_RANK);
    constexpr Bitboard second_rank = RankMask(US == WHITE ? SECOND_RANK : SEVENTH_RANK);
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
    const int shares = 1 + HUNG_AGAIN * (count - 1);
    info->positional[US] += BothStages(Personality.hung * shares);
}

// Mixed difference of both sides' sums, for White.
inline int BlendedScore(const EvalInfo* info) {
    TaperedScore difference = BothStages(info->mobility[WHITE] - info->mobility[BLACK]);
    difference += info->positional[WHITE];
    difference -= info->positional[BLACK];
    difference += info->material[WHITE];
    difference -= info->material[BLACK];
    return Blend(info->stage, difference);
}

// The general evaluation: everything after the special endings and the cache.
template <typename Report>
int EvaluateAllTerms(ThreadBlock* tb, EvalInfo* info, Report report) {
    const int side = info->pos->side;
    CountMaterial<WHITE>(info);
    CountMaterial<BLACK>(info);
    info->stage = MAX_STAGE - info->phase[WHITE] - info->phase[BLACK];
    SetUpAttacks<WHITE>(info);
    SetUpAttacks<BLACK>(info);
    SetUpKingTargets<WHITE>(info);
    SetUpKingTargets<BLACK>(info);
    info->hanging = info->pinned = 0;
    EvaluatePawns(tb, info, report);
    EvaluatePieces<WHITE>(info, report);
    EvaluatePieces<BLACK>(info, report);
    EvalKing<WHITE>(info, report);
    EvalKing<BLACK>(info, report);
    EvaluateHanging<WHITE>(info);
    EvaluateHanging<BLACK>(info);
    EvalPinnedPieces<WHITE>(info);
    EvalPinnedPieces<BLACK>(info);
    // Deliberately one-sided: only the black king above the white one.
    if (info->stage == MAX_STAGE &&
        info->king_square[BLACK] == info->king_square[WHITE] + 2 * NORTH) {
        info->positional[side].ending -= OPPOSITION;
    }
    int score = BlendedScore(info);
    if (side == BLACK) { score = -score; }
    score += eval_tables.tempo_bonus[info->stage];
    const double factor = std::abs(score) < DRAWISH_FROM ? 1.0 : DrawishnessFactor(info, score);
    report.Totals(info, factor);
    return static_cast<int>(score * factor);
}

// Evaluate, compiled for either kind of report.
template <typename Report>
int EvaluatePosition(ThreadBlock* tb, int ply, bool in_check, Report report) {
    PlyData* pd = &tb->ply_data[ply];
    pd->free_pawn_rank[WHITE] = pd->free_pawn_rank[BLACK] = 0;
    pd->hanging[WHITE] = pd->hanging[BLACK] = 0;
    pd->trivial_draw = 0;
    if (in_check) { return NO_SCORE; }

    const Position* pos = &tb->pos;
    const int side = pos->side;
    EvalInfo* info = &tb->eval_info;
    info->pos = pos;
    info->pd = pd;
    info->ply = ply;
    info->king_square[WHITE] = KingSquare(pos, WHITE);
    info->king_square[BLACK] = KingSquare(pos, BLACK);
    info->occupied = Occupied(pos);
    if (PawnCount(pos->sig[WHITE]) + PawnCount(pos->sig[BLACK]) <= 1) {
        int score;
        if (EvalSpecialEnding(info, &score, report)) { return score; }
    }

    if (Report::IN_SEARCH) { tb->eval_probes += 1; }
    const u64 key = SearchKey(pos);
    EvalCacheEntry* entry = EvalCacheSlot(tb, key, side);
    if (entry->key == key && ply >= CACHED_FROM_PLY) {
        tb->eval_hits += 1;
        pd->free_pawn_rank[WHITE] = entry->free_pawn_rank[WHITE];
        pd->free_pawn_rank[BLACK] = entry->free_pawn_rank[BLACK];
        pd->hanging[WHITE] = entry->hanging[WHITE];
        pd->hanging[BLACK] = entry->hanging[BLACK];
        return entry->score;
    }

    // Cut to the cache's field here, so that hits and misses agree under any weights.
    const i16 score =
        static_cast<i16>(std::clamp(EvaluateAllTerms(tb, info, report), INT16_MIN, INT16_MAX));
    *entry = {score,
              {pd->free_pawn_rank[WHITE], pd->free_pawn_rank[BLACK]},
              {pd->hanging[WHITE], pd->hanging[BLACK]},
              key};
    return score;
}

void AddTo(i16* sum, int value) { *sum = static_cast<i16>(*sum + value); }

}  // namespace

void ReportWriter::Charge(const EvalInfo* info, ReportTerm term, int side, int square,
                          TaperedScore value) const {
    const int blended = Blend(info->stage, value);
    AddTo(&report_->squares[square], blended);
    AddTo(&report_->terms[term][side], blended);
}

void ReportWriter::SpecialEnding(int side, int king_square, int score) const {
    report_->squares[king_square] = report_->terms[KING_TERM][side] = static_cast<i16>(score);
}

void ReportWriter::Totals(const EvalInfo* info, double factor) const {
    for (int c = WHITE; c <= BLACK; ++c) {
        report_->material[c] = static_cast<i16>(Blend(info->stage, info->material[c]));
        report_->positional[c] = static_cast<i16>(Blend(info->stage, info->positional[c]));
        report_->free_pawn_rank[c] = info->pd->free_pawn_rank[c];
    }
    report_->stage = static_cast<i16>(info->stage);
    report_->factor = factor;
    report_->hanging = info->hanging;
    report_->pinned = info->pinned;
}

int Evaluate(ThreadBlock* tb, int ply, bool in_check) {
    assert(ply >= 1 && ply < SEARCH_STACK_SIZE);
    assert(CountBits(tb->pos.bb[WHITE][KING]) == 1 && CountBits(tb->pos.bb[BLACK][KING]) == 1);
    assert(in_check == (InCheck(&tb->pos, tb->pos.side) != 0));
    return EvaluatePosition(tb, ply, in_check, NoReport());
}

int EvaluateWithReport(ThreadBlock* tb, EvalReport* report) {
    *report = EvalReport{};
    const bool in_check = InCheck(&tb->pos, tb->pos.side) != 0;
    return EvaluatePosition(tb, 1, in_check, ReportWriter(report));
}

double WinProbability(int score) {
    constexpr double steepness = 1.05;
    constexpr double decade = 400.0;  // centipawns that would tenfold the odds at steepness 1
    return 1.0 / (1.0 + std::pow(10.0, -steepness * score / decade));
}
