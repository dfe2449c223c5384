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

inline std::string EncodeBook(const std::vector<BookRecord>& records) {
    std::string bytes;
    for (const BookRecord& r : records) {
        unsigned char out[BOOK_RECORD_SIZE];
        EncodeBookRecord(r, out);
        bytes.append(reinterpret_cast<char*>(out), sizeof out);
    }
    return bytes;
}

inline std::vector<BookRecord> DecodeBook(const std::string& bytes) {
    std::vector<BookRecord> records;
    for (std::size_t at = 0; at + BOOK_RECORD_SIZE <= bytes.size(); at += BOOK_RECORD_SIZE) {
        records.push_back(
            DecodeBookRecord(reinterpret_cast<const unsigned char*>(bytes.data()) + at));
    }
    return records;
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
