// Games as the published standard writes them. Any thread, for its own position.
#pragma once

#include <string>

#include "board/position.h"

// Returns a move in the standard's algebraic notation, with check and mate signs. Requires a legal
// move of the side to move. Uses the move lists of this ply and the next; the position is as
// before.
std::string StandardSan(Position* pos, Move m);

// What the tags of a game say; what is not known stays as it is.
struct PgnTags {
    std::string event = "?";
    std::string date = "????.??.??";
    std::string round = "-";
    std::string white = "?";
    std::string black = "?";
    std::string result;       // "1-0", "0-1", "1/2-1/2" or "*"
    std::string start;        // the four fields of the FEN that the game began with
    int half_moves = 0;       // its half-move clock
    std::string termination;  // how the game ended; empty: not said
};

// What a player says of a move: the score in pawns or the plies to the mate for the mover, the
// depth, the time, as in "+0.25/7 0.012s" and "+M5/9 0.100s"; "book" at depth 0. `score` in
// centipawns.
std::string SearchComment(int score, int depth, double seconds);

// The date of today as a tag shows it. One thread at a time.
std::string DateOfToday();

// The text of one game: its tags, then its moves, then the result.
class PgnWriter {
public:
    // The seven tags that each game has, and where it does not begin at the start position, that
    // too.
    void Tags(const PgnTags& tags);
    // Adds a legal move of the position, before it is played.
    void AddMove(Position* pos, Move m);
    // Adds a short comment on the last move; `text` is without braces.
    void AddComment(const std::string& text);
    // The result of the tags. Returns the whole text, with an empty line at its end.
    const std::string& End(const std::string& result);

private:
    void Tag(const char* name, const std::string& value);
    void AddWord(const std::string& word);

    std::string text_;
    std::string line_;  // of the moves, not yet in the text
    bool after_comment_ = false;
};
