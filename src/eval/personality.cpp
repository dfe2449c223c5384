// The built-in defaults of the parameter record and everything derived from it: depth limits,
// reduction table, and the evaluation's lookup tables. Nothing has to be initialised first. Written
// while no search runs.
#include "eval/personality.h"
#include "frontend/pblock.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "eval/threadblock.h"
#include "eval/weights.h"

PersonalityRecord Personality;
PersonalityRecord DefaultPersonality;
EvalTables eval_tables;

namespace {

// Profiles of the computed piece-square tables, by rank or file (a or 1 first).
constexpr int PST_UNIT = 16;  // a shape weight of 16 counts a profile once
constexpr int centre[RANK_COUNT] = {-5, -2, 0, 1, 1, 0, -2, -5};
constexpr int king_ending[RANK_COUNT] = {-3, -1, 0, 1, 1, 0, -1, -3};
constexpr int pawn_ending_rank[RANK_COUNT] = {0, 0, 1, 4, 5, 6, 6, 0};
constexpr int king_opening_rank[RANK_COUNT] = {0, -1, -2, -3, -4, -4, -4, -4};
constexpr int king_opening_file[FILE_COUNT] = {1, 1, 0, -1, -1, 0, 1, 1};
// clang-format off
constexpr int pawn_opening[SQUARE_COUNT] = {
     0,  0,  0,  0,  0,  0,  0,  0,
    -2,  0,  0, -2, -2,  0,  0, -2,
    -2,  0,  0,  2,  2,  0,  0, -2,
    -2,  0,  3,  4,  4,  3,  0, -2,
     0,  2,  4,  5,  5,  4,  2,  0,
     0,  2,  4,  4,  4,  4,  2,  0,
     0,  2,  4,  4,  4,  4,  2,  0,
     0,  0,  0,  0,  0,  0,  0,  0,
};
// clang-format on

// Late-move reductions.
constexpr double LMR_SCALE = 0.04;
constexpr double LMR_OFFSET = 0.4;
constexpr double LMR_MAX = 3.0;          // plies
constexpr double LMR_KEPT = 2.0;         // plies that are left of the depth
constexpr double LMR_FIRST_LAYER = 1.2;  // how much less the first layer reduces
constexpr int LMR_MIN_DEPTH = 3;

// A margin or count beyond its limit switches the pruning off from that depth on.
constexpr int LAST_LIMITED_DEPTH = 5;
constexpr int MARGIN_OFF = 1000;  // centipawns
constexpr int COUNT_OFF = 200;    // moves

constexpr int BISHOPS_OF_A_PAIR = 2;

// A passer's second bonus, by relative rank.
constexpr int FIRST_PASSER_STEP = SECOND_RANK + 1;
constexpr double PASSER_STEP_SHARE = 0.65;  // of the step to the next rank's bonus
constexpr i16 PASSER_STEP_RANK7 = 60;

constexpr double MOBILITY_DECAY = -0.05;
constexpr double MOBILITY_UNIT = 0.1;
constexpr int KNIGHT_MOBILITY_ZERO = 3;  // squares that are worth nothing either way
constexpr int SLIDER_MOBILITY_ZERO = 4;

constexpr int DANGER_FREE = 5;  // attack counts up to here are harmless
constexpr int DANGER_ENTRIES = 32;
constexpr double PERCENT = 0.01;
constexpr double DANGER_POWER = 1.9;
constexpr double DANGER_SCALE = 1.6;
constexpr int DANGER_STEP = 42;  // step n adds at most this less n

constexpr int TEMPO_OPENING = 12;
constexpr int TEMPO_ENDING = 6;

// Nearest integer, halves away from zero.
i16 Rounded(double value) { return static_cast<i16>(std::lround(value)); }

void BuildMaterial(const PersonalityRecord& p, EvalTables* t) {
    for (int n = 0; n < MATERIAL_COUNTS; ++n) {
        const int pair = n >= BISHOPS_OF_A_PAIR ? p.bishop_pair : 0;
        t->MtlPawnOp[n] = static_cast<i16>(n * p.pawn_value_op);
        t->MtlPawnEn[n] = static_cast<i16>(n * p.pawn_value_en);
        t->MtlKnightOp[n] = static_cast<i16>(n * p.knight_value_op);
        t->MtlKnightEn[n] = static_cast<i16>(n * p.knight_value_en);
        t->MtlBishopOp[n] = static_cast<i16>(n * p.bishop_value_op + pair);
        t->MtlBishopEn[n] = static_cast<i16>(n * p.bishop_value_en + pair);
        t->MtlRookOp[n] = static_cast<i16>(n * p.rook_value_op);
        t->MtlRookEn[n] = static_cast<i16>(n * p.rook_value_en);
        t->MtlQueenOp[n] = static_cast<i16>(n * p.queen_value_op);
        t->MtlQueenEn[n] = static_cast<i16>(n * p.queen_value_en);
    }
}

// A square's own value of the parameter file where there is one, else the computed shape.
i16 SquareValue(i16 own, int shape, int weight) {
    return own > NO_PST_VALUE ? own : static_cast<i16>(shape * weight / PST_UNIT);
}

void BuildSquareTables(const PersonalityRecord& p, EvalTables* t) {
    for (int sq = 0; sq < SQUARE_COUNT; ++sq) {
        const int r = RankOf(sq), f = FileOf(sq);
        const int centred = centre[r] + centre[f];
        const int king_op = king_opening_rank[r] + king_opening_file[f];
        const int king_en = king_ending[r] + king_ending[f];
        t->PawnOpening[sq] = SquareValue(p.PST_op[PAWN][sq], pawn_opening[sq], p.PST_P_op);
        t->PawnEnding[sq] = SquareValue(p.PST_en[PAWN][sq], pawn_ending_rank[r], p.PST_P_en);
        t->KnightOpening[sq] = SquareValue(p.PST_op[KNIGHT][sq], centred, p.PST_N_op);
        t->KnightEnding[sq] = SquareValue(p.PST_en[KNIGHT][sq], centred, p.PST_N_en);
        t->BishopOpening[sq] = SquareValue(p.PST_op[BISHOP][sq], centred, p.PST_B_op);
        t->BishopEnding[sq] = SquareValue(p.PST_en[BISHOP][sq], centred, p.PST_B_en);
        t->RookOpening[sq] = SquareValue(p.PST_op[ROOK][sq], centre[f], p.PST_R_op);
        t->RookEnding[sq] = SquareValue(p.PST_en[ROOK][sq], centre[f], p.PST_R_en);
        t->QueenOpening[sq] = SquareValue(p.PST_op[QUEEN][sq], centred, p.PST_Q_op);
        t->QueenEnding[sq] = SquareValue(p.PST_en[QUEEN][sq], centred, p.PST_Q_en);
        t->KingOpening[sq] = SquareValue(p.PST_op[KING][sq], king_op, p.PST_K_op);
        t->KingEnding[sq] = SquareValue(p.PST_en[KING][sq], king_en, p.PST_K_en);
    }
}

void BuildPasserBonus(const PersonalityRecord& p, EvalTables* t) {
    t->PP_BONUS[FIRST_RANK] = t->PP_BONUS[LAST_RANK] = 0;
    std::copy(std::begin(p.passed_pawn_rank), std::end(p.passed_pawn_rank),
              t->PP_BONUS + SECOND_RANK);
    t->PP_BONUS2[FIRST_RANK] = t->PP_BONUS2[LAST_RANK] = 0;
    for (int r = FIRST_PASSER_STEP; r < SEVENTH_RANK; ++r) {
        t->PP_BONUS2[r] = Rounded(PASSER_STEP_SHARE * (t->PP_BONUS[r + 1] - t->PP_BONUS[r]));
    }
    t->PP_BONUS2[SECOND_RANK] = t->PP_BONUS2[FIRST_PASSER_STEP];
    t->PP_BONUS2[SEVENTH_RANK] = PASSER_STEP_RANK7;
}

void BuildMobility(const PersonalityRecord& p, EvalTables* t) {
    for (int n = 0; n < MOBILITY_COUNTS; ++n) {
        const double e = std::exp(MOBILITY_DECAY * n);
        const double slider = MOBILITY_UNIT * e * (n - SLIDER_MOBILITY_ZERO);
        t->KnightMobility[n] =
            Rounded(MOBILITY_UNIT * e * (n - KNIGHT_MOBILITY_ZERO) * p.knight_mobility);
        t->BishopMobility[n] = Rounded(slider * p.bishop_mobility);
        t->RookMobility[n] = Rounded(slider * p.rook_mobility);
        t->QueenMobility[n] = Rounded(slider * p.queen_mobility);
    }
    std::fill(t->QueenMobility + MOBILITY_COUNTS, std::end(t->QueenMobility),
              t->QueenMobility[MOBILITY_COUNTS - 1]);
}

void BuildKingDanger(const PersonalityRecord& p, EvalTables* t) {
    std::fill(std::begin(t->KingDanger), std::end(t->KingDanger), i16{0});
    for (int n = 1; n < DANGER_ENTRIES; ++n) {
        const int value =
            n <= DANGER_FREE
                ? 0
                : static_cast<int>(std::lround(std::pow(n - DANGER_FREE, DANGER_POWER) *
                                               p.king_safety * PERCENT * DANGER_SCALE));
        t->KingDanger[n] =
            static_cast<i16>(std::min(std::max(value, 0), t->KingDanger[n - 1] + DANGER_STEP - n));
    }
}

void BuildTempo(EvalTables* t) {
    for (int i = 0; i <= MAX_STAGE; ++i) {
        t->tempo_bonus[i] = Rounded(
            static_cast<double>(TEMPO_OPENING * (MAX_STAGE - i) + TEMPO_ENDING * i) / MAX_STAGE);
    }
}

// Depth before the first one of 1..5 whose entry is beyond `limit`; `otherwise` when none is.
template <typename T>
u8 LastUsefulDepth(const T (&table)[SELECTIVITY_DEPTHS], int limit, u8 otherwise) {
    for (int k = 1; k <= LAST_LIMITED_DEPTH; ++k) {
        if (table[k] > limit) { return static_cast<u8>(k - 1); }
    }
    return otherwise;
}

// Reduction in whole plies, halves away from zero, never below 0.
u8 WholePlies(double x) { return x < 0 ? u8{0} : static_cast<u8>(std::lround(x)); }

}  // namespace

void SetPersonalityDefaults(PersonalityRecord* record) {
    *record = {};
    for (const Weight& weight : AllWeights()) {
        switch (weight.kind) {
            case WeightKind::BYTE:
                *ByteField(weight, record) = static_cast<u8>(weight.initial);
                break;
            case WeightKind::WORD:
                *WordField(weight, record) = weight.initial;
                break;
            case WeightKind::SQUARES:
                std::fill_n(WordField(weight, record), SQUARE_COUNT, weight.initial);
                break;
        }
    }
}

void DeriveDepthLimits(PersonalityRecord* record) {
    record->CNP_depth = LastUsefulDepth(record->CNP_margin, MARGIN_OFF, record->CNP_depth);
    record->FP_depth = LastUsefulDepth(record->FP_margin, MARGIN_OFF, record->FP_depth);
    record->LMP_depth = LastUsefulDepth(record->LMP_count, COUNT_OFF, record->LMP_depth);
}

void BuildReductionTable(PersonalityRecord* record) {
    std::memset(record->LMR_table, 0, sizeof record->LMR_table);
    for (int d = LMR_MIN_DEPTH; d < LMR_DEPTHS; ++d) {
        for (int m = 1; m < LMR_MOVES; ++m) {
            double x = LMR_SCALE * std::sqrt(record->LMR_strength) *
                       (std::sqrt(d) + std::sqrt(m) - LMR_OFFSET);
            x = std::min({x, LMR_MAX, d - LMR_KEPT, static_cast<double>(m)});
            record->LMR_table[0][d][m] = WholePlies(x - LMR_FIRST_LAYER);
            record->LMR_table[1][d][m] = WholePlies(x);
        }
    }
}

void InitPersonality(const char* path) {
    SetPersonalityDefaults(&Personality);
    bool standard = PBlock.options.conventions.standard;
    // Without a file the defaults do.
    if (path != nullptr) { static_cast<void>(LoadConfigFile(path, &Personality, &standard)); }
    PBlock.options.conventions = {.standard = standard};
    DeriveDepthLimits(&Personality);
    BuildReductionTable(&Personality);
    DefaultPersonality = Personality;
}

void InitEval() {
    BuildMaterial(Personality, &eval_tables);
    BuildSquareTables(Personality, &eval_tables);
    BuildPasserBonus(Personality, &eval_tables);
    BuildMobility(Personality, &eval_tables);
    BuildKingDanger(Personality, &eval_tables);
    BuildTempo(&eval_tables);
    ClearEvalCaches();
}
