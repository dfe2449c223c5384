// Draws by repetition and by the fifty-move rule.
#include "search/draws.h"

#include <cassert>

#include "search/perft.h"
#include "search/picker.h"

namespace {

constexpr int LAST_PLY_NEAR_ROOT = 4;  // up to it a position must have come twice before
constexpr int REPETITIONS_NEAR_ROOT = 2;
constexpr int REPETITIONS_BEYOND = 1;
// The root and its replies are searched in any case, but where the hundredth ply draws the replies
// too: no line goes on after it.
constexpr int FIRST_FIFTY_MOVE_PLY = 3;
constexpr int FIRST_REPLY_PLY = 2;

}  // namespace

bool IsRepetitionDraw(const Position* pos) {
    const int limit = pos->ply <= LAST_PLY_NEAR_ROOT ? REPETITIONS_NEAR_ROOT : REPETITIONS_BEYOND;
    return CountRepetitions(pos, limit) >= limit;
}

bool IsFiftyMoveDraw(ThreadBlock* tb, int in_check) {
    const Position* pos = &tb->pos;
    const int first_ply =
        PBlock.options.conventions.fen_counters ? FIRST_REPLY_PLY : FIRST_FIFTY_MOVE_PLY;
    if (!FiftyMovesAreOver(pos) || pos->ply < first_ply) { return false; }
    assert(CurrentPly(tb)->hash_move == NO_MOVE);
    return !MoveListFits(tb) || IsMate(tb, in_check) == NO_MATE;
}
