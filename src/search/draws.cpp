// Draws by repetition and by the fifty-move rule.
#include "search/draws.h"

#include <cassert>

#include "frontend/pblock.h"
#include "search/perft.h"
#include "search/picker.h"

namespace {

constexpr int LAST_PLY_NEAR_ROOT = 4;  // up to it a position must have come twice before
constexpr int REPETITIONS_NEAR_ROOT = 2;
constexpr int REPETITIONS_BEYOND = 1;
constexpr int FIRST_FIFTY_MOVE_PLY = 3;  // the root and its replies are searched in any case

}  // namespace

bool IsRepetitionDraw(const Position* pos) {
    const int limit = pos->ply <= LAST_PLY_NEAR_ROOT ? REPETITIONS_NEAR_ROOT : REPETITIONS_BEYOND;
    return CountRepetitions(pos, limit) >= limit;
}

bool IsFiftyMoveDraw(ThreadBlock* tb, int in_check) {
    const Position* pos = &tb->pos;
    if (pos->fifty + PBlock.root.early_draw <= FIFTY_MOVE_PLIES ||
        pos->ply < FIRST_FIFTY_MOVE_PLY) {
        return false;
    }
    assert(CurrentPly(tb)->hash_move == NO_MOVE);
    return !MoveListFits(tb) || IsMate(tb, in_check) == NO_MATE;
}
