// Games as the published standard writes them. Front-end thread only.
#pragma once

#include <string>

#include "board/position.h"
#include "platform/outfile.h"

// Returns a move in the standard's algebraic notation, with check and mate signs. Requires a legal
// move of the side to move. Uses the move lists of this ply and the next; the position is as
// before.
std::string StandardSan(Position* pos, Move m);

// Writes one game: its tags, then its moves, then the result.
class PgnWriter {
public:
    explicit PgnWriter(OutFile* out) : out_(out) {}
    // The seven tags that each game has, and where it does not begin at the start position, given
    // as the four fields of a FEN, that too.
    void Tags(const char* result, const std::string& start);
    // Adds a legal move of the game position, before it is played.
    void AddMove(Position* pos, Move m);
    // "1-0", "0-1", "1/2-1/2" or "*".
    void End(const char* result);

private:
    void Tag(const char* name, const std::string& value);
    void AddWord(const std::string& word);

    OutFile* out_;
    std::string line_;  // of the moves, not yet written
};
