// Plain second opinions for the board tests: attacks found by walking square by square, sample
// positions, and repeatable random moves. Slow and obvious on purpose; nothing here uses the
// engine's attack tables.
#pragma once

#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"
#include "frontend/pblock.h"
#include "support/engine.h"

using Steps = std::vector<std::pair<int, int>>;  // files and ranks

inline const Steps rook_steps = {{0, 1}, {0, -1}, {1, 0}, {-1, 0}};
inline const Steps bishop_steps = {{-1, 1}, {1, 1}, {1, -1}, {-1, -1}};
inline const Steps king_steps = {{0, 1},  {0, -1}, {1, 0},  {-1, 0},
                                 {-1, 1}, {1, 1},  {1, -1}, {-1, -1}};
inline const Steps knight_steps = {{1, 2},   {2, 1},   {2, -1}, {1, -2},
                                   {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};
inline const Steps pawn_steps[2] = {{{-1, 1}, {1, 1}}, {{-1, -1}, {1, -1}}};

// Squares reached by up to `length` equal steps in each direction, the first occupied one included.
inline Bitboard Walk(int square, const Steps& steps, int length = 7, Bitboard occupied = 0) {
    Bitboard seen = 0;
    for (const auto& [files, ranks] : steps) {
        for (int n = 1; n <= length; ++n) {
            const int file = FileOf(square) + files * n, rank = RankOf(square) + ranks * n;
            if (file < 0 || file > 7 || rank < 0 || rank > 7) { break; }
            seen |= Bit(rank * 8 + file);
            if (occupied & Bit(rank * 8 + file)) { break; }
        }
    }
    return seen;
}

// Everything `side` attacks.
inline Bitboard ReferenceAttacked(const Position* pos, int side) {
    const Steps* steps[] = {nullptr,     &pawn_steps[side], &knight_steps, &bishop_steps,
                            &rook_steps, &king_steps,       &king_steps};
    Bitboard occupied = 0, attacked = 0;
    for (int s = 0; s < 64; ++s) {
        if (pos->board[s]) { occupied |= Bit(s); }
    }
    for (int s = 0; s < 64; ++s) {
        const int type = PieceType(pos->board[s]);
        if (type == 0 || PieceColour(pos->board[s]) != side) { continue; }
        const bool slides = type == BISHOP || type == ROOK || type == QUEEN;
        attacked |= Walk(s, *steps[type], slides ? 7 : 1, occupied);
    }
    return attacked;
}

// Positions rich in castling, en passant, promotions, pins and many pieces of a kind.
inline const std::vector<std::string>& SamplePositions() {
    static const std::vector<std::string> samples = [] {
        std::vector<std::string> fens;
        for (const auto& row : ReadTable("samples.tsv")) { fens.push_back(row[0]); }
        return fens;
    }();
    return samples;
}

// Columns of moves.tsv, the table of generated moves and of what is said of each.
enum MoveColumn : std::size_t {
    FEN,
    INDEX,
    MOVE,
    MOVER,
    CAPTURED,
    SCORE,
    LEGAL,
    CHECK,
    SAFE,
    EXCHANGE,
    COORD,
};

// Calls check(position, entry, row) for each row of moves.tsv: the position is set up, and the
// entry is the one of its list that the row describes.
template <typename Check>
void ForEachMoveOfTable(const Check& check) {
    std::string fen;
    for (const std::vector<std::string>& row : ReadTable("moves.tsv")) {
        if (row[FEN] != fen) { GenerateAll(SetGame(fen = row[FEN])); }
        Position* pos = game_position;
        check(pos, pos->sstack[pos->ply].list_start + std::stoi(row[INDEX]), row);
        if (testing::Test::HasFatalFailure()) { return; }
    }
}

// A move without a flag by its coordinates.
constexpr Move Word(std::string_view text) {
    return MakeMoveWord(text[0] - 'a' + (text[1] - '1') * 8, text[2] - 'a' + (text[3] - '1') * 8);
}

// The moves of the list that GenerateAll leaves at the current ply.
inline std::vector<MoveEntry> AllMoves(Position* pos) {
    GenerateAll(pos);
    std::vector<MoveEntry> moves;
    for (const MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e) {
        moves.push_back(*e);
    }
    return moves;
}

inline std::vector<Move> LegalMoves(Position* pos) {
    std::vector<Move> legal;
    for (const MoveEntry& e : AllMoves(pos)) {
        if (MoveIsLegal(pos, pos->side, e.move)) { legal.push_back(e.move); }
    }
    return legal;
}

// A random legal move, 0 when there is none.
inline Move RandomMove(Position* pos, std::mt19937& random) {
    const std::vector<Move> legal = LegalMoves(pos);
    return legal.empty() ? NO_MOVE : legal[random() % legal.size()];
}

// A principal variation, from index 1 on, as coordinates.
inline std::string Line(const Move* pv) {
    std::string line;
    for (int i = 1; i < PV_SIZE && pv[i] != NO_MOVE; ++i) {
        line += (line.empty() ? "" : " ") + MoveText(pv[i]);
    }
    return line;
}

// Takes back the last move or null move.
inline void TakeBack(Position* pos) {
    if (pos->undo[pos->hist_count - 1].move == NO_MOVE) {
        UnmakeNullMove(pos);
    } else {
        UnmakeMove(pos);
    }
}

// Makes the legal moves of a script of coordinates; "null" passes and "-" takes back.
inline void Play(Position* pos, const std::string& script) {
    std::istringstream words(script);
    for (std::string word; words >> word;) {
        Move found = NO_MOVE;
        for (Move m : LegalMoves(pos)) {
            if (MoveText(m) == word) { found = m; }
        }
        if (word == "-") {
            TakeBack(pos);
        } else if (word == "null") {
            MakeNullMove(pos);
        } else if (found != NO_MOVE) {
            MakeMove(pos, found);
        } else {
            ADD_FAILURE() << word << " is not legal";
        }
    }
}

// The record's content as a text, for comparisons, with or without the order of the piece lists.
inline std::string Describe(const Position* pos, bool list_order) {
    std::ostringstream text;
    text << std::string(pos->board, pos->board + 65);
    for (int c = 0; c < 2; ++c) {
        for (int t = 0; t < 8; ++t) {
            text << ' ' << pos->bb[c][t];
            for (int i = 0; list_order && pos->plist[c][t][i] != NO_SQUARE; ++i) {
                text << ' ' << int{pos->plist[c][t][i]};
            }
        }
        text << ' ' << pos->sig[c] << ' ' << pos->npm[c];
    }
    for (int field : {int{pos->side}, int{pos->castle}, int{pos->ep_square}, int{pos->fifty},
                      int{pos->last_move}, int{pos->hist_count}, int{pos->ply}}) {
        text << ' ' << field;
    }
    text << ' ' << pos->hash << ' ' << pos->pawn_hash;
    return text.str();
}
