// Plain second opinions for the board tests: attacks found by walking square by square, sample
// positions, and repeatable random moves. Slow and obvious on purpose; nothing here uses the
// engine's attack tables.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"

inline constexpr int reference_rook_steps[4][2] = {{0, 1}, {0, -1}, {1, 0}, {-1, 0}};
inline constexpr int reference_bishop_steps[4][2] = {{-1, 1}, {1, 1}, {1, -1}, {-1, -1}};

// The square (file, rank) steps away from `square` as a set; empty off the board.
inline Bitboard Offset(int square, int files, int ranks) {
    const int file = FileOf(square) + files;
    const int rank = RankOf(square) + ranks;
    if (file < 0 || file > 7 || rank < 0 || rank > 7) return 0;
    return Bit(rank * 8 + file);
}

// Squares in one direction up to and including the first occupied one.
inline Bitboard Walk(int square, const int (&step)[2], Bitboard occupied) {
    Bitboard seen = 0;
    for (int n = 1; n < 8; ++n) {
        const Bitboard next = Offset(square, step[0] * n, step[1] * n);
        seen |= next;
        if (next == 0 || (next & occupied)) break;
    }
    return seen;
}

inline Bitboard WalkLines(int square, const int (&steps)[4][2], Bitboard occupied) {
    Bitboard seen = 0;
    for (const auto& step : steps) seen |= Walk(square, step, occupied);
    return seen;
}

inline Bitboard KnightJumps(int square) {
    Bitboard jumps = 0;
    for (int a : {-1, 1})
        for (int b : {-2, 2}) jumps |= Offset(square, a, b) | Offset(square, b, a);
    return jumps;
}

inline Bitboard KingSteps(int square) {
    Bitboard steps = 0;
    for (int f = -1; f <= 1; ++f)
        for (int r = -1; r <= 1; ++r)
            if (f != 0 || r != 0) steps |= Offset(square, f, r);
    return steps;
}

inline Bitboard PawnAttacks(int colour, int square) {
    const int up = colour == WHITE ? 1 : -1;
    return Offset(square, -1, up) | Offset(square, 1, up);
}

// Everything the piece on `square` attacks.
inline Bitboard ReferenceAttacks(const Position* pos, int square, Bitboard occupied) {
    const int code = pos->board[square];
    Bitboard attacks = 0;
    switch (PieceType(code)) {
        case PAWN:
            return PawnAttacks(PieceColour(code), square);
        case KNIGHT:
            return KnightJumps(square);
        case KING:
            return KingSteps(square);
        default:
            break;
    }
    if (PieceType(code) != ROOK) attacks |= WalkLines(square, reference_bishop_steps, occupied);
    if (PieceType(code) != BISHOP) attacks |= WalkLines(square, reference_rook_steps, occupied);
    return attacks;
}

// Everything `side` attacks, the piece on `without` taken off the board first (NO_SQUARE = none).
inline Bitboard ReferenceAttacked(const Position* pos, int side, int without = NO_SQUARE) {
    Bitboard occupied = 0;
    for (int s = 0; s < 64; ++s)
        if (pos->board[s] && s != without) occupied |= Bit(s);
    Bitboard attacked = 0;
    for (int s = 0; s < 64; ++s)
        if ((occupied & Bit(s)) && PieceColour(pos->board[s]) == side)
            attacked |= ReferenceAttacks(pos, s, occupied);
    return attacked;
}

// Positions rich in castling, en passant, promotions, pins and many pieces of a kind.
inline const std::vector<std::string>& SamplePositions() {
    static const std::vector<std::string> samples = {
        fen_opn,
        "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
        "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
        "r3k2r/Pppp1ppp/1b3nbN/nP6/BBP1P3/q4N2/Pp1P2PP/R2Q1RK1 w kq -",
        "rnbqkbnr/pppp1pp1/8/3Pp2p/3Q4/8/PPP1PPPP/RNB1KBNR w KQkq e6",
        "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - -",
        "4k3/8/8/2pPp3/8/8/3PPP2/R3K2R w KQ c6",
        "kn1QQQQ1/pp1QQQQQ/8/8/8/8/PP4qq/KNqqqqq1 w - -",
        "r6r/1b2k1bq/8/8/7B/8/8/R3K2R b KQ -",
    };
    return samples;
}

// The moves of the list that GenerateAll leaves at the current ply.
inline std::vector<MoveEntry> AllMoves(Position* pos) {
    GenerateAll(pos);
    std::vector<MoveEntry> moves;
    for (const MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e)
        moves.push_back(*e);
    return moves;
}

inline std::vector<Move> LegalMoves(Position* pos) {
    std::vector<Move> legal;
    for (const MoveEntry& e : AllMoves(pos))
        if (MoveIsLegal(pos, pos->side, e.move)) legal.push_back(e.move);
    return legal;
}

// A random legal move, 0 when there is none.
inline Move RandomMove(Position* pos, std::mt19937& random) {
    const std::vector<Move> legal = LegalMoves(pos);
    return legal.empty() ? NO_MOVE : legal[random() % legal.size()];
}

// Makes up to `plies` random moves and takes them all back: leaves the position as it was but for
// the order of its piece lists.
inline void ShufflePieceLists(Position* pos, int plies, std::mt19937& random) {
    int made = 0;
    for (Move m = 0; made < plies && (m = RandomMove(pos, random)) != NO_MOVE; ++made)
        MakeMove(pos, m);
    for (; made > 0; --made) UnmakeMove(pos);
}

// The record's content as a text, for comparisons: the piece lists sorted unless their order is
// asked for.
inline std::string Describe(const Position* pos, bool list_order) {
    std::string text(pos->board, pos->board + 65);
    const auto add = [&text](unsigned long long value) { text += ' ' + std::to_string(value); };
    for (int c = 0; c < 2; ++c) {
        for (int t = 0; t < 8; ++t) {
            add(pos->bb[c][t]);
            std::vector<int> squares;
            for (int i = 0; i < 10 && pos->plist[c][t][i] != NO_SQUARE; ++i)
                squares.push_back(pos->plist[c][t][i]);
            if (!list_order) std::sort(squares.begin(), squares.end());
            for (int s : squares) add(static_cast<unsigned>(s));
        }
        add(pos->sig[c]);
        add(static_cast<unsigned>(pos->npm[c]));
    }
    for (int field : {int{pos->side}, int{pos->castle}, int{pos->ep_square}, int{pos->fifty},
                      int{pos->last_move}, int{pos->hist_count}, int{pos->ply}})
        add(static_cast<unsigned>(field));
    add(pos->hash);
    add(pos->pawn_hash);
    return text;
}
