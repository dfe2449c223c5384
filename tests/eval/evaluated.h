// How the engine evaluates a position at the root, and tables of such values.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>

#include "board/bitboards.h"
#include "eval/evaluate.h"
#include "support/engine.h"

// The report of a position, which becomes the game position, evaluated with slot 0.
inline EvalReport ReportOf(const std::string& fen) {
    SetGame(fen);
    EvalReport report;
    EvaluateWithReport(ThreadData[0], &report);
    return report;
}

// Score for the side to move, which must not be in check, computed anew.
inline int Score(const std::string& fen) {
    SetGame(fen);
    return Evaluate(ThreadData[0], 1, false);
}

// "e4 f7": a set of squares as the tables name it.
inline std::string Names(Bitboard squares) {
    std::string text;
    while (squares != 0) {
        if (!text.empty()) { text += " "; }
        text += square_name[PopLSB(&squares)];
    }
    return text;
}

// Compares lines of the report with a table: position, line, values of both sides, reason.
inline void ExpectLines(const std::string& table) {
    constexpr const char* names[REPORT_TERMS] = {"pawns",  "knights", "bishops", "rooks",
                                                 "queens", "kings",   "passers"};
    for (const auto& row : ReadTable(table)) {
        const EvalReport report = ReportOf(row[0]);
        const i16* values = row[1] == "positional" ? report.positional : nullptr;
        for (int term = 0; term < REPORT_TERMS; ++term) {
            if (row[1] == names[term]) { values = report.terms[term]; }
        }
        ASSERT_NE(values, nullptr) << row[1];
        const std::string found =
            std::to_string(values[WHITE]) + "," + std::to_string(values[BLACK]);
        EXPECT_EQ(found, row[2]) << row[0] << ' ' << row[1] << ": " << row[3];
    }
}
