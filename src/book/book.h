// The opening book: look-up for play, building from games, and the scanner that turns games into
// positions. Front-end thread only. InitBook before the first look-up.
#pragma once

#include "board/position.h"

inline constexpr int BOOK_RECORD_SIZE = 14;      // bytes in the file
inline constexpr int BOOK_BLOCK_RECORDS = 2048;  // records of a loaded block
inline constexpr int BOOK_COUNTER_MAX = 60000;
inline constexpr int BOOK_MAX_PLY =
    35;  // the book is asked while the game has at most this many plies

// One book record; files hold the fields little-endian without gaps.
struct BookRecord {
    u16 key1;       // side-to-move key, bit 15 = white to move
    u32 key2;       // all-pieces key plus en passant square
    u16 stm_wins;   // games won by the side to move
    u16 prev_wins;  // games won by the side that moved into the position
    u16 draws;      // drawn and undecided games
    u16 reserved;
};

extern u16 hash1;  // keys of the last position passed to UpdatePosHash
extern u32 hash2;
extern int bkrecnum;  // records in the book, 0 = no book

// --- look-up (lookup.cpp) ---
// Reads the index of PBlock.options.book_file. A file that does not open means no book. Returns 0:
// all memory is static.
int InitBook();
void FreeBook();
void UpdatePosHash(const Position* pos);
// Record of the keys hash1/hash2 with `side` to move (a static copy), or nullptr.
const BookRecord* FindPosition(int side);
// Stores the book move of `pos` in PBlock.result, 0 when there is none; verbose: lists the
// candidates.
void GetCandidates(Position* pos, int verbose);
// The same choice, returned only: the published result of a search stays as it is.
Move ChooseBookMove(Position* pos, int verbose);

void EncodeBookRecord(const BookRecord& record, unsigned char* out);
BookRecord DecodeBookRecord(const unsigned char* in);
// Order of the records in a file: the larger key first.
inline u64 BookOrder(const BookRecord& record) { return u64{record.key1} << 32 | record.key2; }
// Record key of the keys hash1/hash2 with `side` to move.
inline u16 BookKey1(int side) {
    return static_cast<u16>(side == WHITE ? hash1 | 0x8000 : hash1 & 0x7FFF);
}

// --- building (build.cpp) ---
// Console "mkbook": builds "book.opn" from "book.pgn". When a file cannot be written it says so in
// one line and leaves "book.opn" as it was.
void MakeBook();

// --- game files (pgnscan.cpp) ---
// Turns the games of `path` into "tmp.pgn" (mode 1) or "tmp.epd" (modes 2 to 4).
void Scan_PGN_File(const char* path, int mode);

inline constexpr int DRAWN_OR_UNKNOWN = 2;  // result of a game; else the colour that won
// The result that a tag line, or a part of it, names.
int ResultOfText(const char* text);
inline bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
