// The mate test and the node counter.
#include "search/perft.h"

#include "board/bitboards.h"
#include "platform/interrupt.h"
#include "search/picker.h"

int IsMate(Position* pos, int in_check) {
    PlyData* pd = &pos->sstack[pos->ply];
    pd->stage = 0;
    while (const MoveEntry* e = GetNextMoveFW(pos, in_check)) {
        if (e->move != NO_MOVE && MoveIsLegalNonZero(pos, pos->side, e->move)) { return 0; }
    }
    return in_check ? 1 : 2;
}

int Perft(ThreadBlock* tb, int side, int ply, int depth) {
    Position* pos = &tb->pos;
    if (depth <= 0) {
        tb->nodes += 1;
        return 1;
    }
    if (!MoveListFits(pos) || InterruptSeen()) { return 0; }
    const int in_check = InCheck(pos, side);
    PlyData* pd = &pos->sstack[ply];
    pd->hash_move = NO_MOVE;
    pd->stage = 0;
    int complete = 1;
    while (const MoveEntry* e = GetNextMoveFW(pos, in_check)) {
        const Move m = e->move;
        if (m == NO_MOVE || !MoveIsLegalNonZero(pos, side, m)) { continue; }
        if (depth == 1) {
            tb->nodes += 1;
            continue;
        }
        MakeMove(pos, m);
        complete &= Perft(tb, side ^ 1, ply + 1, depth - 1);
        UnmakeMove(pos);
    }
    return complete;
}
