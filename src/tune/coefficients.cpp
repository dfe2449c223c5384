#include "tune/coefficients.h"

#include <algorithm>
#include <cstdlib>

#include "board/position.h"

namespace {

// A number is believed to be right within so much, and never leaves its centre by more than that.
constexpr double LEAST_SPREAD = 6.0;
constexpr double SPREAD_SHARE = 0.2;  // of the centre's size
constexpr int LEAST_REACH = 80;       // or the centre's own size

// Large enough to stand out of the rounding of scores and tables, small enough to tell the slope.
constexpr int STEP_DIVISOR = 4;
constexpr int SHORTEST_STEP = 8;
constexpr int LONGEST_STEP = 24;

// The tables of squares follow each other in the record by piece, opening before ending.
constexpr std::size_t PST_ROW_BYTES = SQUARE_COUNT * sizeof(i16);
bool IsOfEnding(const Weight& w) { return w.offset >= offsetof(PersonalityRecord, PST_en); }
int PieceOf(const Weight& w) {
    const std::size_t first =
        IsOfEnding(w) ? offsetof(PersonalityRecord, PST_en) : offsetof(PersonalityRecord, PST_op);
    return static_cast<int>((w.offset - first) / PST_ROW_BYTES);
}

const i16* DerivedSquares(const Weight& w) {
    const EvalTables& t = eval_tables;
    const i16* const tables[][2] = {{nullptr, nullptr},
                                    {t.PawnOpening, t.PawnEnding},
                                    {t.KnightOpening, t.KnightEnding},
                                    {t.BishopOpening, t.BishopEnding},
                                    {t.RookOpening, t.RookEnding},
                                    {t.QueenOpening, t.QueenEnding},
                                    {t.KingOpening, t.KingEnding}};
    return tables[PieceOf(w)][IsOfEnding(w) ? 1 : 0];
}

bool IsTable(const Weight& w) { return w.kind == WeightKind::SQUARES; }

// What steers the search stands before the first value of the evaluation in the record.
bool IsOfEvaluation(const Weight& w) {
    return w.in_file && w.kind != WeightKind::BYTE &&
           w.offset >= offsetof(PersonalityRecord, pawn_value_op);
}

// A pawn never stands on the first or last rank.
bool IsReachable(int piece, int square) {
    return piece != PAWN || (RankOf(square) != FIRST_RANK && RankOf(square) != LAST_RANK);
}

Coefficient MakeCoefficient(const Weight& weight, int square, i16 centre) {
    const int size = std::abs(centre);
    const int reach = std::max(LEAST_REACH, size);
    return {&weight,
            square,
            IsTable(weight) ? PieceOf(weight) : NO_PIECE,
            centre,
            static_cast<i16>(centre - reach),
            static_cast<i16>(centre + reach),
            static_cast<i16>(std::clamp(size / STEP_DIVISOR, SHORTEST_STEP, LONGEST_STEP)),
            LEAST_SPREAD + SPREAD_SHARE * size};
}

PersonalityRecord BuiltInWithSquares() {
    const PersonalityRecord kept = Personality;
    SetPersonalityDefaults(&Personality);
    InitEval();
    const PersonalityRecord built_in = WithSquaresWrittenOut(Personality);
    Personality = kept;
    InitEval();
    return built_in;
}

// "key =" and eight lines, rank 8 first.
std::string TableText(const Weight& weight, const i16* squares) {
    std::string text = std::string(weight.name) + " =\n";
    for (int rank = LAST_RANK; rank >= FIRST_RANK; --rank) {
        for (int file = 0; file < FILE_COUNT; ++file) {
            if (file > 0) { text += ' '; }
            text += std::to_string(squares[SquareOf(file, rank)]);
        }
        text += '\n';
    }
    return text;
}

std::string LineText(const Weight& weight, int value) {
    return std::string(weight.name) + " = " + std::to_string(value) + "\n";
}

}  // namespace

PersonalityRecord WithSquaresWrittenOut(const PersonalityRecord& record) {
    PersonalityRecord out = record;
    for (const Weight& w : AllWeights()) {
        if (!w.in_file || !IsTable(w)) { continue; }
        std::copy_n(DerivedSquares(w), SQUARE_COUNT, WordField(w, &out));
    }
    return out;
}

std::vector<Coefficient> EvaluationCoefficients(const PersonalityRecord& centre) {
    PersonalityRecord record = centre;
    std::vector<Coefficient> all;
    for (const Weight& w : AllWeights()) {
        if (!IsOfEvaluation(w)) { continue; }
        const i16* values = WordField(w, &record);
        const int count = IsTable(w) ? SQUARE_COUNT : 1;
        for (int i = 0; i < count; ++i) {
            if (IsTable(w) && !IsReachable(PieceOf(w), i)) { continue; }
            all.push_back(MakeCoefficient(w, i, values[i]));
        }
    }
    return all;
}

i16* FieldOf(const Coefficient& coefficient, PersonalityRecord* record) {
    return WordField(*coefficient.weight, record) + coefficient.square;
}

std::string NameOf(const Coefficient& coefficient) {
    const std::string name = coefficient.weight->name;
    return coefficient.piece == NO_PIECE ? name : name + " " + square_name[coefficient.square];
}

std::string ParameterText(const PersonalityRecord& record) {
    PersonalityRecord now = record, before = BuiltInWithSquares();
    std::string text;
    for (const Weight& w : AllWeights()) {
        if (!w.in_file) { continue; }
        if (w.kind == WeightKind::BYTE) {
            const u8 value = *ByteField(w, &now);
            if (value != *ByteField(w, &before)) { text += LineText(w, value); }
            continue;
        }
        const i16* values = WordField(w, &now);
        const int count = IsTable(w) ? SQUARE_COUNT : 1;
        if (std::equal(values, values + count, WordField(w, &before))) { continue; }
        text += IsTable(w) ? TableText(w, values) : LineText(w, *values);
    }
    return text;
}
