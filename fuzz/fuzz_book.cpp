// Any bytes as an opening book: the index is read, and the moves it gives along a line of play are
// legal ones. The first byte chooses the moves where it gives none.
#include <algorithm>

#include "board/moves.h"
#include "book/book.h"
#include "fuzz_engine.h"

namespace {

constexpr int PLIES = 12;

// The first legal move after the first `skipped` of the list, NO_MOVE when there is none.
Move LegalMoveAfter(Position* pos, unsigned skipped) {
    MoveEntry list[MAX_LIST_SIZE];
    const MoveEntry* end = GeneratePseudoLegal(pos, pos->side, list);
    const MoveEntry* e = list + std::min<std::ptrdiff_t>(skipped, end - list);
    while (e != end && !MoveIsLegal(pos, pos->side, e->move)) { ++e; }
    return e == end ? Move{NO_MOVE} : e->move;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FileRun run(data, size, "vesk.opn");
    Require(InitBook() == 0);
    Position* pos = game_position;
    for (unsigned ply = 0; ply < PLIES; ++ply) {
        Move m = ChooseBookMove(pos, ply % 2 == 1);
        if (m == NO_MOVE) { m = LegalMoveAfter(pos, (run.input.variant + ply) % 16); }
        if (m == NO_MOVE) { break; }
        Require(MoveIsPseudoLegal(pos, m) && MoveIsLegal(pos, pos->side, m));
        MakeMove(pos, m);
        Require(PositionIsSound(pos) == 1);
    }
    FreeBook();
    return 0;
}
