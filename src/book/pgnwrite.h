// Games as the published standard writes them. Front-end thread only.
#pragma once

#include <string>

#include "board/position.h"
#include "platform/outfile.h"

// Returns a move in the standard's algebraic notation, with check and mate signs. Requires a legal
// move of the side to move. Uses the move list of the current ply; the position is as before.
std::string StandardSan(Position* pos, Move m);

// Writes one game: its tags, then its moves, then the result.
class PgnWriter {
public:
    explicit PgnWriter(OutFile* out) : out_(out) {}
    void Tag(const char* name, const std::string& value);
    // The seven tags that each game has, where nothing is known but these; and where it does not
    // begin at the start position, given as a FEN, that too.
    void Tags(const char* event, const char* white, const char* black, const char* result,
              const std::string& start);
    // Adds a legal move of the position it is made in; a comment unless it is empty.
    void AddMove(Position* pos, Move m, const std::string& comment = "");
    // "1-0", "0-1", "1/2-1/2" or "*".
    void End(const char* result);

private:
    void AddWord(const std::string& word);

    OutFile* out_;
    std::string line_;           // of the moves, not yet written
    bool number_wanted_ = true;  // before a move of Black
};
