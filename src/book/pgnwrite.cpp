#include "book/pgnwrite.h"

#include <cassert>
#include <cstdlib>
#include <sstream>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"

namespace {

constexpr std::size_t LINE_LENGTH = 79;

// What tells the piece from others of its kind that may go to the same square: nothing, its file,
// its rank, or both.
std::string Distinction(Position* pos, Move m) {
    const int from = MoveFrom(m);
    bool others = false, same_file = false, same_rank = false;
    GenerateAll(pos);
    for (const MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e) {
        const int other = MoveFrom(e->move);
        if (other == from || MoveTo(e->move) != MoveTo(m) ||
            pos->board[other] != pos->board[from] || !MoveIsLegal(pos, pos->side, e->move)) {
            continue;
        }
        others = true;
        same_file = same_file || FileOf(other) == FileOf(from);
        same_rank = same_rank || RankOf(other) == RankOf(from);
    }
    if (!others) { return ""; }
    const std::string square = square_name[from];
    if (!same_file) { return square.substr(0, 1); }
    return same_rank ? square : square.substr(1);
}

std::string WithoutSigns(Position* pos, Move m) {
    const int from = MoveFrom(m);
    const int to = MoveTo(m);
    const int type = PieceType(pos->board[from]);
    if (type == KING && std::abs(from - to) == 2) { return to > from ? "O-O" : "O-O-O"; }
    if (type == PAWN) {
        MoveForms forms;
        GenMoveStrings(pos, m, &forms);
        const std::string text = forms.san;
        return text.substr(0, text.find('+'));
    }
    constexpr const char* LETTERS = "-PNBRQK";
    std::string text(1, LETTERS[type]);
    text += Distinction(pos, m);
    if (pos->board[to] != NO_PIECE) { text += 'x'; }
    return text + square_name[to];
}

}  // namespace

bool AnyLegalMove(Position* pos) {
    GenerateAll(pos);
    for (const MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e) {
        if (MoveIsLegal(pos, pos->side, e->move)) { return true; }
    }
    return false;
}

std::string StandardSan(Position* pos, Move m) {
    assert(MoveIsPseudoLegal(pos, m));
    std::string text = WithoutSigns(pos, m);
    MakeMove(pos, m);
    if (InCheck(pos, pos->side)) { text += AnyLegalMove(pos) ? '+' : '#'; }
    UnmakeMove(pos);
    return text;
}

void PgnWriter::Tag(const char* name, const std::string& value) {
    std::string text;
    for (const char c : value) {
        if (c == '"' || c == '\\') { text += '\\'; }
        text += c;
    }
    out_->Write("[" + std::string(name) + " \"" + text + "\"]\n");
}

void PgnWriter::Tags(const char* event, const char* white, const char* black, const char* result,
                     const std::string& start) {
    Tag("Event", event);
    Tag("Site", "?");
    Tag("Date", "????.??.??");
    Tag("Round", "-");
    Tag("White", white);
    Tag("Black", black);
    Tag("Result", result);
    if (start != fen_opn) {
        Tag("SetUp", "1");
        Tag("FEN", start + " 0 1");
    }
    out_->Write("\n");
}

void PgnWriter::AddMove(Position* pos, Move m, const std::string& comment) {
    const int black_began = (pos->hist_count + pos->side) % 2;
    const std::string number = std::to_string((pos->hist_count + black_began) / 2 + 1);
    if (pos->side == WHITE) {
        AddWord(number + ".");
    } else if (number_wanted_) {
        AddWord(number + "...");
    }
    AddWord(StandardSan(pos, m));
    std::istringstream words(comment.empty() ? "" : "{" + comment + "}");
    for (std::string word; words >> word;) { AddWord(word); }
    number_wanted_ = !comment.empty();
}

void PgnWriter::AddWord(const std::string& word) {
    if (!line_.empty() && line_.size() + 1 + word.size() > LINE_LENGTH) {
        out_->Write(line_ + "\n");
        line_.clear();
    }
    if (!line_.empty()) { line_ += ' '; }
    line_ += word;
}

void PgnWriter::End(const char* result) {
    AddWord(result);
    out_->Write(line_ + "\n\n");
    line_.clear();
    number_wanted_ = true;
}
