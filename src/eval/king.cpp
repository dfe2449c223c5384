// King safety, king activity in the ending, and pins. Called once per side after all piece terms,
// so that every attack set, check square and pressure counter of the EvalInfo is complete.
#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

#include "eval/evalhelpers.h"
#include "eval/evaluate.h"
#include "eval/personality.h"

namespace {

// When a king is in danger at all: the enemy's phase, without and with the full opening value.
constexpr int ATTACK_PHASE = 3;
constexpr int FULL_OPENING_PHASE = 4;       // with a queen
constexpr int REDUCED_OPENING_DIVISOR = 2;  // of the opening value otherwise

// Pawn cover: the three files around the king's, moved onto the board.
constexpr u8 shield_centre_file[FILE_COUNT] = {1, 1, 2, 3, 4, 5, 6, 6};  // by king file
constexpr Bitboard shield_ranks[2] = {RankMask(1) | RankMask(2), RankMask(6) | RankMask(5)};
constexpr int SHIELD_PAWNS = 2;         // own pawns next to the king that leave no hole
constexpr int SHIELD_HOLES_FREE = 2;    // more holes than these cost
constexpr int STORM_FILE_DISTANCE = 2;  // castled to opposite wings when farther apart

// Bits of a kept cover's key beside the king's square.
constexpr int COVER_STORM = 0x40;
constexpr int COVER_KEPT = 0x80;

// Pressure, in entries of KingDanger where it is not centipawns.
constexpr Bitboard SHELTERED = Bit(SquareOfText("a1")) | Bit(SquareOfText("b1")) |
                               Bit(SquareOfText("g1")) | Bit(SquareOfText("h1"));
constexpr int CONTACT_THREAT = 2;
constexpr int QUEEN_CHECK = 2;
constexpr int DANGER_MAX = 31;
constexpr int SAFE_CHECK = 8;  // centipawns

// Activity in the ending, in centipawns.
constexpr int ACTIVITY_STAGE = 13;  // the king steps out beyond this stage
constexpr int REACHES_CENTRE = 12;
constexpr int REACHES_BLOCK = 8;
constexpr int CONFINED = 12;
constexpr int PAWN_FILE_DISTANCE = 8;                                    // per file away
constexpr int king_advance[RANK_COUNT] = {0, 0, 5, 10, 15, 20, 20, 20};  // by relative rank

// By a mask of files: its first and its last file. Beyond the board where there is none.
constexpr int FILE_MASKS = 1 << FILE_COUNT;
constexpr std::array<i8, FILE_MASKS> leftbit = [] {
    std::array<i8, FILE_MASKS> table{};
    for (unsigned mask = 0; mask < table.size(); ++mask) {
        table[mask] = static_cast<i8>(mask == 0 ? FILE_COUNT : std::countr_zero(mask));
    }
    return table;
}();
constexpr std::array<i8, FILE_MASKS> rightbit = [] {
    std::array<i8, FILE_MASKS> table{};
    for (unsigned mask = 0; mask < table.size(); ++mask) {
        table[mask] = static_cast<i8>(std::bit_width(mask) - 1);
    }
    return table;
}();
static_assert(leftbit[0] == FILE_COUNT && leftbit[0b100100] == 2);
static_assert(rightbit[0] == -1 && rightbit[0b100100] == 5);

// What the pawns before a king are worth.
struct Cover {
    int value;  // centipawns of the opening
    int holes;  // pawns that are missing
};

// The cover of a king on `k`; with `storm` the enemy pawns count that have not left home.
template <int US>
Cover PawnCover(const Position* pos, int k, bool storm) {
    constexpr int THEM = US ^ 1;
    const Bitboard own = pos->bb[US][PAWN];
    const int centre = shield_centre_file[FileOf(k)];
    int holes = std::max(0, SHIELD_PAWNS - CountBits(own & BB_KingRays[k]));
    int storm_files = 0;
    for (int file = centre - 1; file <= centre + 1; ++file) {
        if ((own & shield_ranks[US] & FileMask(file)) == 0) { ++holes; }
        if (storm && (pos->bb[THEM][PAWN] & HOME_HALF[THEM] & FileMask(file)) == 0) {
            ++storm_files;
        }
    }
    return {Personality.pawn_shield * (SHIELD_HOLES_FREE - holes) +
                Personality.pawn_storm * storm_files,
            holes};
}

// The same by the pawn entry, which keeps the last one.
template <int US>
inline Cover KeptPawnCover(const EvalInfo* info, int k) {
    const int enemy_file = FileOf(info->king_square[US ^ 1]);
    const bool storm = std::abs(shield_centre_file[FileOf(k)] - enemy_file) > STORM_FILE_DISTANCE;
    const int key = COVER_KEPT | (storm ? COVER_STORM : 0) | k;
    PawnEntry* e = info->pawn_entry;
    if (e->cover_key[US] != key) {
        const Cover cover = PawnCover<US>(info->pos, k, storm);
        e->cover_key[US] = static_cast<u8>(key);
        e->cover_value[US] = cover.value;
        e->cover_holes[US] = static_cast<u8>(cover.holes);
    }
    return {e->cover_value[US], e->cover_holes[US]};
}

// Pressure of the enemy's pieces; lowers both values.
template <int US>
inline void KingPressure(EvalInfo* info, int k, int holes, int* opening, int* ending) {
    constexpr int THEM = US ^ 1;
    const Bitboard* own = info->attacks_by[US];
    const Bitboard* enemy = info->attacks_by[THEM];
    const Bitboard by_pieces = own[PAWN] | own[KNIGHT] | own[BISHOP] | own[ROOK] | own[QUEEN];
    const Bitboard zone = info->king_zone[US];
    int index =
        info->king_attack[THEM] + holes + ((SHELTERED >> RelativeSquare(k, US)) & 1 ? 0 : 1);
    index += CountBits(enemy[KNIGHT] & zone & ~own[PAWN]);
    index += CountBits(enemy[BISHOP] & zone & ~own[PAWN]);
    index += CountBits(enemy[ROOK] & zone & ~(own[PAWN] | own[KNIGHT] | own[BISHOP]));
    index += CountBits(enemy[QUEEN] & zone & ~by_pieces);

    const Bitboard safe =
        ~info->pos->bb[THEM][0] & ~by_pieces & (~BB_KingRays[k] | info->attacked_twice[THEM]);
    const Bitboard diagonal = info->bishop_checks[US] & safe;
    const Bitboard straight = info->rook_checks[US] & safe;
    int checks = CountBits(enemy[KNIGHT] & info->knight_checks[US] & safe) +
                 CountBits(enemy[BISHOP] & diagonal) + CountBits(enemy[ROOK] & straight);
    if (enemy[QUEEN] & diagonal) { checks += QUEEN_CHECK; }
    if (enemy[QUEEN] & straight) { checks += QUEEN_CHECK; }
    index += checks;
    if (enemy[QUEEN] & safe & BB_KingRays[k]) {
        index += CONTACT_THREAT;
        info->pd->hanging[US] = static_cast<i16>(info->pd->hanging[US] + QUEEN_CONTACT_DANGER);
    }
    if (info->pos->side == US) { --index; }
    *opening -= SAFE_CHECK * checks + eval_tables.KingDanger[std::clamp(index, 0, DANGER_MAX)];
    *ending -= SAFE_CHECK * checks;
}

// Ending value of an active king.
template <int US>
inline int KingActivity(EvalInfo* info, int k) {
    constexpr int THEM = US ^ 1;
    const Position* pos = info->pos;
    int value = 0;
    const Bitboard moves = BB_KingRays[k] & ~info->attacks[THEM] & ~pos->bb[US][0];
    if (moves & BLOCK_D4_E5) {
        value += REACHES_CENTRE;
    } else if (moves & BLOCK_C3_F6) {
        value += REACHES_BLOCK;
    } else if ((moves & BLOCK_B2_G7) == 0) {
        value -= CONFINED;
        info->king_confined[US] = true;
    }
    const unsigned files = PawnFiles(info->pawn_entry, WHITE) | PawnFiles(info->pawn_entry, BLACK);
    if (files != 0) {
        const int away = std::max(leftbit[files] - FileOf(k), FileOf(k) - rightbit[files]);
        if (away > 0) { value -= PAWN_FILE_DISTANCE * away; }
    }
    if (pos->bb[THEM][PAWN] & HOME_HALF[THEM]) { value += king_advance[RelativeRank(k, US)]; }
    return value;
}

}  // namespace

template <int US, typename Report>
void EvalKing(EvalInfo* info, Report report) {
    constexpr int THEM = US ^ 1;
    const int k = info->king_square[US];
    int opening = eval_tables.KingOpening[RelativeSquare(k, US)];
    int ending = eval_tables.KingEnding[RelativeSquare(k, US)];
    info->king_confined[US] = false;
    if (info->phase[THEM] >= ATTACK_PHASE) {
        const Cover cover = KeptPawnCover<US>(info, k);
        opening += cover.value;
        KingPressure<US>(info, k, cover.holes, &opening, &ending);
    }
    if (info->queens[THEM] == 0 || info->phase[THEM] < FULL_OPENING_PHASE) {
        opening /= REDUCED_OPENING_DIVISOR;
    }
    if (info->stage > ACTIVITY_STAGE) { ending += KingActivity<US>(info, k); }
    const TaperedScore value = {opening, ending};
    info->positional[US] += value;
    report.Charge(info, KING_TERM, US, k, value);
}

template void EvalKing<WHITE>(EvalInfo* info, NoReport report);
template void EvalKing<BLACK>(EvalInfo* info, NoReport report);
template void EvalKing<WHITE>(EvalInfo* info, ReportWriter report);
template void EvalKing<BLACK>(EvalInfo* info, ReportWriter report);

namespace {

// Men that stand alone between `target` and one of the sliders.
inline Bitboard SingleBlockers(const EvalInfo* info, int target, Bitboard sliders) {
    Bitboard found = 0;
    while (sliders != 0) {
        const Bitboard men = BB_Between[PopLSB(&sliders)][target] & info->occupied;
        if ((men & (men - 1)) == 0) {
            found |= men;  // one, or none
        }
    }
    return found;
}

}  // namespace

template <int US>
void EvalPinnedPieces(EvalInfo* info) {
    constexpr int THEM = US ^ 1;
    const Bitboard* own = info->pos->bb[US];
    const Bitboard* enemy = info->pos->bb[THEM];
    const int k = info->king_square[US];
    Bitboard candidates = SingleBlockers(info, k,
                                         (BB_BishopRays[k] & (enemy[BISHOP] | enemy[QUEEN])) |
                                             (BB_RookRays[k] & (enemy[ROOK] | enemy[QUEEN])));
    if (info->queens[US] == 1) {
        const int q = GetLSB(own[QUEEN]);
        candidates |= SingleBlockers(
            info, q, (BB_BishopRays[q] & enemy[BISHOP]) | (BB_RookRays[q] & enemy[ROOK]));
    }
    const Bitboard pinned = candidates & own[0] & ~own[PAWN];
    if (pinned == 0) { return; }
    info->positional[US] += BothStages(Personality.pinned * CountBits(pinned));
    info->pinned |= pinned;
}
template void EvalPinnedPieces<WHITE>(EvalInfo* info);
template void EvalPinnedPieces<BLACK>(EvalInfo* info);
