// EPD lines as the analysis and the tuner use them: a position, its best move, its label. Nothing
// has to be initialised. Any thread may call; a reader belongs to one thread.
#pragma once

#include <string>
#include <vector>

#include "platform/textlines.h"
#include "platform/types.h"

// The prediction error of a file that cannot be read.
inline constexpr double UNREADABLE_FILE = 1.0;

// What the scans write as the score, "ce", of a move that had none: no comment after it, or one
// that tells no score.
inline constexpr i16 NO_COMMENT_SCORE = -30000;
inline constexpr i16 BAD_COMMENT_SCORE = -29999;

// One usable line of an EPD file: "<position> bm <move>; tune <result>; ...".
struct EpdRecord {
    std::string position;   // the whole line without its end, as SetPosition takes it
    std::string best_move;  // the text after "bm" up to ";" or the end; empty when there is none
    double result = 0.5;    // label of "tune", the expected score of the side to move: 0..1 in good
                            // files, finite in any; 0.5 when there is none
};

// One operation of a line: "bm Qd1 Qe2" or "id \"BK.01\"".
struct EpdOperation {
    std::string opcode;
    std::vector<std::string> operands;  // quoted ones without their quotes
};

// The operations of a line in their order, after the fields of its position and the two counters,
// as far as these are there. They are separated by ";", which may stand inside quotes.
std::vector<EpdOperation> EpdOperations(const std::string& line);
// The line with single blanks for every white space outside quotes.
std::string WithSingleBlanks(const std::string& line);

// Takes a line apart; carriage returns and NULs at its end are no part of it. False, with the
// record unchanged, when the line is no position: shorter than ten characters, or a comment (it
// begins with a blank, "#", ";" or a NUL).
[[nodiscard]] bool ParseEpdLine(const std::string& line, EpdRecord* record);

// Reads on up to the next usable line, which is kept unchanged in `line`. False at the end of the
// file. Of a line that is longer than the reader's buffer only the first part counts. Requires: an
// open reader.
[[nodiscard]] bool NextEpdRecord(LineReader* reader, std::string* line, EpdRecord* record);
