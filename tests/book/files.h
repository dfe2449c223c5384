// Files of the book tests: whole contents in and out, and records of a book.
#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "book/book.h"

inline std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

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
    for (std::size_t at = 0; at + BOOK_RECORD_SIZE <= bytes.size(); at += BOOK_RECORD_SIZE)
        records.push_back(
            DecodeBookRecord(reinterpret_cast<const unsigned char*>(bytes.data()) + at));
    return records;
}
