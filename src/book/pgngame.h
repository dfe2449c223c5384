// Whole games out of a PGN file, one after the other, with what engines write in the comments after
// their moves. The text is read as the published standard writes it where the conventions say so
// (full_pgn). Front-end thread only.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "book/pgntext.h"
#include "platform/textlines.h"

struct PgnMove {
    std::string text;          // as written, without marks and number
    bool from_book = false;    // its comment says "book"
    std::optional<int> score;  // of its comment, centipawns for the mover
};

struct PgnGame {
    std::string start;           // the position in which it begins, as FEN
    std::string result;          // of its tag; empty when there is none
    std::vector<PgnMove> moves;  // of the main line
};

// The score of a comment such as "+0.25/7 0.013s" or "-M5/12", centipawns for the mover; nothing
// when it begins with none. A mate in n plies is so many centipawns less than the infinite score.
std::optional<int> ScoreOfComment(const std::string& comment);

class PgnGameReader {
public:
    // Reads from an open reader, which must outlive this one.
    explicit PgnGameReader(LineReader* lines) : lines_(lines) {}

    // Reads the next game that has a move. False at the end of the file, or when reading ended
    // early (see ReadLine); what has been read of the last game is then dropped in the latter case.
    [[nodiscard]] bool Next(PgnGame* game);

private:
    void TakeTag(const std::string& tag);
    void TakeMoveText(std::string_view text);
    void EndComment();

    LineReader* lines_;
    PgnText pgn_;
    PgnGame game_;         // being read
    std::string comment_;  // since the last move
    bool in_comment_ = false;
};
