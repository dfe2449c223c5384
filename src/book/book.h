// The opening book: look-up for play, building from games, and the scanner that turns games into
// positions. Front-end thread only, unless said otherwise, while no search runs.
#pragma once

#include <optional>

#include "board/position.h"

inline constexpr int BOOK_RECORD_SIZE = 14;        // bytes in the file
inline constexpr int BOOK_BUCKET_SHIFT = 6;        // key1 >> this: the record's bucket
inline constexpr int BOOK_BUCKETS = 1024;          // of the index
inline constexpr int BOOK_BLOCK_RECORDS = 2048;    // records of a bucket that can be found
inline constexpr int BOOK_COUNTER_MAX = 60000;     // of each of a record's counters
inline constexpr int BOOK_MAX_PLY = 35;            // plies of a game up to which the book is asked
inline constexpr u16 BOOK_WHITE_TO_MOVE = 0x8000;  // bit of key1

// One book record. Files hold the fields little-endian without gaps, the records sorted as
// BookOrder says, each key once.
struct BookRecord {
    u16 key1;       // side-to-move key without its highest bit, BOOK_WHITE_TO_MOVE in its place
    u32 key2;       // all-pieces key plus en passant square
    u16 stm_wins;   // games won by the side to move, 0..BOOK_COUNTER_MAX
    u16 prev_wins;  // games won by the side that moved into the position, likewise
    u16 draws;      // drawn and undecided games, likewise
    u16 reserved;   // 0
};

// The play book: keys, the index of its file, and the block of records that was read last. A file
// may hold anything; then some records are not found.
// Invariants while bkrecnum > 0:
// 1. bktable[b] is the number of the file's first record of bucket b, or -1.
// 2. bkbuffr[0 .. block_count) are the records from there on, up to the first record after the
//    bucket. Only keys of block_bucket are answered from it: its last record may belong to the next
//    bucket, of which nothing else has been read.
struct OpeningBook {
    u16 hash1;         // keys of the last position passed to UpdatePosHash: of the side to move,
    u32 hash2;         // and of all pieces and the en passant square
    int bkrecnum;      // records in the file, 0 = no book
    int block_count;   // records in bkbuffr, 0..BOOK_BLOCK_RECORDS
    int block_bucket;  // bucket whose records the block holds, -1 = none
    i32 bktable[BOOK_BUCKETS];
    BookRecord bkbuffr[BOOK_BLOCK_RECORDS];
};
extern OpeningBook opening_book;  // empty at the start of the program

// --- look-up (lookup.cpp) ---

// Reads the index of PBlock.options.book_file. No file, or one without a whole record, means no
// book; one that cannot be read, or is no regular file, is named on standard error as well.
// Returns 0: all memory is static.
int InitBook();

// Forgets the book: from now on there is none.
void FreeBook();

// Takes the keys of a position: from now on `opening_book.hash1` and `hash2` are its own.
void UpdatePosHash(const Position* pos);

// Returns the record of the keys hash1/hash2 with `side` to move; nothing when the book has none or
// its file cannot be read any more. Requires: side is WHITE or BLACK.
std::optional<BookRecord> FindPosition(int side);

// Publishes the book move of `pos` in PBlock.result, NO_MOVE when there is none; verbose: lists the
// candidates as messages. Takes over hash1 and hash2. Generates moves into the list of the current
// ply; the position itself is what it was.
void GetCandidates(Position* pos, int verbose);

// The same choice, returned only: the published result of a search stays as it is.
Move ChooseBookMove(Position* pos, int verbose);

// Writes the BOOK_RECORD_SIZE bytes of a record. Any thread.
void EncodeBookRecord(const BookRecord& record, unsigned char* out);

// Returns the record that BOOK_RECORD_SIZE bytes hold, whatever they are. Any thread.
BookRecord DecodeBookRecord(const unsigned char* in);

// Order of the records in a file: the larger value first. Any thread.
inline u64 BookOrder(u16 key1, u32 key2) { return u64{key1} << 32 | key2; }
inline u64 BookOrder(const BookRecord& record) { return BookOrder(record.key1, record.key2); }

// key1 of the key hash1 with `side` (WHITE or BLACK) to move.
inline u16 BookKey1(int side) {
    const int key = opening_book.hash1 & ~BOOK_WHITE_TO_MOVE;
    return static_cast<u16>(side == WHITE ? key | BOOK_WHITE_TO_MOVE : key);
}

// --- building (build.cpp) ---

// Console "mkbook": builds "book.opn" from "book.pgn", both in the working directory, and prints
// its progress. Without "book.pgn" it says so on standard error and does nothing else. When a file
// cannot be read or written, or the user interrupts, it says so in one line and leaves "book.opn"
// as it was. The play book is off afterwards, and the game position is the start position.
void MakeBook();

// --- game files (pgnscan.cpp) ---

// Turns the games of `path` into "tmp.pgn" (mode 1: annotated games) or "tmp.epd" (2: positions for
// tuning, 3: for testing, 4: rook endings) in the working directory, and shows how many games and
// positions there were. When one of the files cannot be opened it does nothing. Leaves the game
// position anywhere and the options as they were. Requires: mode 1..4.
void Scan_PGN_File(const char* path, int mode);

inline constexpr int DRAWN_OR_UNKNOWN = 2;  // result of a game; else the colour that won

// Returns the result that a tag line, or a part of it, names. Any thread.
int ResultOfText(const char* text);

inline bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
