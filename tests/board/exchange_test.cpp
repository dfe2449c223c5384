// Exchanges: those of single moves, and what each side wins on each square of a position.
#include "board/reference.h"

namespace {

using ExchangeTest = EngineTest;

// The exchange as it is defined, move by move: each side takes with its least valuable man or, but
// for the first capture of a given man, leaves it.
int PlainExchange(const Position* pos, int side, int from, int to, Bitboard occupied, int victim) {
    const bool may_decline = from == NO_SQUARE;
    int least = PIECE_TYPES;
    for (int s = 0; s < SQUARE_COUNT && may_decline; ++s) {
        if (!(occupied & Bit(s)) || !OwnPieceOn(pos, side, s)) { continue; }
        const bool attacks = AttacksFrom(s, pos->board[s], occupied) & Bit(to);
        if (s == to || !attacks || PieceType(pos->board[s]) >= least) { continue; }
        least = PieceType(pos->board[s]);
        from = s;
    }
    if (from == NO_SQUARE) { return 0; }
    if (victim == KING) { return 9999; }
    const int gain =
        piece_value[victim] - PlainExchange(pos, side ^ 1, NO_SQUARE, to, occupied & ~Bit(from),
                                            PieceType(pos->board[from]));
    return may_decline ? std::max(gain, 0) : gain;
}

TEST_F(ExchangeTest, ForcedCapturesAndSafetyAgreeWithTheTable) {
    ForEachMoveOfTable([](Position* pos, const MoveEntry* e, const Row& row) {
        const std::string before = Describe(pos, true);
        const int from = MoveFrom(e->move), to = MoveTo(e->move);
        EXPECT_EQ(std::to_string(MoveIsSafe(pos, e->move)), row[SAFE]);
        EXPECT_EQ(std::to_string(swapoff1(pos, pos->side, from, to, Occupied(pos))), row[EXCHANGE]);
        EXPECT_EQ(Describe(pos, true), before);
    });
}

TEST_F(ExchangeTest, FreeExchangesAgreeWithTheTable) {
    ForEachRow("keys.tsv", [](Position* pos, const Row& row) {
        std::ostringstream gains;
        for (int s = 0; s < SQUARE_COUNT; ++s) {
            const int taker = PieceColour(pos->board[s]) ^ 1;
            const int gain = swapoff1(pos, taker, NO_SQUARE, s, Occupied(pos));
            if (gain != 0) { gains << square_name[s] << ':' << gain << ' '; }
        }
        EXPECT_EQ(gains.str(), row[10].empty() ? "" : row[10] + ' ');
    });
}

TEST_F(ExchangeTest, LoopAgreesWithTheRecursionInRandomPositions) {
    std::size_t n = 0;
    const auto check = [&n](Position* pos) {
        const int square = static_cast<int>(n++ % SQUARE_COUNT);
        const Bitboard occupied = Occupied(pos);
        const int taker = PieceColour(pos->board[square]) ^ 1;
        ASSERT_EQ(
            swapoff1(pos, taker, NO_SQUARE, square, occupied),
            PlainExchange(pos, taker, NO_SQUARE, square, occupied, PieceType(pos->board[square])))
            << Epd(pos) << ' ' << square_name[square];
        const std::vector<MoveEntry> moves = AllMoves(pos);
        if (moves.empty()) { return; }
        const Move m = moves[n % moves.size()].move;
        const int from = MoveFrom(m), to = MoveTo(m);
        const int plain =
            PlainExchange(pos, pos->side, from, to, occupied, PieceType(pos->board[to]));
        ASSERT_EQ(swapoff1(pos, pos->side, from, to, occupied), plain) << Epd(pos) << MoveText(m);
        ASSERT_EQ(ExchangeLoses(pos, from, to), plain < LOSING_EXCHANGE) << Epd(pos) << MoveText(m);
    };
    ForRandomPositions(60, check, 185);
    EXPECT_GT(n, std::size_t{100000});
}

}  // namespace
