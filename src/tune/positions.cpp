// Positions are set up once, when they are read; every pass copies them from there.
#include "tune/positions.h"

#include <algorithm>
#include <cassert>
#include <string>
#include <tuple>

#include "board/bitboards.h"
#include "board/epdline.h"

namespace {

constexpr int CLEARED_RECORDS = 2;  // of the history, as after SetPosition

void AddPosition(const EpdRecord& record, Position* scratch, PositionSet* set) {
    SetPosition(scratch, record.position.c_str());
    const u32 index = static_cast<u32>(set->positions.size());
    set->positions.push_back({*scratch, record.result});
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
    assert(pos->undo != nullptr);
    const auto links = std::tuple(pos->undo, pos->sstack, pos->thread_id);
    *pos = set.positions[index].position;
    std::tie(pos->undo, pos->sstack, pos->thread_id) = links;
    std::fill_n(pos->undo, CLEARED_RECORDS, UndoRecord{});
    assert(PositionIsSound(pos) == 1);
}
