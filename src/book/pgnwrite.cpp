#include "book/pgnwrite.h"

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "board/bitboards.h"
#include "board/moves.h"
#include "search/search.h"
#include "search/ttable.h"

namespace {

constexpr std::size_t LINE_LENGTH = 79;

// A piece's move with what tells it from others of its kind that may go to the same square:
// nothing, its file, its rank, or both.
std::string PieceMove(const Position* pos, Move m, const std::vector<Move>& legal,
                      const MoveForms& forms) {
    const int from = MoveFrom(m);
    bool others = false, same_file = false, same_rank = false;
    for (const Move other : legal) {
        const int square = MoveFrom(other);
        if (square == from || MoveTo(other) != MoveTo(m) ||
            pos->board[square] != pos->board[from]) {
            continue;
        }
        others = true;
        same_file = same_file || FileOf(square) == FileOf(from);
        same_rank = same_rank || RankOf(square) == RankOf(from);
    }
    std::string text = forms.file_form;
    if (!others) { return text.erase(1, 1); }
    if (!same_file) { return text; }
    return same_rank ? text.insert(2, 1, forms.rank_form[1]) : forms.rank_form;
}

}  // namespace

std::string StandardSan(Position* pos, Move m) {
    assert(MoveIsPseudoLegal(pos, m));
    const std::vector<Move> legal = LegalMoves(pos);
    MoveForms forms;
    GenMoveStrings(pos, m, &forms);
    std::string text;
    if (PieceType(pos->board[MoveFrom(m)]) == PAWN) {
        text = forms.san;
    } else if (forms.file_form[0] == 'O') {  // castling
        text = forms.file_form;
    } else {
        text = PieceMove(pos, m, legal, forms);
    }
    text.resize(std::min(text.size(), text.find('+')));
    MakeMove(pos, m);
    if (InCheck(pos, pos->side)) { text += LegalMoves(pos).empty() ? '#' : '+'; }
    UnmakeMove(pos);
    return text;
}

std::string SearchComment(int score, int depth, double seconds) {
    constexpr std::size_t COMMENT_SIZE = 50;
    constexpr double CENTIPAWNS_PER_PAWN = 100.0;
    if (depth == 0) { return "book"; }
    char text[COMMENT_SIZE];
    if (std::abs(score) > MATE_SCORE) {
        std::snprintf(text, sizeof text, "%cM%d/%d %0.3fs", score > 0 ? '+' : '-',
                      INFINITE_SCORE - 1 - std::abs(score), depth, seconds);
    } else {
        std::snprintf(text, sizeof text, "%+0.2f/%d %0.3fs", score / CENTIPAWNS_PER_PAWN, depth,
                      seconds);
    }
    return text;
}

std::string DateOfToday() {
    constexpr std::size_t DATE_SIZE = 11;
    const std::time_t now = std::time(nullptr);
    char text[DATE_SIZE];
    const std::tm* today = std::localtime(&now);
    return today != nullptr && std::strftime(text, sizeof text, "%Y.%m.%d", today) > 0
               ? text
               : PgnTags().date;
}

void PgnWriter::Tag(const char* name, const std::string& value) {
    std::string text;
    for (const char c : value) {
        if (c == '"' || c == '\\') { text += '\\'; }
        text += c;
    }
    text_ += "[" + std::string(name) + " \"" + text + "\"]\n";
}

void PgnWriter::Tags(const PgnTags& tags) {
    Tag("Event", tags.event);
    Tag("Site", "?");
    Tag("Date", tags.date);
    Tag("Round", tags.round);
    Tag("White", tags.white);
    Tag("Black", tags.black);
    Tag("Result", tags.result);
    if (tags.start != fen_opn) {
        Tag("FEN", tags.start + " " + std::to_string(tags.half_moves) + " 1");
        Tag("SetUp", "1");
    }
    if (!tags.termination.empty()) { Tag("Termination", tags.termination); }
    text_ += '\n';
}

void PgnWriter::AddMove(Position* pos, Move m) {
    const int black_began = (pos->hist_count + pos->side) % 2;
    const std::string number = std::to_string((pos->hist_count + black_began) / 2 + 1);
    if (pos->side == WHITE) {
        AddWord(number + ".");
    } else if (pos->hist_count == 0 || after_comment_) {
        AddWord(number + "...");
    }
    after_comment_ = false;
    AddWord(StandardSan(pos, m));
}

void PgnWriter::AddComment(const std::string& text) {
    AddWord('{' + text + '}');
    after_comment_ = true;
}

void PgnWriter::AddWord(const std::string& word) {
    if (!line_.empty() && line_.size() + 1 + word.size() > LINE_LENGTH) {
        text_ += line_ + '\n';
        line_.clear();
    }
    if (!line_.empty()) { line_ += ' '; }
    line_ += word;
}

const std::string& PgnWriter::End(const std::string& result) {
    AddWord(result);
    text_ += line_ + "\n\n";
    line_.clear();
    return text_;
}
