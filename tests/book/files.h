// What the book tests share: files and their records, games played by their texts.
#pragma once

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "book/book.h"
#include "book/gamemove.h"
#include "frontend/pblock.h"
#include "support/engine.h"

// Base of the suites that work on files: a fresh engine in a folder of its own.
class BookTest : public EngineTest {
    ScratchFolder folder_;
};

inline void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string Repeat(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) { all += text; }
    return all;
}

// A text of a table: '|' stands for a line feed, '^' for a carriage return, '_' for a tab.
inline std::string Lines(std::string text) {
    std::replace(text.begin(), text.end(), '|', '\n');
    std::replace(text.begin(), text.end(), '^', '\r');
    std::replace(text.begin(), text.end(), '_', '\t');
    return text;
}

// Plays the moves from the start position and takes its book key.
inline void PlayFromStart(const std::string& moves) {
    SetGame(fen_opn);
    std::istringstream words(moves);
    for (std::string word; words >> word;) {
        Move m = NO_MOVE;
        EXPECT_EQ(IsValidMove(word, &m), 1) << moves;
        PlayGameMove(game_position, m);
    }
    UpdatePosHash(game_position);
}

// Bytes of the book that holds these records.
inline std::string EncodeBook(std::vector<BookRecord> records) {
    std::ranges::sort(records, std::greater(), [](const BookRecord& r) { return BookOrder(r); });
    std::string bytes(records.size() * BOOK_RECORD_SIZE, ' ');
    auto* out = reinterpret_cast<unsigned char*>(bytes.data());
    for (const BookRecord& r : records) {
        EncodeBookRecord(r, out);
        out += BOOK_RECORD_SIZE;
    }
    return bytes;
}

// The same of "e2e4:3 0 9,e2e4 e7e5:0 3 9": records by moves from the start position, with the wins
// of the side that made the last one, of the other side, and the draws.
inline std::string BookOf(const std::string& text) {
    std::vector<BookRecord> records;
    std::istringstream words(text);
    for (std::string moves, counters; std::getline(words, moves, ':');) {
        std::getline(words, counters, ',');
        PlayFromStart(moves);
        BookRecord r = {BookKey1(game_position->side), opening_book.hash2, 0, 0, 0, 0};
        std::istringstream(counters) >> r.prev_wins >> r.stm_wins >> r.draws;
        records.push_back(r);
    }
    return EncodeBook(records);
}
