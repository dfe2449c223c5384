// EPD lines as the analysis and the tuner use them: a position, its best move, its label. Any
// thread may call; a reader belongs to one thread.
#pragma once

#include <string>

#include "platform/textlines.h"

// One usable line of an EPD file: "<position> bm <move>; tune <result>; ...".
struct EpdRecord {
    std::string position;   // the whole line without its end, as SetPosition takes it
    std::string best_move;  // text of "bm", empty when there is none
    double result = 0.5;    // label of "tune", 0..1
};

// Takes a line apart. False when the line is no position: shorter than ten characters, or a
// comment.
bool ParseEpdLine(const std::string& line, EpdRecord* record);

// Reads on up to the next usable line, which is kept unchanged in `line`. False at the end. Of a
// line that is longer than the reader's buffer only the first part counts.
bool NextEpdRecord(LineReader* reader, std::string* line, EpdRecord* record);
