// Opening book look-up: the index of the book file, the block of records that was read last, and
// the choice of a move. InitBook first; front-end thread only.
#include "book/book.h"

#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>

#include "board/bitboards.h"
#include "board/moves.h"
#include "board/plydata.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "search/picker.h"

u16 hash1;
u32 hash2;
int bkrecnum;

namespace {

constexpr int KEY_COUNT = 772;    // (type - 1) * 128 + black * 64 + square, and two more
constexpr int INDEX_SIZE = 1024;  // values of key1 >> BUCKET_SHIFT
constexpr int BUCKET_SHIFT = 6;
constexpr int NO_BUCKET = -1;
constexpr int READ_RECORDS = 4096;  // records per read while the index is built

// Choice of a move: see GetCandidates.
constexpr double SIDE_BIAS = 0.02;
constexpr double RANDOM_STEP = 0.01;
constexpr double FEW_GAMES_PENALTY = 1.25;

constexpr std::array<u16, KEY_COUNT> MakeKeys() {
    std::array<u16, KEY_COUNT> keys = {};
    u16 x = 77;
    for (u16& key : keys) { key = x = static_cast<u16>(33 * x + 12345); }
    return keys;
}
constexpr std::array<u16, KEY_COUNT> hasharea = MakeKeys();
static_assert(hasharea[0] == 14886 && hasharea[1] == 44831 && hasharea[3] == 23153);

i32 bktable[INDEX_SIZE];  // first record of each bucket, -1 = none
BookRecord bkbuffr[BOOK_BLOCK_RECORDS];
int block_count;  // records in bkbuffr
// Bucket whose records the block holds. Only keys of this bucket are answered from the block: its
// last record may belong to the next bucket, of which nothing else was read.
int block_bucket = NO_BUCKET;

void ReadIndex(std::FILE* file) {
    static unsigned char bytes[READ_RECORDS * BOOK_RECORD_SIZE];
    std::size_t n;
    while ((n = std::fread(bytes, BOOK_RECORD_SIZE, READ_RECORDS, file)) > 0) {
        for (std::size_t i = 0; i < n && bkrecnum < INT_MAX; ++i, ++bkrecnum) {
            const int bucket = DecodeBookRecord(bytes + i * BOOK_RECORD_SIZE).key1 >> BUCKET_SHIFT;
            if (bktable[bucket] < 0) { bktable[bucket] = bkrecnum; }
        }
        if (bkrecnum == INT_MAX) { return; }
    }
}

// Reads the records of a bucket, the first record behind them included. An unsorted file may give
// records of other buckets; they only keep some from being found.
void LoadBlock(int bucket) {
    block_bucket = NO_BUCKET;
    block_count = 0;
    if (PBlock.options.book_file[0] == '\0' || bktable[bucket] < 0) { return; }
    std::FILE* file = std::fopen(PBlock.options.book_file, "rb");
    if (file == nullptr) { return; }
    if (std::fseek(file, static_cast<long>(bktable[bucket]) * BOOK_RECORD_SIZE, SEEK_SET) == 0) {
        unsigned char bytes[BOOK_RECORD_SIZE];
        while (block_count < BOOK_BLOCK_RECORDS &&
               std::fread(bytes, BOOK_RECORD_SIZE, 1, file) == 1) {
            bkbuffr[block_count] = DecodeBookRecord(bytes);
            if (bkbuffr[block_count++].key1 >> BUCKET_SHIFT < bucket) { break; }
        }
        block_bucket = bucket;
    }
    std::fclose(file);
}

// Worth of a move with the given record, above 0 when it may be played. Draws a random number.
double RecordValue(const BookRecord& r, int side, double* share) {
    const int w = r.prev_wins;
    const int l = r.stm_wins;
    const int d = r.draws;
    const int spread = PBlock.options.book_weight;
    const int random = spread > 0 ? std::rand() % spread : 0;
    *share = (w + 0.5 * d) / (l + w + d + 1);
    if (w <= 1 || w < l / 2) { return 0.0; }
    return 2.0 * *share + (side == WHITE ? -SIDE_BIAS : SIDE_BIAS) -
           FEW_GAMES_PENALTY * std::sqrt(w + d) / (w + d + 1) + RANDOM_STEP * random;
}

}  // namespace

void EncodeBookRecord(const BookRecord& record, unsigned char* out) {
    const u16 words[7] = {record.key1,
                          static_cast<u16>(record.key2),
                          static_cast<u16>(record.key2 >> 16),
                          record.stm_wins,
                          record.prev_wins,
                          record.draws,
                          record.reserved};
    for (int i = 0; i < 7; ++i) {
        out[2 * i] = static_cast<unsigned char>(words[i]);
        out[2 * i + 1] = static_cast<unsigned char>(words[i] >> 8);
    }
}

BookRecord DecodeBookRecord(const unsigned char* in) {
    const auto word = [in](int at) { return static_cast<u16>(in[at] | in[at + 1] << 8); };
    return {word(0), u32{word(4)} << 16 | word(2), word(6), word(8), word(10), word(12)};
}

int InitBook() {
    FreeBook();
    if (PBlock.options.book_file[0] != '\0') {
        std::FILE* file = std::fopen(PBlock.options.book_file, "rb");
        if (file != nullptr) {
            ReadIndex(file);
            std::fclose(file);
        }
    }
    return 0;
}

void FreeBook() {
    for (i32& first : bktable) { first = -1; }
    bkrecnum = 0;
    block_bucket = NO_BUCKET;
    block_count = 0;
    hash1 = 0;
    hash2 = 0;
}

void UpdatePosHash(const Position* pos) {
    u16 own = 0;
    u32 all = 0;
    for (int colour = WHITE; colour <= BLACK; ++colour) {
        for (Bitboard b = pos->bb[colour][0]; b != 0;) {
            const int square = PopLSB(&b);
            const int kind = 2 * (PieceType(pos->board[square]) - 1) + colour;
            const std::size_t i = static_cast<std::size_t>(kind) * 64 + static_cast<u8>(square);
            if (colour == pos->side) { own ^= hasharea[i]; }
            all ^= (u32{hasharea[i + 1]} << 16) + hasharea[i + 2];
        }
    }
    hash1 = own;
    hash2 = all + pos->ep_square;
}

const BookRecord* FindPosition(int side) {
    static BookRecord found;
    if (bkrecnum == 0) { return nullptr; }
    const u16 key1 = BookKey1(side);
    if (key1 >> BUCKET_SHIFT != block_bucket) { LoadBlock(key1 >> BUCKET_SHIFT); }
    const u64 wanted = u64{key1} << 32 | hash2;
    int lo = 0;
    int hi = block_count - 1;
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        const u64 here = BookOrder(bkbuffr[mid]);
        if (here == wanted) {
            found = bkbuffr[mid];
            return &found;
        }
        if (here > wanted) {
            lo = mid + 1;
        } else {
            hi = mid - 1;
        }
    }
    return nullptr;
}

void GetCandidates(Position* pos, int verbose) {
    PBlock.result.PublishMove(ChooseBookMove(pos, verbose));
}

Move ChooseBookMove(Position* pos, int verbose) {
    if (bkrecnum == 0 || WhyUnplayable(pos) != nullptr) { return NO_MOVE; }
    const int side = pos->side;
    GenerateAll(pos);
    UpdatePosHash(pos);
    // A game that has left the book does not come back by a transposition of its own.
    if (pos->hist_count > 0 && FindPosition(side) == nullptr) { return NO_MOVE; }

    char text[MOVE_TEXT_SIZE];
    Move chosen = NO_MOVE;
    double best = 0.0;
    for (MoveEntry* e = pos->sstack[pos->ply].list_start; e->move != END_OF_LIST; ++e) {
        PickNextMove(e);
        e->score = 0;
        const Move m = e->move;
        if (!MoveIsLegal(pos, side, m)) { continue; }
        MakeMove(pos, m);
        UpdatePosHash(pos);
        const BookRecord* r = FindPosition(pos->side);
        UnmakeMove(pos);
        if (r == nullptr) { continue; }
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
