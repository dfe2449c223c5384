#include "tune/tuningset.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <unordered_set>

#include "board/bitboards.h"
#include "board/epdline.h"
#include "board/zobrist.h"
#include "eval/threadblock.h"
#include "platform/words.h"
#include "search/search.h"

namespace {

constexpr u64 HELD_OUT_SHARE = 10;  // one of so many
constexpr int KEY_SHIFT = 32;       // the upper half of the key decides

constexpr double POSITIONS_OF_A_GAME = 40.0;  // where the lines do not say

constexpr std::string_view SCORE_WORD = " ce ";
constexpr std::string_view GAME_WORD = " id ";

// Beyond a mate the game is won or lost; the marks of a move without a score are none.
std::optional<int> ScoreOfLine(const std::string& line) {
    const std::size_t at = line.find(SCORE_WORD);
    if (at == std::string::npos) { return std::nullopt; }
    const int score = WholeNumber(line.c_str() + at + SCORE_WORD.size(), INT16_MIN, INT16_MAX);
    if (score == NO_COMMENT_SCORE || score == BAD_COMMENT_SCORE) { return std::nullopt; }
    return std::clamp(score, -INFINITE_SCORE, INFINITE_SCORE);
}

// A number made of the name of the position's game (FNV-1a, then mixed so that short names spread
// too), which is the same on every machine; nothing when the line has none.
std::optional<u64> GameOfLine(const std::string& line) {
    constexpr u64 basis = 14695981039346656037u, prime = 1099511628211u;
    constexpr u64 mixer = 0xFF51AFD7ED558CCDu;
    const std::size_t at = line.find(GAME_WORD);
    if (at == std::string::npos) { return std::nullopt; }
    u64 hash = basis;
    for (std::size_t i = at + GAME_WORD.size(); i < line.size() && line[i] != ';'; ++i) {
        hash = (hash ^ static_cast<unsigned char>(line[i])) * prime;
    }
    hash = (hash ^ hash >> KEY_SHIFT) * mixer;
    return hash ^ hash >> KEY_SHIFT;
}

// Reads the lines of one file into a set.
class Loader {
public:
    Loader(Position* scratch, TuningSet* set) : scratch_(scratch), set_(set) {}
    void Add(const EpdRecord& record);
    void CountResults() const;

private:
    Position* scratch_;
    TuningSet* set_;
    std::unordered_set<u64> games_;  // of training positions
    double nameless_ = 0;            // training positions without a game's name
};

void Loader::Add(const EpdRecord& record) {
    SetPosition(scratch_, record.position.c_str());
    if (WhyUnplayable(scratch_) != nullptr || InCheck(scratch_, scratch_->side)) {
        ++set_->left_out;
        return;
    }
    const std::optional<u64> game = GameOfLine(record.position);
    const bool held_out = (game.value_or(SearchKey(scratch_)) >> KEY_SHIFT) % HELD_OUT_SHARE == 0;
    (held_out ? set_->held_out : set_->training)
        .push_back({*scratch_, std::clamp(record.result, 0.0, 1.0), ScoreOfLine(record.position)});
    if (held_out) { return; }
    if (game) {
        games_.insert(*game);
    } else {
        ++nameless_;
    }
}

void Loader::CountResults() const {
    set_->results = static_cast<double>(games_.size()) + nameless_ / POSITIONS_OF_A_GAME;
}

}  // namespace

bool LoadTuningSet(const std::string& path, Position* scratch, TuningSet* set) {
    LineReader reader;
    if (!OpenLines(&reader, path.c_str())) { return false; }
    std::string line;
    EpdRecord record;
    Loader loader(scratch, set);
    while (NextEpdRecord(&reader, &line, &record)) { loader.Add(record); }
    loader.CountResults();
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
