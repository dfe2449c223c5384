// Positions are kept as the shortest text that sets them up.
#include "tune/positions.h"

#include <cassert>
#include <cstring>
#include <string>

#include "board/bitboards.h"
#include "board/epdline.h"

namespace {

// True when the men, rights and en passant square are the same, and the men in the same order.
bool SameSetUp(const Position& a, const Position& b) {
    return std::memcmp(&a.plist, &b.plist, sizeof a.plist) == 0 &&
           std::memcmp(&a.board, &b.board, sizeof a.board) == 0 && a.castle == b.castle &&
           a.ep_square == b.ep_square;
}

void AddPosition(const EpdRecord& record, Position* scratch, PositionSet* set) {
    SetPosition(scratch, record.position.c_str());
    const LabelledPosition labelled = {set->texts.size(), record.result, scratch->side};
    // The short text does, unless a malformed line has put the men on the board in another order.
    const Position whole = *scratch;
    char epd[EPD_FIELDS_SIZE];
    MakeEPD(scratch, epd);
    SetPosition(scratch, epd);
    const char* text = SameSetUp(whole, *scratch) ? epd : record.position.c_str();
    set->texts.insert(set->texts.end(), text, text + std::strlen(text) + 1);
    const u32 index = static_cast<u32>(set->positions.size());
    set->positions.push_back(labelled);
    if (WhyUnplayable(scratch) != nullptr) { return; }
    (InCheck(scratch, scratch->side) ? set->in_check : set->quiet[scratch->side]).push_back(index);
}

}  // namespace

bool LoadPositions(const char* path, Position* scratch, PositionSet* set) {
    assert(set->positions.empty());
    LineReader reader;
    if (!OpenLines(&reader, path)) { return false; }
    std::string line;
    EpdRecord record;
    while (NextEpdRecord(&reader, &line, &record)) { AddPosition(record, scratch, set); }
    const bool complete = !ReadingFailed(reader);
    CloseLines(&reader);
    return complete;
}

void SetUpPosition(const PositionSet& set, u32 index, Position* pos) {
    assert(index < set.positions.size());
    const LabelledPosition& p = set.positions[index];
    pos->side = p.side;
    SetPosition(pos, &set.texts[p.text]);
}
