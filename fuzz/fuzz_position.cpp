// Any text as a position: set-up never fails, what it sets is sound and written back unchanged, and
// in a playable position every generated legal move can be made, is recognised when it comes from
// outside, and comes back from its text.
#include <cstring>

#include "board/moves.h"
#include "frontend/pblock.h"
#include "fuzz_engine.h"
#include "search/perft.h"

namespace {

void TryMove(Position* pos, Move m) {
    char before[EPD_FIELDS_SIZE], after[EPD_FIELDS_SIZE], text[MOVE_TEXT_SIZE];
    MakeEPD(pos, before);
    Require(MoveIsPseudoLegal(pos, m) == 1);
    MoveToStr(m, text, TextStyle());
    Require(ReadMove(pos, text).move == m);
    MakeMove(pos, m);
    Require(PositionIsSound(pos) == 1);
    Require(!InCheck(pos, pos->side ^ 1));
    UnmakeMove(pos);
    MakeEPD(pos, after);
    Require(std::strcmp(before, after) == 0 && PositionIsSound(pos) == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PrepareEngine();
    const std::string text(reinterpret_cast<const char*>(data), size);
    Position* pos = game_position;
    SetPosition(pos, text.c_str());
    Require(PositionIsSound(pos) == 1);
    char epd[EPD_FIELDS_SIZE], again[EPD_FIELDS_SIZE];
    MakeEPD(pos, epd);
    Require(std::strlen(epd) < EPD_FIELDS_SIZE);
    const u64 key = SearchKey(pos);
    SetPosition(pos, epd);
    MakeEPD(pos, again);
    Require(std::strcmp(epd, again) == 0 && SearchKey(pos) == key);
    if (WhyUnplayable(pos) != nullptr) { return 0; }
    GenerateAll(pos);
    const MoveEntry* list = pos->sstack[pos->ply].list_start;
    int legal = 0;
    for (const MoveEntry* e = list; e->move != END_OF_LIST; ++e) {
        Require(e - list < MAX_LIST_SIZE);
        if (MoveIsLegal(pos, pos->side, e->move) == 0) { continue; }
        ++legal;
        TryMove(pos, e->move);
    }
    const int in_check = InCheck(pos, pos->side);
    Require((IsMate(ThreadData[0], in_check) == 0) == (legal > 0));
    if (!in_check) { Evaluate(ThreadData[0], 1, false); }
    return 0;
}
