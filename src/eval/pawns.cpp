// Pawn structure and passed pawns. What depends on the pawns alone is kept in the thread's pawn
// cache by pawn_hash; what kings and pieces decide is computed on every call. A zero-filled entry
// is right for a board without pawns, whose key is 0.
#include <algorithm>

#include "eval/evalhelpers.h"
#include "eval/evaluate.h"
#include "eval/personality.h"
#include "eval/threadblock.h"

namespace {

// The ranks here are relative and numbered from 0.

// Structure. Centipawns that have no weight of their own.
constexpr int PAWN_DEFENDED = 3;
constexpr int CENTRE_PAWN_SAFE = 8;  // a defended pawn on c5-f6 that no enemy pawn can ever attack
constexpr int CENTRE_PAWN = 4;
constexpr int BLOCKED_PAWN = 2;
constexpr int BLOCKED_CENTRE_PAWN = 12;  // more for a pawn that never left d2 or e2

constexpr Bitboard FILES_C_TO_F = FileMask(2) | FileMask(3) | FileMask(4) | FileMask(5);
constexpr Bitboard C5_F6[2] = {
    (RankMask(4) | RankMask(5)) & FILES_C_TO_F,
    (RankMask(3) | RankMask(2)) & FILES_C_TO_F,
};
constexpr Bitboard D2_E2 = Bit(SquareOfText("d2")) | Bit(SquareOfText("e2"));
constexpr Bitboard D7_E7 = Bit(SquareOfText("d7")) | Bit(SquareOfText("e7"));
constexpr Bitboard OUTPOST_AREA[2] = {
    (RankMask(3) | RankMask(4) | RankMask(5) | RankMask(6)) & FILES_B_TO_G,
    (RankMask(4) | RankMask(3) | RankMask(2) | RankMask(1)) & FILES_B_TO_G,
};

constexpr int BACKWARD_BELOW_RANK = 4;

constexpr int WEIGHT_UNIT = 256;  // weights are in 256ths where they are not centipawns

// Candidates for a passed pawn.
constexpr int CANDIDATE_FROM_RANK = 3;
constexpr int CANDIDATE_RANK_BASE = 2;  // the rank that counts nothing
constexpr int CANDIDATE_RANK_WEIGHT = 32;
constexpr int CANDIDATE_KING_WEIGHT = 24;

// Passed pawns. What is divided here is the base value.
constexpr int REAR_PASSER_DIVISOR = 3;  // the rear one of doubled passers, instead of all else
constexpr int FREE_PASSER = 4;          // centipawns, and a share
constexpr int FREE_DIVISOR = 4;
constexpr int BLOCKED_DIVISOR = 8;
constexpr int SUPPORTED_DIVISOR = 4;
constexpr int OUTRUN_DIVISOR = 4;      // the enemy king is outside the pawn's square
constexpr int PAWN_RACE_DIVISOR = 2;   // and more of it among kings and pawns
constexpr int KING_GUARD_DIVISOR = 4;  // the own king stands by the pawn's way
constexpr int KING_GUARD_ABOVE_RANK = 3;
constexpr int FAR_PATH_ABOVE_RANK = 3;  // a path that is clear up to a higher rank counts
constexpr int OPENING_WEIGHT = 165;     // of the value in the ending
constexpr int ENEMY_KING_FACTOR = 2;    // the enemy king's distance counts so much more
constexpr int king_distance_weight[9] = {0, 20, 38, 54, 68, 80, 90, 98, 98};

// Pawn races.
constexpr int RACE_LEAD = 2;   // moves ahead that decide a race
constexpr int RACE_ABOVE = 3;  // race values up to here are too slow to count
constexpr int RACE_WON = 100;  // centipawns

// The square `steps` ahead. Wraps where it would leave the board.
template <int US>
constexpr int SquareAhead(int square, int steps) {
    return (square + steps * pawn_dir[US]) & LAST_SQUARE;
}

// True when no enemy pawn keeps the pawn from passing in an exchange of pawns on its way.
template <int US>
bool IsCandidate(const Position* pos, int sq, Bitboard enemy_span) {
    constexpr int THEM = US ^ 1;
    const Bitboard supporters = BB_AdjacentSquares[sq] & pos->bb[US][PAWN];
    Bitboard sentries = BB_PawnSpan[US][SquareAhead<US>(sq, 1)] & pos->bb[THEM][PAWN];
    const Bitboard two_ahead = Ahead<US>(Ahead<US>(supporters));
    sentries &= ~two_ahead;
    if ((supporters & enemy_span) == 0) { sentries &= ~Ahead<US>(two_ahead); }
    return sentries == 0;
}

// Structure scores, masks and candidates of one side's pawns. Spans and the passed set must be
// there.
template <int US, typename Report>
void ScoreStructure(const EvalInfo* info, PawnEntry* e, Report report) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const Bitboard own = pos->bb[US][PAWN], enemy = pos->bb[THEM][PAWN];
    const Bitboard own_attacks = info->attacks_by[US][PAWN];
    const Bitboard own_span = e->attack_span[US], enemy_span = e->attack_span[THEM];
    const Bitboard unopposed = own & ~AllAhead<THEM>(enemy);
    TaperedScore sum;
    int mask = 0;
    for (Bitboard pawns = own; pawns != 0;) {
        const int sq = PopLSB(&pawns);
        const Bitboard bit = Bit(sq);
        const int file = FileOf(sq), r = RelativeRank(sq, US);
        mask |= 1 << file | 1 << (FILE_COUNT + RankOf(sq));
        int opening = eval_tables.PawnOpening[RelativeSquare(sq, US)];
        int both = 0;
        if (own & FileMask(file) & ~bit) { both += Personality.pawn_doubled; }
        if ((Ahead<US>(bit) & own_span) == 0) {
            if (r < BACKWARD_BELOW_RANK) { both += Personality.pawn_backward; }
            if ((own & BB_AdjacentFiles[file]) == 0) { both += Personality.pawn_isolated; }
            if (unopposed & bit) { both += Personality.pawn_weak; }
        }
        if ((e->passed & bit) == 0) {
            if (own_attacks & bit) {
                both += PAWN_DEFENDED;
                if (C5_F6[US] & bit) {
                    opening += enemy_span & bit ? CENTRE_PAWN : CENTRE_PAWN_SAFE;
                }
            }
            if (r >= CANDIDATE_FROM_RANK && (unopposed & bit) &&
                IsCandidate<US>(pos, sq, enemy_span)) {
                e->candidates |= bit;
            }
        }
        const TaperedScore value = {opening + both,
                                    eval_tables.PawnEnding[RelativeSquare(sq, US)] + both};
        sum += value;
        report.Charge(info, PAWN_TERM, US, sq, value);
    }
    e->mask[US] = static_cast<u16>(mask);
    e->opening[US] = static_cast<i16>(sum.opening);
    e->ending[US] = static_cast<i16>(sum.ending);
}

template <typename Report>
void BuildPawnEntry(const EvalInfo* info, PawnEntry* e, Report report) {
    const Bitboard white = info->pos->bb[WHITE][PAWN], black = info->pos->bb[BLACK][PAWN];
    const Bitboard white_path = AllAhead<WHITE>(white), black_path = AllAhead<BLACK>(black);
    e->key = info->pos->pawn_hash;
    e->attack_span[WHITE] = Sideways(white_path);
    e->attack_span[BLACK] = Sideways(black_path);
    e->passed = (white & ~(e->attack_span[BLACK] | black_path)) |
                (black & ~(e->attack_span[WHITE] | white_path));
    e->candidates = 0;
    e->cover_key[WHITE] = e->cover_key[BLACK] = 0;
    ScoreStructure<WHITE>(info, e, report);
    ScoreStructure<BLACK>(info, e, report);
}

template <int US>
inline void ScoreBlocked(EvalInfo* info) {
    constexpr Bitboard centre_pawns = US == WHITE ? D2_E2 : D7_E7;
    const Bitboard blocked = info->pos->bb[US][PAWN] & Ahead<US ^ 1>(info->occupied);
    const int cost =
        BLOCKED_PAWN * CountBits(blocked) + BLOCKED_CENTRE_PAWN * CountBits(blocked & centre_pawns);
    info->positional[US] -= BothStages(cost);
}

// Only the most advanced candidate of a side counts.
template <int US, typename Report>
inline void ScoreCandidate(EvalInfo* info, Report report) {
    const Bitboard candidates = info->pawn_entry->candidates & info->pos->bb[US][PAWN];
    if (candidates == 0) { return; }
    const int sq = US == WHITE ? GetMSB(candidates) : GetLSB(candidates);
    const int d = distance(info->king_square[US ^ 1], SquareAhead<US>(sq, 2));
    const int advance = RelativeRank(sq, US) - CANDIDATE_RANK_BASE;
    const int ending = (advance * CANDIDATE_RANK_WEIGHT + d * CANDIDATE_KING_WEIGHT) *
                       Personality.pawn_candidate / WEIGHT_UNIT;
    info->positional[US].ending += ending;
    report.Charge(info, PASSER_TERM, US, sq, {0, ending});
}

// True when `square` is attacked by a man of `side`, lines judged over `occupied`.
inline bool Attacked(const Position* pos, int square, int side, Bitboard diagonal,
                     Bitboard straight) {
    const Bitboard* men = pos->bb[side];
    return ((BB_PawnRays[side ^ 1][square] & men[PAWN]) | (BB_KnightRays[square] & men[KNIGHT]) |
            (BB_KingRays[square] & men[KING]) | (diagonal & (men[BISHOP] | men[QUEEN])) |
            (straight & (men[ROOK] | men[QUEEN]))) != 0;
}

// Walks the passer's path with the passer off the board, as far as the squares are empty and safe
// or guarded. Returns the rank of the last square that passed, r when none did.
template <int US>
int ScanPath(const EvalInfo* info, int sq, int r) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const Bitboard occupied = info->occupied ^ Bit(sq);
    while (r < LAST_RANK) {
        sq += pawn_dir[US];
        if (occupied & Bit(sq)) { break; }
        const Bitboard diagonal = GenAttacksB(sq, occupied);
        const Bitboard straight = GenAttacksR(sq, occupied);
        if (Attacked(pos, sq, THEM, diagonal, straight) &&
            !Attacked(pos, sq, US, diagonal, straight)) {
            break;
        }
        ++r;
    }
    return r;
}

// What a passer is worth in the ending, the rear one of doubled passers excepted; a free one sets
// the side's free-pawn rank, one that outruns the enemy king the side's race value.
template <int US>
int PasserValue(EvalInfo* info, int sq) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    const Bitboard bit = Bit(sq);
    const int r = RelativeRank(sq, US);
    const int to_move = pos->side == US ? 1 : 0;
    const int enemy_king = info->king_square[THEM];
    const int king_target = SquareAhead<US>(sq, r == SEVENTH_RANK ? 1 : 2);
    const int own_distance = distance(info->king_square[US], king_target);
    const int enemy_distance = distance(enemy_king, king_target);
    const int reached = ScanPath<US>(info, sq, r);
    const bool free =
        reached == LAST_RANK || (r == SEVENTH_RANK && (BB_PawnRays[US][sq] & pos->bb[THEM][0]));
    int base = eval_tables.PP_BONUS[r];
    if (free || (reached > r && reached > FAR_PATH_ABOVE_RANK)) {
        base += eval_tables.PP_BONUS2[r];
    }
    int value = base;
    if (free) {
        value += FREE_PASSER + base / FREE_DIVISOR;
        u8* free_rank = &info->pd->free_pawn_rank[US];
        *free_rank = std::max(*free_rank, static_cast<u8>(r));
    }
    if (Ahead<US>(bit) & pos->bb[THEM][0]) { value -= base / BLOCKED_DIVISOR; }
    if (BB_AdjacentSquares[sq] & pos->bb[US][PAWN]) { value += base / SUPPORTED_DIVISOR; }
    value += (ENEMY_KING_FACTOR * king_distance_weight[enemy_distance] -
              king_distance_weight[own_distance]) *
             base / WEIGHT_UNIT;
    const int promotion = RelativeSquare(SquareOf(FileOf(sq), LAST_RANK), US);
    if (RANK_COUNT - r - to_move < distance(enemy_king, promotion)) {
        value += base / OUTRUN_DIVISOR;
        if (info->stage == MAX_STAGE) {
            value += base / PAWN_RACE_DIVISOR;
            const int race = to_move + r + (r == SECOND_RANK ? 1 : 0) - (free ? 0 : 1);
            info->race[US] = std::max(info->race[US], race);
        }
    }
    if (r > KING_GUARD_ABOVE_RANK && own_distance <= 1) { value += base / KING_GUARD_DIVISOR; }
    return value;
}

template <int US, typename Report>
void ScorePasser(EvalInfo* info, int sq, Report report) {
    TaperedScore value;
    if (AllAhead<US>(Bit(sq)) & info->pos->bb[US][PAWN]) {
        value = BothStages(eval_tables.PP_BONUS[RelativeRank(sq, US)] / REAR_PASSER_DIVISOR);
    } else {
        value.ending = PasserValue<US>(info, sq);
        value.opening = value.ending * OPENING_WEIGHT / WEIGHT_UNIT;
    }
    info->positional[US] += value;
    report.Charge(info, PASSER_TERM, US, sq, value);
}

template <int US, typename Report>
inline void ScorePassers(EvalInfo* info, Report report) {
    for (Bitboard b = info->pawn_entry->passed & info->pos->bb[US][PAWN]; b != 0;) {
        ScorePasser<US>(info, PopLSB(&b), report);
    }
}

template <int US>
inline void ScoreRace(EvalInfo* info) {
    const int own = info->race[US], enemy = info->race[US ^ 1];
    if (own >= enemy + RACE_LEAD && own > RACE_ABOVE) { info->positional[US].ending += RACE_WON; }
}

}  // namespace

template <typename Report>
void EvaluatePawns(ThreadBlock* tb, EvalInfo* info, Report report) {
    if (Report::IN_SEARCH) { tb->pawn_probes += 1; }
    PawnEntry* e = PawnCacheSlot(tb, info->pos->pawn_hash);
    if (e->key == info->pos->pawn_hash && info->ply >= CACHED_FROM_PLY) {
        tb->pawn_hits += 1;
    } else {
        BuildPawnEntry(info, e, report);
    }
    info->pawn_entry = e;
    for (int c = WHITE; c <= BLACK; ++c) {
        info->positional[c] = {e->opening[c], e->ending[c]};
        info->outposts[c] = OUTPOST_AREA[c] & ~e->attack_span[c ^ 1];
        info->race[c] = 0;
    }
    ScoreBlocked<WHITE>(info);
    ScoreBlocked<BLACK>(info);
    ScoreCandidate<WHITE>(info, report);
    ScoreCandidate<BLACK>(info, report);
    if (e->passed != 0) {
        ScorePassers<WHITE>(info, report);
        ScorePassers<BLACK>(info, report);
        ScoreRace<WHITE>(info);
        ScoreRace<BLACK>(info);
    }
}
template void EvaluatePawns(ThreadBlock* tb, EvalInfo* info, NoReport report);
template void EvaluatePawns(ThreadBlock* tb, EvalInfo* info, ReportWriter report);
