// How the engine evaluates a position at the root, and tables of such values.
#pragma once

#include <map>
#include <string>

#include "board/bitboards.h"
#include "eval/evaluate.h"
#include "support/engine.h"

// Score for the side to move, which must not be in check, computed anew.
inline int Score(const std::string& fen) {
    SetGame(fen);
    return Evaluate(ThreadData[0], 1, false);
}

// "e4 f7": a set of squares as the tables name it.
inline std::string Names(Bitboard squares) {
    std::string text;
    for (const char* gap = ""; squares != 0; gap = " ") {
        text += gap + std::string(square_name[PopLSB(&squares)]);
    }
    return text;
}

// "white,black".
template <typename T>
std::string Pair(const T* value) {
    return std::to_string(value[WHITE]) + "," + std::to_string(value[BLACK]);
}

// What an evaluation tells, by the name that the tables have for it.
using Columns = std::map<std::string, std::string>;

// The position becomes the game position and is evaluated with slot 0.
inline Columns Evaluated(const std::string& fen) {
    const Position* pos = SetGame(fen);
    const PlyData& pd = ThreadData[0]->ply_data[1];
    EvalReport r;
    const int score = EvaluateWithReport(ThreadData[0], &r);
    std::string squares;
    for (Bitboard men = Occupied(pos); men != 0;) {
        const int sq = PopLSB(&men);
        squares += Names(Bit(sq)) + ":" + std::to_string(r.squares[sq]) + (men != 0 ? " " : "");
    }
    Columns columns = {{"eval", std::to_string(score)},
                       {"stage", std::to_string(r.stage)},
                       {"factor", std::to_string(r.factor)},
                       {"mtl", Pair(r.material)},
                       {"pos", Pair(r.positional)},
                       {"hung", Names(r.hanging)},
                       {"danger", Pair(pd.hanging)},
                       {"pinned", Names(r.pinned)},
                       {"free", Pair(r.free_pawn_rank)},
                       {"runner", Pair(pd.free_pawn_rank)},
                       {"squares", squares},
                       {"dead", std::to_string(pd.trivial_draw)}};
    const i16(*line)[2] = r.terms;
    for (const char* name :
         {"pawns", "knights", "bishops", "rooks", "queens", "kings", "passers"}) {
        columns[name] = Pair(*line++);
    }
    return columns;
}

// Compares a table with the engine: position, column, value, and why.
inline void ExpectColumns(const std::string& table) {
    for (const auto& row : ReadTable(table)) {
        EXPECT_EQ(Evaluated(row[0])[row[1]], row[2]) << row[0] << ' ' << row[1] << ": " << row[3];
    }
}
