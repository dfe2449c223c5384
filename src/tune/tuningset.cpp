#include "tune/tuningset.h"

#include <cstdlib>
#include <tuple>

#include "board/bitboards.h"
#include "board/epdline.h"
#include "board/zobrist.h"
#include "eval/threadblock.h"
#include "platform/interrupt.h"

namespace {

constexpr u64 HELD_OUT_SHARE = 10;  // one of so many
constexpr int KEY_SHIFT = 32;       // the upper half of the key decides

constexpr std::string_view SCORE_WORD = " ce ";

std::optional<int> ScoreOfLine(const std::string& line) {
    const std::size_t at = line.find(SCORE_WORD);
    if (at == std::string::npos) { return std::nullopt; }
    return static_cast<int>(std::strtol(line.c_str() + at + SCORE_WORD.size(), nullptr, 10));
}

void AddPosition(const EpdRecord& record, Position* scratch, TuningSet* set) {
    SetPosition(scratch, record.position.c_str());
    if (WhyUnplayable(scratch) != nullptr || InCheck(scratch, scratch->side)) {
        ++set->left_out;
        return;
    }
    const bool held_out = (SearchKey(scratch) >> KEY_SHIFT) % HELD_OUT_SHARE == 0;
    (held_out ? set->held_out : set->training)
        .push_back({*scratch, record.result, ScoreOfLine(record.position)});
}

}  // namespace

bool LoadTuningSet(const std::string& path, Position* scratch, TuningSet* set) {
    LineReader reader;
    if (!OpenLines(&reader, path.c_str())) { return false; }
    std::string line;
    EpdRecord record;
    while (NextEpdRecord(&reader, &line, &record)) { AddPosition(record, scratch, set); }
    const bool complete = !ReadingFailed(reader) && !reader.broken_off;
    CloseLines(&reader);
    return complete;
}

int StaticScore(ThreadBlock* tb, const Position& position) {
    const auto links = std::tuple(tb->pos.undo, tb->pos.sstack, tb->pos.thread_id);
    tb->pos = position;
    std::tie(tb->pos.undo, tb->pos.sstack, tb->pos.thread_id) = links;
    return Evaluate(tb, 1, false);
}
