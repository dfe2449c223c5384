// Positions are kept as the shortest text that sets them up.
#include "tune/positions.h"

#include <cassert>
#include <cstring>
#include <string>

#include "board/bitboards.h"
#include "board/epdline.h"

namespace {

void AddPosition(const EpdRecord& record, Position* scratch, PositionSet* set) {
    SetPosition(scratch, record.position.c_str());
    const LabelledPosition labelled = {set->texts.size(), record.result};
    // A short text puts the men on the board in the same order, whatever else the line held: texts
    // are read in the order of the squares, and a square that is taken stays so.
    char epd[EPD_FIELDS_SIZE];
    MakeEPD(scratch, epd);
    set->texts.insert(set->texts.end(), epd, epd + std::strlen(epd) + 1);
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
    SetPosition(pos, &set.texts[set.positions[index].text]);
}
