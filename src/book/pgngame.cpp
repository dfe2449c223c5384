#include "book/pgngame.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "book/book.h"
#include "frontend/pblock.h"
#include "platform/words.h"
#include "search/search.h"

namespace {

constexpr std::size_t KEPT_COMMENT = 4096;  // characters
constexpr double CENTIPAWNS_PER_PAWN = 100.0;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool EndsToken(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\0' || c == '{'; }

}  // namespace

std::optional<int> ScoreOfComment(const std::string& comment) {
    if (comment.find('/') == std::string::npos) { return std::nullopt; }
    const bool negative = comment[0] == '-';
    const std::size_t start = negative || comment[0] == '+' ? 1 : 0;
    if (comment[start] == 'M' && IsDigit(comment[start + 1])) {
        const int plies = WholeNumber(comment.c_str() + start + 1, 0, MAX_SEARCH_PLY);
        const int score = INFINITE_SCORE - 1 - plies;
        return negative ? -score : score;
    }
    if (!IsDigit(comment[start])) { return std::nullopt; }
    const double limit = INFINITE_SCORE;
    const double score = std::round(DecimalNumber(comment.c_str()) * CENTIPAWNS_PER_PAWN);
    return static_cast<int>(std::clamp(score, -limit, limit));
}

bool PgnGameReader::Next(PgnGame* game) {
    TextLine line;
    while (ReadLine(lines_, &line)) {
        line = pgn_.Plain(line);
        const std::string_view text(line.text, line.length);
        if (!line.starts_line || !text.starts_with('[')) {
            TakeMoveText(text);
            continue;
        }
        const bool complete = pgn_.BeginsGame() && !game_.moves.empty();
        if (complete) { std::swap(*game, game_); }
        if (pgn_.BeginsGame()) {
            game_.moves.clear();
            game_.result.clear();
            in_comment_ = false;
        }
        game_.start = pgn_.Start();
        TakeTag(std::string(text));
        if (complete) { return true; }
    }
    if (ReadingFailed(*lines_) || lines_->broken_off || game_.moves.empty()) { return false; }
    *game = std::exchange(game_, {});
    return true;
}

void PgnGameReader::TakeTag(const std::string& tag) {
    constexpr std::string_view result_tag = "[Result ";
    const std::size_t quote = tag.find('"');
    if (!tag.starts_with(result_tag) || quote == std::string::npos) { return; }
    game_.result = tag.substr(quote + 1, tag.find('"', quote + 1) - quote - 1);
}

void PgnGameReader::TakeMoveText(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view rest = text.substr(at);
        std::size_t length = 1;
        if (in_comment_) {
            length = std::min(rest.find('}'), rest.size());
            if (comment_.size() < KEPT_COMMENT) { comment_ += rest.substr(0, length); }
            if (length < rest.size()) {
                EndComment();
                ++length;
            }
        } else if (rest[0] == '{') {
            in_comment_ = true;
            comment_.clear();
        } else if (IsLetter(rest[0])) {
            while (length < rest.size() && !EndsToken(rest[length])) { ++length; }
            game_.moves.push_back({std::string(rest.substr(0, length)), false, std::nullopt});
        }
        at += length;
    }
    if (in_comment_) { comment_ += ' '; }  // the end of a line is a blank
}

// Of several comments after a move the first one that says something counts.
void PgnGameReader::EndComment() {
    in_comment_ = false;
    if (game_.moves.empty()) { return; }
    PgnMove& move = game_.moves.back();
    move.from_book |= comment_.find("book") != std::string::npos;
    if (!move.score) { move.score = ScoreOfComment(comment_); }
}
