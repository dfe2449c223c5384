// The staged move picker and the update rules of the ordering memory.
#include "search/picker.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <utility>

#include "board/bitboards.h"
#include "board/zobrist.h"

namespace {

// Stages of a node's picker.
enum PickerStage : u8 {
    PICKER_START = STAGE_START,
    PICKER_GENERATE,  // after the hash move, if there is one
    PICKER_CAPTURES,  // the good ones
    PICKER_SORTED,    // the remaining moves best first
    PICKER_UNSORTED,  // the remaining moves in list order
};

// Ordering scores.
constexpr int HASH_MOVE_SCORE = 255;
constexpr int OTHER_TACTICAL_SCORE = 10;  // en passant and under-promotions onto empty squares
constexpr int BAD_CAPTURE_SCORE = 8;      // plus the captured type
constexpr int GOOD_CAPTURE_LIMIT = 150;   // captures above it come before the quiet moves
constexpr int FIRST_KILLER_SCORE = 81;
constexpr int SECOND_KILLER_SCORE = 61;
constexpr int EVASION_KILLER_SCORE = 90;
constexpr int EVASION_COUNTER_SCORE = 70;
constexpr int QUIET_SCORE = 1;
constexpr int SORT_SCORE_LIMIT = 3;      // at or below it sorting no longer pays
constexpr int SORT_MOVES_LIMIT = 15;     // likewise after this many searched moves
constexpr unsigned HISTORY_SCALE = 128;  // history per point of ordering score
constexpr int KILLER_HISTORY_SHARE = 4;  // part of these points that a killer keeps, as divisor
constexpr int HISTORY_GAIN = 64;
constexpr int HISTORY_DECAY = 128;

// The most entries that one man adds to a list, by type; a pawn's promotions count four times.
constexpr int MOST_MOVES[7] = {0, 12, 8, 13, 14, 27, 8};
constexpr int LIST_BOUND_SLACK = 24;  // castling, entries listed twice, hash move and end mark

// Upper bound of a list's entries by the men of the side to move.
int ListBound(const Position* pos) {
    const u32 s = pos->sig[pos->side];
    return MOST_MOVES[PAWN] * PawnCount(s) + MOST_MOVES[KNIGHT] * KnightCount(s) +
           MOST_MOVES[BISHOP] * BishopCount(s) + MOST_MOVES[ROOK] * RookCount(s) +
           MOST_MOVES[QUEEN] * QueenCount(s) +
           MOST_MOVES[KING] * CountBits(pos->bb[pos->side][KING]) + LIST_BOUND_SLACK;
}

int TacticalScore(const Position* pos, const MoveEntry* e, int recapture) {
    const int mover = PieceType(e->piece);
    const int captured = PieceType(e->captured);
    const int score = TacticalOrder(e, OTHER_TACTICAL_SCORE);
    if (exchange_scale[mover] > exchange_scale[captured] &&
        ExchangeLoses(pos, MoveFrom(e->move), MoveTo(e->move))) {
        return BAD_CAPTURE_SCORE + captured;
    }
    return MoveTo(e->move) == recapture ? score + RECAPTURE_BONUS : score;
}

// Generates and scores captures and promotions at the cursor.
void GenerateTactical(ThreadBlock* tb, PlyData* pd) {
    const Position* pos = &tb->pos;
    const int side = pos->side;
    MoveEntry* end = GeneratePawnCaptures(pos, side, pd->cursor);
    end = GeneratePieceCaptures(pos, side, end);
    end = GeneratePromotions(pos, side, 1, end);
    TerminateList(pd, end);
    const int recapture = RecaptureSquare(pos);
    for (MoveEntry* e = pd->cursor; e != end; ++e) {
        e->score = static_cast<i16>(TacticalScore(pos, e, recapture));
    }
}

Move CounterMove(const ThreadBlock* tb) {
    const Position* pos = &tb->pos;
    if (pos->last_move == NO_MOVE) { return NO_MOVE; }
    const int to = MoveTo(pos->last_move);
    return tb->counter_moves[to][pos->board[to]];
}

// History is never negative: said to the compiler, so that a plain shift divides.
int HistoryPoints(const ThreadBlock* tb, const MoveEntry* e) {
    assert(tb->history[MoveTo(e->move)][e->piece] >= 0);
    const auto history = static_cast<unsigned>(tb->history[MoveTo(e->move)][e->piece]);
    return static_cast<int>(history / HISTORY_SCALE);
}

int QuietScore(const ThreadBlock* tb, const PlyData* pd, const MoveEntry* e, Move counter) {
    const int d = HistoryPoints(tb, e);
    if (e->move == pd->killer[0] || e->move == pd->killer[1]) {
        return d / KILLER_HISTORY_SHARE + FIRST_KILLER_SCORE;
    }
    if (e->move == pd->killer[2] || e->move == counter) {
        return d / KILLER_HISTORY_SHARE + SECOND_KILLER_SCORE;
    }
    return d + QUIET_SCORE;
}

int EvasionScore(const PlyData* pd, const MoveEntry* e, Move counter) {
    if (e->move == pd->evasion_killer) { return EVASION_KILLER_SCORE; }
    if (e->move == counter) { return EVASION_COUNTER_SCORE; }
    return QUIET_SCORE;
}

// Appends the scored quiet moves to what is left of the list.
void GenerateQuiet(const ThreadBlock* tb, PlyData* pd, int in_check) {
    const Position* pos = &tb->pos;
    MoveEntry* first = EndOfPlyList(pd);
    MoveEntry* end = GenerateNonCaptures(pos, pos->side, first);
    TerminateList(pd, end);
    const Move counter = CounterMove(tb);
    for (MoveEntry* e = first; e != end; ++e) {
        e->score = static_cast<i16>(in_check ? EvasionScore(pd, e, counter)
                                             : QuietScore(tb, pd, e, counter));
    }
    pd->stage = PICKER_SORTED;
}

MoveEntry* StartWithHashMove(const Position* pos, PlyData* pd) {
    MoveEntry* e = pd->list_start;
    e->move = pd->hash_move;
    e->piece = pos->board[MoveFrom(pd->hash_move)];
    e->captured = pos->board[MoveTo(pd->hash_move)];
    e->score = HASH_MOVE_SCORE;
    TerminateList(pd, e + 1);
    return e;
}

MoveEntry* NextSorted(PlyData* pd) {
    MoveEntry* e = pd->cursor;
    const MoveEntry* end = EndOfPlyList(pd);
    if (e == end) { return nullptr; }
    PickNextMove(e, end);
    if (e->score <= SORT_SCORE_LIMIT || pd->moves_searched > SORT_MOVES_LIMIT) {
        pd->stage = PICKER_UNSORTED;
    }
    return e;
}

}  // namespace

bool MoveListFits(const ThreadBlock* tb) {
    const MoveEntry* start = CurrentPly(tb)->list_start;
    const MoveEntry* end = tb->move_buffer + MOVE_BUFFER_SIZE;
    return end - MAX_LIST_SIZE >= start || end - start >= ListBound(&tb->pos);
}

void TerminateList(PlyData* pd, MoveEntry* end) {
    end->move = END_OF_LIST;
    pd[1].list_start = end + 1;
    pd[2].list_start = end + 2;
}

MoveEntry* GetNextMoveFW(ThreadBlock* tb, int in_check) {
    PlyData* pd = CurrentPly(tb);
    assert(pd->stage <= PICKER_UNSORTED);
    switch (pd->stage) {
        case PICKER_START:
            if (!MoveListFits(tb)) { return nullptr; }
            pd->stage = PICKER_GENERATE;
            pd->cursor = pd->list_start;
            if (pd->hash_move != NO_MOVE) { return StartWithHashMove(&tb->pos, pd); }
            break;
        case PICKER_SORTED:
            ++pd->cursor;
            return NextSorted(pd);
        case PICKER_UNSORTED:
            ++pd->cursor;
            return pd->cursor->move == END_OF_LIST ? nullptr : pd->cursor;
        default:
            ++pd->cursor;
            break;
    }
    if (pd->stage == PICKER_GENERATE) {
        pd->stage = PICKER_CAPTURES;
        GenerateTactical(tb, pd);
    }
    if (pd->cursor->move != END_OF_LIST) {
        PickNextMove(pd->cursor, EndOfPlyList(pd));
        if (pd->cursor->score > GOOD_CAPTURE_LIMIT) { return pd->cursor; }
    }
    GenerateQuiet(tb, pd, in_check);
    return NextSorted(pd);
}

void RaiseHistory(ThreadBlock* tb, const MoveEntry* e) {
    i16& h = tb->history[MoveTo(e->move)][e->piece];
    h = static_cast<i16>(h + (HISTORY_MAX - h) / HISTORY_GAIN);
}

void LowerHistory(ThreadBlock* tb, const MoveEntry* e) {
    i16& h = tb->history[MoveTo(e->move)][e->piece];
    h = static_cast<i16>(h - h / HISTORY_DECAY);
}

void StoreKiller(ThreadBlock* tb, Move m, int in_check) {
    PlyData* pd = CurrentPly(tb);
    if (in_check) {
        pd->evasion_killer = m;
    } else if (tb->pos.last_move == NO_MOVE) {
        pd->killer[0] = m;
    } else if (m != pd->killer[1]) {
        pd->killer[2] = pd->killer[1];
        pd->killer[1] = m;
    }
}

void StoreCounterMove(ThreadBlock* tb, Move m) {
    const Position* pos = &tb->pos;
    if (pos->last_move == NO_MOVE) { return; }
    const int to = MoveTo(pos->last_move);
    tb->counter_moves[to][pos->board[to]] = m;
}

void ResetOrdering(ThreadBlock* tb) {
    for (auto& square : tb->history) {
        std::fill(std::begin(square), std::end(square), HISTORY_START);
    }
    std::memset(tb->counter_moves, 0, sizeof tb->counter_moves);
    for (PlyData& pd : tb->ply_data) {
        pd.hash_move = NO_MOVE;
        std::fill(std::begin(pd.killer), std::end(pd.killer), NO_MOVE);
        pd.evasion_killer = NO_MOVE;
    }
}
