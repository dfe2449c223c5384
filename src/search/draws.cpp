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
    // Who draws a ply early does so among the replies to the root as well: no line goes on.
    const int early = PBlock.root.early_draw;
    if (pos->fifty + early <= FIFTY_MOVE_PLIES || pos->ply < FIRST_FIFTY_MOVE_PLY - early) {
        return false;
    }
    assert(CurrentPly(tb)->hash_move == NO_MOVE);
    return !MoveListFits(tb) || IsMate(tb, in_check) == NO_MATE;
}
