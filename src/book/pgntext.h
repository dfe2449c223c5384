// Game text as the published standard writes it, made plain for the readers of this folder and of
// the console, which know moves, comments in braces and tags. Does nothing unless the program keeps
// to that standard. One reader for each file; front-end thread only.
#pragma once

#include <string>
#include <string_view>

#include "platform/textlines.h"

// Length of a move number at the front of a word: of "12." in "12.0-0" and of "12..." in
// "12...Kd7".
std::size_t MoveNumberLength(std::string_view word);

class PgnText {
public:
    // Returns a line of the file without variations, numeric glyphs, escaped lines and comments up
    // to the end of a line, and with moves free of their marks ("Qh5#!?" and "0-0" become "Qh5" and
    // "O-O"); tags stay as they are. Lines have to come in their order. The text is valid until the
    // next call.
    TextLine Plain(const TextLine& line);

    // True when the line that was made plain last is the first tag of a game.
    bool BeginsGame() const { return begins_game_; }
    // The position in which the game begins whose tags were read last, as FEN, and who moves there.
    const std::string& Start() const { return start_; }
    bool BlackBegins() const;
    // True when the line that was made plain last is the tag that names it.
    bool NamesStart() const { return names_start_; }

private:
    void TakeTag(std::string_view tag);
    void TakeCharacter(char c);
    void EndWord();

    std::string plain_;  // of the line
    std::string word_;   // of the moves, not yet in plain_
    std::string start_;
    bool begins_game_ = false;
    bool names_start_ = false;
    bool in_tags_ = false;
    bool has_event_ = false;   // the tags read last
    bool in_comment_ = false;  // in braces, which do not nest
    bool in_line_comment_ = false;
    bool in_glyph_ = false;  // after "$"
    int variations_ = 0;     // depth of parentheses
};
