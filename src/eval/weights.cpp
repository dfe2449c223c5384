// One row per weight. The order is that of the tuner's schedule, which its log shows.
#include "eval/weights.h"

#include <cassert>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace {

template <typename Field>
constexpr WeightKind KindOf() {
    if constexpr (std::is_same_v<Field, u8&>) {
        return WeightKind::BYTE;
    } else if constexpr (std::is_same_v<Field, i16&>) {
        return WeightKind::WORD;
    } else {
        static_assert(std::is_same_v<Field, i16(&)[64]>);
        return WeightKind::SQUARES;
    }
}

// A margin that no score reaches.
constexpr i16 OFF = 20000;  // centipawns

// Whether the parameter file can set a weight.
constexpr bool KEY = true;
constexpr bool NO_KEY = false;

#define VESK_FIELD(field)                                           \
    KindOf<decltype((std::declval<PersonalityRecord&>().field))>(), \
        offsetof(PersonalityRecord, field)
#define VESK_NAMED(field) #field, VESK_FIELD(field)

using enum Tuning;

// clang-format off
constexpr Weight weights[] = {
    // Selectivity of the search. Margins and counts by remaining depth.
    {VESK_NAMED(draw_score),                             0, KEY},
    {VESK_NAMED(CNP_depth),                              3, NO_KEY},
    {VESK_NAMED(NMP_depth),                              3, KEY},
    {VESK_NAMED(FP_depth),                               2, NO_KEY},
    {VESK_NAMED(LMP_depth),                              4, NO_KEY},
    {VESK_NAMED(LMR_depth),                              3, KEY},
    {VESK_NAMED(LMR_strength),                         100, KEY},
    {"CNP_margin_depth0", VESK_FIELD(CNP_margin[0]),     0, NO_KEY},
    {"CNP_margin_depth1", VESK_FIELD(CNP_margin[1]),    75, KEY},
    {"CNP_margin_depth2", VESK_FIELD(CNP_margin[2]),   150, KEY},
    {"CNP_margin_depth3", VESK_FIELD(CNP_margin[3]),   225, KEY},
    {"CNP_margin_depth4", VESK_FIELD(CNP_margin[4]),   OFF, KEY},
    {"CNP_margin_depth5", VESK_FIELD(CNP_margin[5]),   OFF, KEY},
    {"CNP_margin_depth6", VESK_FIELD(CNP_margin[6]),   OFF, NO_KEY},
    {"CNP_margin_depth7", VESK_FIELD(CNP_margin[7]),   OFF, NO_KEY},
    {"FP_margin_depth0", VESK_FIELD(FP_margin[0]),     100, NO_KEY},
    {"FP_margin_depth1", VESK_FIELD(FP_margin[1]),     200, KEY},
    {"FP_margin_depth2", VESK_FIELD(FP_margin[2]),     300, KEY},
    {"FP_margin_depth3", VESK_FIELD(FP_margin[3]),     OFF, KEY},
    {"FP_margin_depth4", VESK_FIELD(FP_margin[4]),     OFF, NO_KEY},
    {"FP_margin_depth5", VESK_FIELD(FP_margin[5]),     OFF, NO_KEY},
    {"FP_margin_depth6", VESK_FIELD(FP_margin[6]),     OFF, NO_KEY},
    {"FP_margin_depth7", VESK_FIELD(FP_margin[7]),     OFF, NO_KEY},
    {"LMP_count_depth0", VESK_FIELD(LMP_count[0]),       1, NO_KEY},
    {"LMP_count_depth1", VESK_FIELD(LMP_count[1]),       4, KEY},
    {"LMP_count_depth2", VESK_FIELD(LMP_count[2]),       7, KEY},
    {"LMP_count_depth3", VESK_FIELD(LMP_count[3]),      10, KEY},
    {"LMP_count_depth4", VESK_FIELD(LMP_count[4]),      13, KEY},
    {"LMP_count_depth5", VESK_FIELD(LMP_count[5]),     255, KEY},
    {"LMP_count_depth6", VESK_FIELD(LMP_count[6]),     255, NO_KEY},
    {"LMP_count_depth7", VESK_FIELD(LMP_count[7]),     255, NO_KEY},
    // Material.
    {VESK_NAMED(pawn_value_op),         80, KEY, TUNED, 20},
    {VESK_NAMED(pawn_value_en),        102, KEY, TUNED, 20},
    {VESK_NAMED(knight_value_op),      335, KEY, TUNED, 30},
    {VESK_NAMED(knight_value_en),      325, KEY, TUNED, 30},
    {VESK_NAMED(bishop_value_op),      335, KEY, TUNED, 30},
    {VESK_NAMED(bishop_value_en),      330, KEY, TUNED, 30},
    {VESK_NAMED(rook_value_op),        470, KEY, TUNED, 50},
    {VESK_NAMED(rook_value_en),        550, KEY, TUNED, 50},
    {VESK_NAMED(queen_value_op),      1000, KEY, TUNED, 80},
    {VESK_NAMED(queen_value_en),      1080, KEY, TUNED, 80},
    {VESK_NAMED(bishop_pair),           36, KEY, TUNED, 20},
    // Mobility.
    {VESK_NAMED(knight_mobility),       65, KEY, TUNED, 20},
    {VESK_NAMED(bishop_mobility),       48, KEY, TUNED, 20},
    {VESK_NAMED(rook_mobility),         40, KEY, TUNED, 20},
    {VESK_NAMED(queen_mobility),        30, KEY, TUNED, 20},
    // Pawns.
    {"passed_pawn_rank7", VESK_FIELD(passed_pawn_rank[5]), 106, KEY, TUNED, 30, "ppawn_r7"},
    {"passed_pawn_rank6", VESK_FIELD(passed_pawn_rank[4]),  66, KEY, SCHEDULE_ONLY, 20, "ppawn_r6"},
    {"passed_pawn_rank5", VESK_FIELD(passed_pawn_rank[3]),  36, KEY, SCHEDULE_ONLY, 20, "ppawn_r5"},
    {"passed_pawn_rank4", VESK_FIELD(passed_pawn_rank[2]),  16, KEY, SCHEDULE_ONLY, 10, "ppawn_r4"},
    {"passed_pawn_rank3", VESK_FIELD(passed_pawn_rank[1]),   6, KEY},
    {"passed_pawn_rank2", VESK_FIELD(passed_pawn_rank[0]),   6, KEY},
    {VESK_NAMED(pawn_doubled),          -5, KEY, TUNED, 6},
    {VESK_NAMED(pawn_backward),         -4, KEY, TUNED, 6},
    {VESK_NAMED(pawn_isolated),         -8, KEY, TUNED, 6},
    {VESK_NAMED(pawn_weak),             -7, KEY, TUNED, 6},
    {VESK_NAMED(pawn_candidate),        70, KEY, TUNED, 30},
    // Pieces.
    {VESK_NAMED(knight_outpost),        15, KEY, TUNED, 8},
    {VESK_NAMED(bishop_trapped),      -100, NO_KEY, TUNED},
    {VESK_NAMED(rook_open_file),        14, KEY, TUNED, 10},
    {VESK_NAMED(rook_half_open_file),    5, KEY, TUNED, 8},
    {VESK_NAMED(rook_rank7),            15, KEY, TUNED, 10},
    {VESK_NAMED(rook_trapped),         -25, KEY, TUNED, 14},
    {VESK_NAMED(queen_rank7),            6, KEY, TUNED, 10},
    // King.
    {VESK_NAMED(king_safety),          100, KEY, TUNED, 30},
    {VESK_NAMED(pawn_shield),           10, KEY, TUNED, 10},
    {VESK_NAMED(pawn_storm),           -12, KEY, TUNED, 6},
    // Threats.
    {VESK_NAMED(hung),                 -22, KEY, TUNED, 10},
    {VESK_NAMED(pinned),               -15, KEY, TUNED, 10},
    // Weights of the computed piece-square tables, in sixteenths.
    {VESK_NAMED(PST_P_op),              50, NO_KEY, TUNED},
    {VESK_NAMED(PST_P_en),              20, NO_KEY, TUNED},
    {VESK_NAMED(PST_N_op),              60, NO_KEY, TUNED},
    {VESK_NAMED(PST_N_en),              50, NO_KEY, TUNED},
    {VESK_NAMED(PST_B_op),              19, NO_KEY, TUNED},
    {VESK_NAMED(PST_B_en),              19, NO_KEY, TUNED},
    {VESK_NAMED(PST_R_op),              24, NO_KEY, TUNED},
    {VESK_NAMED(PST_R_en),               0, NO_KEY},
    {VESK_NAMED(PST_Q_op),              13, NO_KEY, TUNED},
    {VESK_NAMED(PST_Q_en),              32, NO_KEY, TUNED},
    {VESK_NAMED(PST_K_op),             165, NO_KEY, TUNED},
    {VESK_NAMED(PST_K_en),             100, NO_KEY, TUNED},
    // Square values that replace computed ones.
    {"PST_none_op",   VESK_FIELD(PST_op[0]),      NO_PST_VALUE, NO_KEY},
    {"PST_pawn_op",   VESK_FIELD(PST_op[PAWN]),   NO_PST_VALUE, KEY},
    {"PST_knight_op", VESK_FIELD(PST_op[KNIGHT]), NO_PST_VALUE, KEY},
    {"PST_bishop_op", VESK_FIELD(PST_op[BISHOP]), NO_PST_VALUE, KEY},
    {"PST_rook_op",   VESK_FIELD(PST_op[ROOK]),   NO_PST_VALUE, KEY},
    {"PST_queen_op",  VESK_FIELD(PST_op[QUEEN]),  NO_PST_VALUE, KEY},
    {"PST_king_op",   VESK_FIELD(PST_op[KING]),   NO_PST_VALUE, KEY},
    {"PST_none_en",   VESK_FIELD(PST_en[0]),      NO_PST_VALUE, NO_KEY},
    {"PST_pawn_en",   VESK_FIELD(PST_en[PAWN]),   NO_PST_VALUE, KEY},
    {"PST_knight_en", VESK_FIELD(PST_en[KNIGHT]), NO_PST_VALUE, KEY},
    {"PST_bishop_en", VESK_FIELD(PST_en[BISHOP]), NO_PST_VALUE, KEY},
    {"PST_rook_en",   VESK_FIELD(PST_en[ROOK]),   NO_PST_VALUE, KEY},
    {"PST_queen_en",  VESK_FIELD(PST_en[QUEEN]),  NO_PST_VALUE, KEY},
    {"PST_king_en",   VESK_FIELD(PST_en[KING]),   NO_PST_VALUE, KEY},
};
// clang-format on
#undef VESK_NAMED
#undef VESK_FIELD

}  // namespace

std::span<const Weight> AllWeights() { return weights; }

u8* ByteField(const Weight& weight, PersonalityRecord* record) {
    assert(weight.kind == WeightKind::BYTE);
    return reinterpret_cast<u8*>(record) + weight.offset;
}

i16* WordField(const Weight& weight, PersonalityRecord* record) {
    assert(weight.kind != WeightKind::BYTE);
    return reinterpret_cast<i16*>(reinterpret_cast<char*>(record) + weight.offset);
}

bool IsOffByDefault(const Weight& weight) { return weight.initial == OFF; }

const Weight* FindKey(std::string_view key) {
    for (const Weight& weight : weights) {
        if (weight.in_file && key == weight.name) { return &weight; }
    }
    return nullptr;
}

const char* TuningWord(const Weight& weight) {
    return weight.tuning_word != nullptr ? weight.tuning_word : weight.name;
}

const Weight* FindTuningWord(std::string_view word) {
    for (const Weight& weight : weights) {
        if (weight.tuning == TUNED && word == TuningWord(weight)) { return &weight; }
    }
    return nullptr;
}
