// Opening book look-up: the index of the book file, the block of records that was read last, and
// the choice of a move. InitBook first; front-end thread only.
#include "book/book.h"

#include <array>
#include <cassert>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/files.h"
#include "platform/infile.h"
#include "search/picker.h"

OpeningBook opening_book;

namespace {

constexpr int NO_BUCKET = -1;
constexpr int NO_RECORD = -1;       // in the index
constexpr int READ_RECORDS = 1024;  // records per read while the index is built

// Numbers of the keys: those of a piece are found at (type - 1) * 128 + black * 64 + square, and at
// the two places after it.
constexpr u32 KEYS_PER_PIECE = 64;
constexpr u32 KEY_COUNT = 12 * KEYS_PER_PIECE + 2;
constexpr u16 FIRST_KEY_SEED = 77;
constexpr int KEY_FACTOR = 33;
constexpr int KEY_SUMMAND = 12345;

// Choice of a move: see RecordValue.
constexpr double SIDE_BIAS = 0.02;
constexpr double RANDOM_STEP = 0.01;
constexpr double FEW_GAMES_PENALTY = 1.25;
constexpr double DRAW_SHARE = 0.5;

constexpr std::array<u16, KEY_COUNT> MakeKeys() {
    std::array<u16, KEY_COUNT> keys = {};
    u16 x = FIRST_KEY_SEED;
    for (u16& key : keys) { key = x = static_cast<u16>(KEY_FACTOR * x + KEY_SUMMAND); }
    return keys;
}
constexpr std::array<u16, KEY_COUNT> hasharea = MakeKeys();
static_assert(hasharea[0] == 14886 && hasharea[1] == 44831 && hasharea[3] == 23153);

// What a piece gives to both keys, in one word: to that of its side the bits above the lower 32, to
// that of all pieces the lower 32.
constexpr int OWN_KEY_SHIFT = 32;
using PieceKeys = LookupTable<u64, SQUARE_COUNT>;
constexpr auto MakePieceKeys() {
    LookupTable<LookupTable<PieceKeys, 2>, PIECE_TYPES> keys = {};
    for (u32 i = 0; i < KEY_COUNT - 2; ++i) {
        const int kind = static_cast<int>(i / KEYS_PER_PIECE);
        keys[kind / 2 + 1][kind % 2][static_cast<int>(i % KEYS_PER_PIECE)] =
            u64{hasharea[i]} << OWN_KEY_SHIFT | u64{hasharea[i + 1]} << 16 | hasharea[i + 2];
    }
    return keys;
}
constexpr auto piece_keys = MakePieceKeys();  // by type, colour and square

int BucketOf(u16 key1) { return key1 >> BOOK_BUCKET_SHIFT; }
static_assert(1 << (16 - BOOK_BUCKET_SHIFT) == BOOK_BUCKETS);

void ReadIndex(std::FILE* file) {
    unsigned char bytes[READ_RECORDS * BOOK_RECORD_SIZE];
    std::size_t n;
    while ((n = std::fread(bytes, BOOK_RECORD_SIZE, READ_RECORDS, file)) > 0) {
        for (std::size_t i = 0; i < n; ++i) {
            if (opening_book.bkrecnum == INT_MAX) { return; }
            const u16 key1 = DecodeBookRecord(bytes + i * BOOK_RECORD_SIZE).key1;
            i32* first = &opening_book.bktable[BucketOf(key1)];
            if (*first == NO_RECORD) { *first = opening_book.bkrecnum; }
            ++opening_book.bkrecnum;
        }
    }
}

// The book file, or nullptr; *why as OpenRegularFile sets it. A name that is empty is no book.
std::FILE* OpenBookFile(const char** why) {
    *why = nullptr;
    const char* name = PBlock.options.book_file.c_str();
    return name[0] == '\0' ? nullptr : OpenRegularFile(name, why);
}

void DropBlock() {
    opening_book.block_bucket = NO_BUCKET;
    opening_book.block_count = 0;
}

// Reads the records of a bucket, the first record after them included. An unsorted file may give
// records of other buckets; they only keep some from being found. Without a file there is no block.
void LoadBlock(int bucket) {
    OpeningBook* book = &opening_book;
    DropBlock();
    const i32 first = book->bktable[bucket];
    if (first == NO_RECORD) { return; }
    const char* why;
    std::FILE* file = OpenBookFile(&why);
    if (file == nullptr) { return; }
    if (SeekFile(file, static_cast<u64>(first) * BOOK_RECORD_SIZE)) {
        unsigned char bytes[BOOK_RECORD_SIZE];
        while (book->block_count < BOOK_BLOCK_RECORDS &&
               std::fread(bytes, BOOK_RECORD_SIZE, 1, file) == 1) {
            BookRecord* record = &book->bkbuffr[book->block_count++];
            *record = DecodeBookRecord(bytes);
            if (BucketOf(record->key1) < bucket) { break; }
        }
        book->block_bucket = bucket;
    }
    if (std::ferror(file)) { DropBlock(); }
    std::fclose(file);
}

// Worth of a move of `side` that leads to the record's position, above 0 when it may be played;
// *share gets the share of the points that it has won. Draws a random number.
double RecordValue(const BookRecord& r, int side, double* share) {
    const int w = r.prev_wins;
    const int l = r.stm_wins;
    const int d = r.draws;
    const int spread = PBlock.options.book_weight;
    const int random = spread > 0 ? std::rand() % spread : 0;
    *share = (w + DRAW_SHARE * d) / (l + w + d + 1);
    if (w <= 1 || w < l / 2) { return 0.0; }
    return 2.0 * *share + (side == WHITE ? -SIDE_BIAS : SIDE_BIAS) -
           FEW_GAMES_PENALTY * std::sqrt(w + d) / (w + d + 1) + RANDOM_STEP * random;
}

// Record of the position after a legal move.
std::optional<BookRecord> FindAfterMove(Position* pos, Move m) {
    MakeMove(pos, m);
    UpdatePosHash(pos);
    const std::optional<BookRecord> record = FindPosition(pos->side);
    UnmakeMove(pos);
    return record;
}

}  // namespace

void EncodeBookRecord(const BookRecord& record, unsigned char* out) {
    // Without a loop over an array, so that compilers make one store of two bytes.
    const auto put = [out](int at, u32 word) {
        out[at] = static_cast<unsigned char>(word);
        out[at + 1] = static_cast<unsigned char>(word >> 8);
    };
    put(0, record.key1);
    put(2, record.key2);
    put(4, record.key2 >> 16);
    put(6, record.stm_wins);
    put(8, record.prev_wins);
    put(10, record.draws);
    put(12, record.reserved);
}

BookRecord DecodeBookRecord(const unsigned char* in) {
    const auto word = [in](int at) { return static_cast<u16>(in[at] | in[at + 1] << 8); };
    return {word(0), u32{word(4)} << 16 | word(2), word(6), word(8), word(10), word(12)};
}

int InitBook() {
    FreeBook();
    const char* why;
    std::FILE* file = OpenBookFile(&why);
    if (file != nullptr) {
        ReadIndex(file);
        if (std::ferror(file)) {
            why = "cannot be read";
            FreeBook();
        }
        std::fclose(file);
    }
    if (why != nullptr) { ShowError("%s: %s\n", PBlock.options.book_file.c_str(), why); }
    return 0;
}

void FreeBook() {
    for (i32& first : opening_book.bktable) { first = NO_RECORD; }
    opening_book.bkrecnum = 0;
    DropBlock();
    opening_book.hash1 = 0;
    opening_book.hash2 = 0;
}

void UpdatePosHash(const Position* pos) {
    u64 keys[2] = {0, 0};
    for (int colour = WHITE; colour <= BLACK; ++colour) {
        for (Bitboard b = pos->bb[colour][0]; b != 0;) {
            const int square = PopLSB(&b);
            keys[colour] ^= piece_keys[PieceType(pos->board[square])][colour][square];
        }
    }
    opening_book.hash1 = static_cast<u16>(keys[pos->side] >> OWN_KEY_SHIFT);
    opening_book.hash2 = static_cast<u32>(keys[WHITE] ^ keys[BLACK]) + pos->ep_square;
}

std::optional<BookRecord> FindPosition(int side) {
    assert(side == WHITE || side == BLACK);
    OpeningBook* book = &opening_book;
    if (book->bkrecnum == 0) { return std::nullopt; }
    const u16 key1 = BookKey1(side);
    if (BucketOf(key1) != book->block_bucket) { LoadBlock(BucketOf(key1)); }
    const u64 wanted = BookOrder(key1, book->hash2);
    int lo = 0;
    int hi = book->block_count - 1;
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        const u64 here = BookOrder(book->bkbuffr[mid]);
        if (here == wanted) { return book->bkbuffr[mid]; }
        if (here > wanted) {
            lo = mid + 1;
        } else {
            hi = mid - 1;
        }
    }
    return std::nullopt;
}

void GetCandidates(Position* pos, int verbose) {
    PBlock.result.PublishMove(ChooseBookMove(pos, verbose));
}

Move ChooseBookMove(Position* pos, int verbose) {
    if (opening_book.bkrecnum == 0 || WhyImpossible(pos) != nullptr) { return NO_MOVE; }
    const int side = pos->side;
    GenerateAll(pos);
    UpdatePosHash(pos);
    // A game that has left the book does not come back by a transposition of its own.
    if (pos->hist_count > 0 && !FindPosition(side)) { return NO_MOVE; }

    char text[MOVE_TEXT_SIZE];
    Move chosen = NO_MOVE;
    double best = 0.0;
    const PlyData* pd = &pos->sstack[pos->ply];
    const MoveEntry* end = EndOfPlyList(pd);
    for (MoveEntry* e = pd->list_start; e != end; ++e) {
        PickNextMove(e, end);
        e->score = 0;
        const Move m = e->move;
        const bool takes_king = PieceType(pos->board[MoveTo(m)]) == KING;
        if (takes_king || !MoveIsLegal(pos, side, m)) { continue; }
        const std::optional<BookRecord> r = FindAfterMove(pos, m);
        if (!r) { continue; }
        double share;
        const double value = RecordValue(*r, side, &share);
        if (value > best) {
            best = value;
            chosen = m;
        }
        if (verbose) {
            MoveToStr(m, text, TextStyle());
            ShowMessageF("%s   %5d - %5d - %5d   %0.3f  %0.3f\n", text, r->prev_wins, r->stm_wins,
                         r->draws, share, value);
        }
    }
    if (verbose && chosen != NO_MOVE) {
        MoveToStr(chosen, text, TextStyle());
        ShowMessageF("book move is %s\n", text);
    }
    return chosen;
}
