// The parameter record that steers evaluation and selectivity, its defaults, and the tables derived
// from it. The record is written while no search runs; InitEval rebuilds the derived tables, which
// any thread may then read.
#pragma once

#include "board/position.h"

// Stage of the game: 0 with the opening's material, 24 with pawns and kings only.
inline constexpr int MAX_STAGE = 24;

// Entries of the derived tables by counts.
inline constexpr int MATERIAL_COUNTS = 16;
inline constexpr int MOBILITY_COUNTS = 16;
inline constexpr int QUEEN_MOBILITY_COUNTS = 32;
inline constexpr int DANGER_COUNTS = 64;

inline constexpr int LMR_DEPTHS = 70;
inline constexpr int LMR_MOVES = 32;
inline constexpr int SELECTIVITY_DEPTHS = 8;  // entries of the margin and count tables
inline constexpr int PST_ROWS = 7;            // by piece type; row 0 holds no values
inline constexpr i16 NO_PST_VALUE =
    -1000;  // square without a value of its own: the computed one is used

// Centipawns unless a field is called a depth (plies), a count (moves), a strength or a percentage;
// the mobility weights and PST_x_op, PST_x_en scale shapes. Owned by the program (Personality), its
// start-up copy (DefaultPersonality) and the match's players; copied whole.
struct PersonalityRecord {
    i16 draw_score;
    u8 CNP_depth;
    u8 NMP_depth;
    u8 FP_depth;
    u8 LMP_depth;
    u8 LMR_depth;
    u8 LMR_strength;
    i16 CNP_margin[SELECTIVITY_DEPTHS];
    i16 FP_margin[SELECTIVITY_DEPTHS];
    u8 LMP_count[SELECTIVITY_DEPTHS];
    u8 LMR_table[2][LMR_DEPTHS][LMR_MOVES];  // plies, derived from LMR_strength at start-up
    i16 pawn_value_op, pawn_value_en;
    i16 knight_value_op, knight_value_en;
    i16 bishop_value_op, bishop_value_en;
    i16 rook_value_op, rook_value_en;
    i16 queen_value_op, queen_value_en;
    i16 bishop_pair;
    i16 passed_pawn_rank[6];  // relative ranks 2..7
    i16 pawn_isolated;
    i16 pawn_backward;
    i16 pawn_doubled;
    i16 pawn_weak;
    i16 pawn_candidate;
    i16 knight_mobility;
    i16 knight_outpost;
    i16 bishop_mobility;
    i16 bishop_trapped;
    i16 rook_mobility;
    i16 rook_open_file;
    i16 rook_half_open_file;
    i16 rook_rank7;
    i16 rook_trapped;
    i16 queen_mobility;
    i16 queen_rank7;
    i16 pawn_shield;
    i16 pawn_storm;
    i16 king_safety;  // percent
    i16 hung;
    i16 pinned;
    i16 PST_P_op, PST_P_en;
    i16 PST_N_op, PST_N_en;
    i16 PST_B_op, PST_B_en;
    i16 PST_R_op, PST_R_en;
    i16 PST_Q_op, PST_Q_en;
    i16 PST_K_op, PST_K_en;
    i16 PST_op[PST_ROWS][SQUARE_COUNT];
    i16 PST_en[PST_ROWS][SQUARE_COUNT];
};

extern PersonalityRecord Personality;
extern PersonalityRecord DefaultPersonality;

// What InitEval derives from the record, in centipawns. Written while no search runs; then any
// thread may read it.
struct EvalTables {
    // By the number of men of one side; two or more bishops include the pair.
    i16 MtlPawnOp[MATERIAL_COUNTS], MtlPawnEn[MATERIAL_COUNTS];
    i16 MtlKnightOp[MATERIAL_COUNTS], MtlKnightEn[MATERIAL_COUNTS];
    i16 MtlBishopOp[MATERIAL_COUNTS], MtlBishopEn[MATERIAL_COUNTS];
    i16 MtlRookOp[MATERIAL_COUNTS], MtlRookEn[MATERIAL_COUNTS];
    i16 MtlQueenOp[MATERIAL_COUNTS], MtlQueenEn[MATERIAL_COUNTS];
    // By square, from White's point of view.
    i16 PawnOpening[SQUARE_COUNT], PawnEnding[SQUARE_COUNT];
    i16 KnightOpening[SQUARE_COUNT], KnightEnding[SQUARE_COUNT];
    i16 BishopOpening[SQUARE_COUNT], BishopEnding[SQUARE_COUNT];
    i16 RookOpening[SQUARE_COUNT], RookEnding[SQUARE_COUNT];
    i16 QueenOpening[SQUARE_COUNT], QueenEnding[SQUARE_COUNT];
    i16 KingOpening[SQUARE_COUNT], KingEnding[SQUARE_COUNT];
    // By the number of target squares.
    i16 KnightMobility[MOBILITY_COUNTS], BishopMobility[MOBILITY_COUNTS];
    i16 RookMobility[MOBILITY_COUNTS], QueenMobility[QUEEN_MOBILITY_COUNTS];
    i16 KingDanger[DANGER_COUNTS];  // by attack count; from 32 on 0 and never asked
    i16 PP_BONUS[RANK_COUNT], PP_BONUS2[RANK_COUNT];  // passed pawns, by relative rank 0..7
    i16 tempo_bonus[MAX_STAGE + 1];                   // by stage
};
extern EvalTables eval_tables;

// All of the following belong to the front-end thread and require that no search runs.

// Stores every built-in default; LMR_table is zero until BuildReductionTable.
void SetPersonalityDefaults(PersonalityRecord* record);

// Derives CNP_depth, FP_depth and LMP_depth from their margin and count tables. A limit whose table
// switches nothing off stays as it was.
void DeriveDepthLimits(PersonalityRecord* record);
// Derives LMR_table from LMR_strength.
void BuildReductionTable(PersonalityRecord* record);

// Start-up fill of Personality: defaults, the parameter file at `path` (nullptr = none), limits,
// reduction table; then its copy DefaultPersonality. The file may also choose the conventions.
void InitPersonality(const char* path);

// Rebuilds eval_tables from Personality and empties the evaluation and pawn caches of every thread
// record.
void InitEval();

// Reads a parameter file over `record`: the fields whose keys occur, and into *standard whether the
// program shall keep to the published standards, when the file says so; nullptr: such a line is one
// of an unknown key. False when there is no
// such file; also, said in a line on standard error, when it is no regular file or cannot be read
// to its end. Bad lines are named on the message output and change nothing but
// themselves. (paramfile.cpp)
[[nodiscard]] bool LoadConfigFile(const char* path, PersonalityRecord* record,
                                  bool* standard = nullptr);
