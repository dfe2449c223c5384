#include "book/pgntext.h"

#include <algorithm>
#include <cstring>

#include "board/position.h"
#include "frontend/pblock.h"
#include "platform/words.h"

namespace {

constexpr std::string_view EN_PASSANT = "e.p.";
constexpr std::string_view EVENT_TAG = "[Event ";

bool IsBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }

// The move of a word without marks, with castling written in letters.
std::string PlainMove(std::string_view move) {
    move = move.substr(0, move.find_first_of("!?+#"));
    if (move.ends_with(EN_PASSANT)) { move.remove_suffix(EN_PASSANT.size()); }
    if (move == "0-0") { return "O-O"; }
    if (move == "0-0-0") { return "O-O-O"; }
    return std::string(move);
}

}  // namespace

std::size_t MoveNumberLength(std::string_view word) {
    const std::string_view digits = word.substr(0, word.find_first_not_of("0123456789."));
    const std::size_t point = digits.rfind('.');
    return point == std::string_view::npos ? 0 : point + 1;
}

TextLine PgnText::Plain(const TextLine& line) {
    begins_game_ = names_start_ = false;
    if (!PBlock.options.conventions.full_pgn) { return line; }
    TextLine out = line;
    if (line.starts_line) { in_line_comment_ = false; }
    const std::string_view text(line.text, line.length);
    const std::size_t blanks = std::min(text.find_first_not_of(" \t"), text.size());
    const std::string_view tag = text.substr(blanks);
    // What a game has left open ends with the next one.
    if (line.starts_line && tag.starts_with('[') && (!in_comment_ || tag.starts_with(EVENT_TAG))) {
        TakeTag(tag);
        out.text += blanks;
        out.length -= blanks;
        return out;
    }
    plain_.clear();
    if (!line.starts_line || !text.starts_with('%')) {
        for (const char c : text) { TakeCharacter(c); }
        EndWord();
        in_glyph_ = false;
    }
    in_tags_ = in_tags_ && std::all_of(plain_.begin(), plain_.end(), IsBlank);
    out.text = plain_.data();
    out.length = plain_.size();
    return out;
}

bool PgnText::BlackBegins() const {
    const std::size_t board_end = std::min(start_.find(' '), start_.size());
    return GetWord(start_.c_str() + board_end) == "b";
}

// The first tag after moves begins a game, and so does a second event: that game has no moves.
void PgnText::TakeTag(std::string_view tag) {
    const bool event = tag.starts_with(EVENT_TAG);
    begins_game_ = !in_tags_ || (event && has_event_);
    has_event_ = event || (has_event_ && !begins_game_);
    if (begins_game_) { start_ = fen_opn; }
    in_tags_ = true;
    in_comment_ = false;
    variations_ = 0;
    const std::string name = GetWord(std::string(tag.substr(1)).c_str());
    const std::size_t quote = tag.find('"');
    if (name != "FEN" || quote == std::string_view::npos) { return; }
    const std::string_view value = tag.substr(quote + 1);
    start_ = value.substr(0, value.find('"'));
    names_start_ = true;
}

void PgnText::TakeCharacter(char c) {
    if (in_line_comment_) { return; }
    if (in_comment_) {
        in_comment_ = c != '}';
        // A bracket would be taken for a tag.
        if (variations_ == 0 && c != '{') { plain_ += c == '[' ? '(' : c; }
        return;
    }
    if (in_glyph_ && c >= '0' && c <= '9') { return; }
    in_glyph_ = false;
    const bool of_word = !IsBlank(c) && std::strchr("{};()$", c) == nullptr;
    if (of_word) {
        if (variations_ == 0) { word_ += c; }
        return;
    }
    EndWord();
    in_comment_ = c == '{';
    in_line_comment_ = c == ';';
    in_glyph_ = c == '$';
    if (c == '(') { ++variations_; }
    if (c == ')') { variations_ = std::max(variations_ - 1, 0); }
    if (variations_ == 0 && (c == '{' || IsBlank(c))) { plain_ += c; }
    if (c == '(' || c == ')') { plain_ += ' '; }
}

void PgnText::EndWord() {
    if (word_.empty()) { return; }
    const std::size_t number = MoveNumberLength(word_);
    plain_ += word_.substr(0, number) + PlainMove(std::string_view(word_).substr(number));
    word_.clear();
}
