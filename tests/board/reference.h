// Plain second opinions for the board tests: attacks found square by square, rows of tests/data,
// and repeatable random moves. Slow and obvious on purpose; nothing here uses the engine's attack
// tables.
#pragma once

#include <random>
#include <sstream>
#include <string_view>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"
#include "frontend/pblock.h"
#include "support/engine.h"

// The squares that a piece attacks from `from`.
inline Bitboard AttacksFrom(int from, int code, Bitboard occupied = 0) {
    Bitboard attacked = 0;
    for (int to = 0; to < SQUARE_COUNT; ++to) {
        const int files = FileOf(to) - FileOf(from), ranks = RankOf(to) - RankOf(from);
        const int near = std::min(std::abs(files), std::abs(ranks));
        const int far = std::max(std::abs(files), std::abs(ranks));
        const bool pawn = near * far == 1 && (ranks > 0) == (PieceColour(code) == WHITE);
        const bool line = near == 0, diagonal = near == far, leap = near * far == 2;
        const bool reached[] = {false, pawn, leap, diagonal, line, line || diagonal, far == 1};
        bool free = far > 0;
        for (int n = 1; n < far && !leap; ++n) {
            free = free && !(occupied & Bit(from + n * (to - from) / far));
        }
        if (free && reached[PieceType(code)]) { attacked |= Bit(to); }
    }
    return attacked;
}

using Row = std::vector<std::string>;

// Calls check(position, row) for each row of a table, with the position of its first column set up.
template <typename Check>
void ForEachRow(const std::string& table, const Check& check) {
    for (const Row& row : ReadTable(table)) {
        SCOPED_TRACE(testing::PrintToString(row));
        check(SetGame(row[0]), row);
        if (testing::Test::HasFatalFailure()) { return; }
    }
}

// Positions rich in castling, en passant, promotions, pins and many pieces of a kind.
inline std::vector<std::string> SamplePositions() {
    std::vector<std::string> fens;
    for (const Row& row : ReadTable("samples.tsv")) { fens.push_back(row[0]); }
    return fens;
}

// A move without a flag by its coordinates.
constexpr Move Word(std::string_view text) {
    return MakeMoveWord(SquareOfText(text), SquareOfText(text.substr(2)));
}

// The moves of the list that GenerateAll leaves at the current ply.
inline std::vector<MoveEntry> AllMoves(Position* pos) {
    GenerateAll(pos);
    const PlyData* pd = &pos->sstack[pos->ply];
    return {pd[0].list_start, pd[1].list_start - 1};
}

// Columns of moves.tsv, the table of generated moves and of what is said of each.
inline constexpr std::size_t INDEX = 1, MOVE = 2, MOVER = 3, CAPTURED = 4, SCORE = 5, LEGAL = 6,
                             CHECK = 7, SAFE = 8, EXCHANGE = 9, COORD = 10;

// Calls check(position, entry, row) for each row of moves.tsv, with the entry of the list of moves
// that it describes.
template <typename Check>
void ForEachMoveOfTable(const Check& check) {
    ForEachRow("moves.tsv", [&check](Position* pos, const Row& row) {
        const std::vector<MoveEntry> moves = AllMoves(pos);
        check(pos, &moves.at(std::stoul(row[INDEX])), row);
    });
}

// A random legal move, 0 when there is none.
inline Move RandomMove(Position* pos, std::mt19937& random) {
    std::vector<MoveEntry> moves = AllMoves(pos);
    std::erase_if(moves, [=](const MoveEntry& e) { return !MoveIsLegal(pos, pos->side, e.move); });
    return moves.empty() ? NO_MOVE : moves[random() % moves.size()].move;
}

// Calls check(position) for each sample and after each move of random games of `plies` from there.
template <typename Check>
void ForRandomPositions(int plies, const Check& check, int games = 1) {
    std::mt19937 random(3);
    ForEachRow("samples.tsv", [&](Position* pos, const Row& row) {
        for (int game = 0; game < games; ++game) {
            SetPosition(pos, row[0].c_str());
            for (int ply = 0; ply <= plies; ++ply) {
                check(pos);
                if (const Move m = RandomMove(pos, random)) { PlayGameMove(pos, m); }
            }
        }
    });
}

// A principal variation, from index 1 on, as coordinates.
inline std::string Line(const Move* pv) {
    std::string line;
    for (int i = 1; i < PV_SIZE && pv[i] != NO_MOVE; ++i) {
        line += (line.empty() ? "" : " ") + MoveText(pv[i]);
    }
    return line;
}

// Makes the moves of a script; "null" passes and "-" takes back.
inline void Play(Position* pos, const std::string& script) {
    std::istringstream words(script);
    for (std::string word; words >> word;) {
        const Move m = ReadMove(pos, word).move;
        if (word == "-") {
            (pos->undo[pos->hist_count - 1].move == NO_MOVE ? UnmakeNullMove : UnmakeMove)(pos);
        } else if (word == "null") {
            MakeNullMove(pos);
        } else {
            ASSERT_NE(m, NO_MOVE) << word;
            MakeMove(pos, m);
        }
    }
}

// The position's text, which must end within its limit.
inline std::string Epd(const Position* pos) {
    char text[2 * EPD_FIELDS_SIZE];
    MakeEPD(pos, text);
    EXPECT_LT(std::string_view(text).size(), std::size_t{EPD_FIELDS_SIZE});
    return text;
}

// The record's content as a text, for comparisons, with or without the order of the piece lists.
inline std::string Describe(const Position* pos, bool list_order) {
    std::ostringstream text;
    text << Epd(pos) << (PositionIsSound(pos) ? "" : " unsound");
    text << ' ' << int{pos->fifty} << ' ' << pos->last_move << ' ' << pos->hist_count << ' '
         << pos->ply;
    for (int list = 0; list_order && list < 2 * PIECE_TYPES; ++list) {
        const u8* squares = pos->plist[list / PIECE_TYPES][list % PIECE_TYPES];
        while (*squares != NO_SQUARE) { text << ' ' << int{*squares++}; }
    }
    return text.str();
}
