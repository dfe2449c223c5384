// The mate test and the node counter.
#include "search/perft.h"

#include <cassert>

#include "board/bitboards.h"
#include "platform/interrupt.h"
#include "search/picker.h"

int IsMate(ThreadBlock* tb, int in_check) {
    const Position* pos = &tb->pos;
    assert(in_check == InCheck(pos, pos->side));
    CurrentPly(tb)->stage = STAGE_START;
    const LegalityMasks legality = FindLegality(pos);
    while (const MoveEntry* e = GetNextMoveFW(tb, in_check)) {
        if (e->move != NO_MOVE && MoveIsLegal(pos, legality, e->move)) { return NO_MATE; }
    }
    return in_check ? CHECKMATE : STALEMATE;
}

bool Perft(ThreadBlock* tb, int depth) {
    Position* pos = &tb->pos;
    if (depth <= 0) {
        tb->nodes += 1;
        return true;
    }
    if (!MoveListFits(tb) || EndWanted()) { return false; }
    const int in_check = InCheck(pos, pos->side);
    const LegalityMasks legality = FindLegality(pos);
    PlyData* pd = CurrentPly(tb);
    pd->hash_move = NO_MOVE;
    pd->stage = STAGE_START;
    bool complete = true;
    while (const MoveEntry* e = GetNextMoveFW(tb, in_check)) {
        const Move m = e->move;
        if (m == NO_MOVE || !MoveIsLegal(pos, legality, m)) { continue; }
        if (depth == 1) {
            tb->nodes += 1;
            continue;
        }
        MakeMove(pos, m);
        complete = Perft(tb, depth - 1) && complete;
        UnmakeMove(pos);
    }
    return complete;
}
