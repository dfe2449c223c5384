// Building of the opening book from a collection of games. Every output is written under a
// temporary name, checked to its last byte, and gets its own name by a rename; until the last
// rename "book.opn" is what it was. Memory is bounded whatever the size of the collection.
// Front-end thread only.
#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

#include "board/moves.h"
#include "book/book.h"
#include "book/gamemove.h"
#include "book/pgntext.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
#include "platform/files.h"
#include "platform/infile.h"
#include "platform/textlines.h"
#include "platform/words.h"

namespace {

constexpr const char* GAMES_NAME = "book.pgn";
constexpr const char* BOOK_NAME = "book.opn";
// Records of a build that was broken off, or put there by the user: they join the next build and
// are deleted when it has succeeded.
constexpr const char* LEFT_NAME = "tmp.opn";
constexpr const char* OUTPUT_NAME = "tmp__0.opn";  // whatever is being written
constexpr const char* SPILL_NAME = "tmp__1.opn";   // records of the first games
constexpr const char* MERGED_NAME = "tmp__2.opn";  // all up to the last merge

constexpr int RECORDED_PLIES = 50;  // plies of a game that enter the book
constexpr int GAMES_PER_SPILL = 200;
constexpr int GAMES_PER_MERGE = 5000;
constexpr std::size_t MOST_CREDITS = GAMES_PER_MERGE * RECORDED_PLIES;  // between two merges
constexpr int KEEP_ABOVE = 5;  // half points of the side to move; a record with more stays
constexpr std::size_t STREAM_RECORDS = 4096;

// A credit is one game's share in a record, in a word that sorts fast: the record's order, and
// below it the counter that rises by one.
constexpr int CREDIT_BITS = 2;
constexpr u64 CREDIT_MASK = (1 << CREDIT_BITS) - 1;
constexpr u64 STM_WIN = 0, PREV_WIN = 1, DRAW = 2;
constexpr int ORDER_BITS = 48;

// One pass over records in descending order, from a file or from memory.
struct RecordSource {
    std::FILE* file = nullptr;
    const char* name = "";
    std::vector<unsigned char> bytes;
    const BookRecord* memory = nullptr;
    std::size_t count = 0;  // records in bytes or memory
    std::size_t next = 0;
    bool has = false;  // `record` holds the current record
    BookRecord record = {};
};

struct RecordSink {
    std::FILE* file = nullptr;
    std::vector<unsigned char> bytes;  // room for STREAM_RECORDS
    std::size_t used = 0;              // of them, bytes
};

// State of one run of MakeBook.
struct BookBuild {
    std::vector<u64> credits;         // of the games that no file holds yet, in their order
    std::vector<u64> sorted;          // room for sorting them,
    std::vector<BookRecord> records;  // and what has become of them, while it is merged
    bool left_pending = true;         // LEFT_NAME has not been read yet
    bool progress_line = false;       // the console's line is not empty
    int winner = DRAWN_OR_UNKNOWN;
    int games = 0;
    int braces = 0;
    int parentheses = 0;
    bool skip = false;  // the game's move text could not be read further
};

// Prints the one line that a failed run ends with. Returns false, for the caller to return.
bool Fail(BookBuild* build, const char* what, const char* name, const char* why) {
    PrintDirect("%scannot %s %s: %s; %s is unchanged\n", build->progress_line ? "\n" : "", what,
                name, why, BOOK_NAME);
    build->progress_line = false;
    return false;
}

// The same; what the system says of its last error is the reason.
bool FailSystem(BookBuild* build, const char* what, const char* name) {
    return Fail(build, what, name, std::strerror(errno != 0 ? errno : EIO));
}

// --- sources and sinks ---

// Opens the file of a source; one that is missing is an empty source. False when there is a file
// that does not open.
[[nodiscard]] bool OpenSource(BookBuild* build, RecordSource* s, const char* name) {
    s->name = name;
    s->file = OpenToRead(name);
    if (s->file == nullptr) { return errno == ENOENT || FailSystem(build, "open", name); }
    s->bytes.resize(STREAM_RECORDS * BOOK_RECORD_SIZE);
    return true;
}

// Steps to the next record, or past the last. False when the file is unreadable or not in order:
// merging it would lose records, or never end.
[[nodiscard]] bool Advance(BookBuild* build, RecordSource* s) {
    const u64 before = BookOrder(s->record);
    const bool first = !s->has;
    if (s->next == s->count && s->file != nullptr) {
        errno = 0;
        s->count = std::fread(s->bytes.data(), BOOK_RECORD_SIZE, STREAM_RECORDS, s->file);
        s->next = 0;
        if (std::ferror(s->file)) { return FailSystem(build, "read", s->name); }
    }
    s->has = s->next < s->count;
    if (!s->has) { return true; }
    s->record = s->file != nullptr ? DecodeBookRecord(&s->bytes[s->next * BOOK_RECORD_SIZE])
                                   : s->memory[s->next];
    ++s->next;
    if (!first && BookOrder(s->record) >= before) {
        return Fail(build, "use", s->name, "its records are out of order");
    }
    return true;
}

void CloseSource(RecordSource* s) {
    if (s->file != nullptr) { std::fclose(s->file); }
    s->file = nullptr;
}

// Opens the output. What is written goes to the file in whole blocks.
[[nodiscard]] bool OpenSink(BookBuild* build, RecordSink* sink) {
    // One of a build that was killed goes; a link is not written through.
    std::error_code error;
    if (!std::filesystem::is_directory(OUTPUT_NAME, error)) { RemoveFile(OUTPUT_NAME); }
    sink->file = OpenNewFile(OUTPUT_NAME);
    if (sink->file == nullptr) { return FailSystem(build, "write", OUTPUT_NAME); }
    std::setvbuf(sink->file, nullptr, _IONBF, 0);
    sink->bytes.resize(STREAM_RECORDS * BOOK_RECORD_SIZE);
    return true;
}

[[nodiscard]] bool FlushSink(BookBuild* build, RecordSink* sink) {
    errno = 0;
    const std::size_t size = std::exchange(sink->used, 0);
    return std::fwrite(sink->bytes.data(), 1, size, sink->file) == size ||
           FailSystem(build, "write", OUTPUT_NAME);
}

[[nodiscard]] bool WriteRecord(BookBuild* build, RecordSink* sink, const BookRecord& record) {
    EncodeBookRecord(record, &sink->bytes[sink->used]);
    sink->used += BOOK_RECORD_SIZE;
    return sink->used < sink->bytes.size() || FlushSink(build, sink);
}

// Ends the output and gives it its name, unless the writing failed before: then it is removed.
[[nodiscard]] bool FinishSink(BookBuild* build, RecordSink* sink, bool written, const char* name) {
    if (sink->file == nullptr) { return false; }
    if (written) { written = FlushSink(build, sink); }
    errno = 0;
    if (std::fclose(sink->file) != 0 && written) {
        written = FailSystem(build, "write", OUTPUT_NAME);
    }
    // The book is replaced in one step. A work file of a broken build is worth nothing, so that an
    // old one goes first: a file system may wait for the disk when one file replaces another.
    if (written && std::strcmp(name, BOOK_NAME) != 0) { RemoveFile(name); }
    if (written && !RenameOver(OUTPUT_NAME, name)) { written = FailSystem(build, "replace", name); }
    if (!written) { RemoveFile(OUTPUT_NAME); }
    return written;
}

void AddCounter(u16* sum, u16 more) {
    *sum = static_cast<u16>(std::min<int>(*sum + more, BOOK_COUNTER_MAX));
}

void AddCounters(BookRecord* sum, const BookRecord& more) {
    AddCounter(&sum->stm_wins, more.stm_wins);
    AddCounter(&sum->prev_wins, more.prev_wins);
    AddCounter(&sum->draws, more.draws);
}

// Writes the records of all sources in descending order, equal keys as one record.
[[nodiscard]] bool MergeSources(BookBuild* build, std::span<RecordSource> sources,
                                RecordSink* sink) {
    for (RecordSource& s : sources) {
        if (!Advance(build, &s)) { return false; }
    }
    for (;;) {
        const RecordSource* first = nullptr;
        for (const RecordSource& s : sources) {
            if (s.has && (first == nullptr || BookOrder(s.record) > BookOrder(first->record))) {
                first = &s;
            }
        }
        if (first == nullptr) { return true; }
        BookRecord record = first->record;
        record.reserved = 0;
        const u64 order = BookOrder(record);
        for (const RecordSource& s : sources) {
            if (s.has && &s != first && BookOrder(s.record) == order) {
                AddCounters(&record, s.record);
            }
        }
        if (!WriteRecord(build, sink, record)) { return false; }
        for (RecordSource& s : sources) {
            if (s.has && BookOrder(s.record) == order && !Advance(build, &s)) { return false; }
        }
    }
}

// Merges sources into a file of the given name, and closes them; `opened` tells whether all opened.
[[nodiscard]] bool MergeInto(BookBuild* build, std::span<RecordSource> sources, bool opened,
                             const char* name) {
    RecordSink sink;
    const bool written = opened && OpenSink(build, &sink) && MergeSources(build, sources, &sink);
    for (RecordSource& s : sources) { CloseSource(&s); }
    return FinishSink(build, &sink, written, name);
}

// --- the three steps over whole files ---

// Sorts credits in descending order, digit by digit from the lowest: several times as fast as
// comparing.
void SortCredits(BookBuild* build) {
    constexpr int digit_bits = 8;
    constexpr std::size_t digits = 1 << digit_bits;
    static_assert(ORDER_BITS % digit_bits == 0);
    build->sorted.resize(build->credits.size());
    for (int shift = CREDIT_BITS; shift < CREDIT_BITS + ORDER_BITS; shift += digit_bits) {
        std::size_t place[digits] = {};  // at first how many there are of each, the highest first
        const auto digit = [shift](u64 credit) { return ~(credit >> shift) % digits; };
        for (const u64 credit : build->credits) { ++place[digit(credit)]; }
        std::exclusive_scan(std::begin(place), std::end(place), std::begin(place), std::size_t{0});
        for (const u64 credit : build->credits) { build->sorted[place[digit(credit)]++] = credit; }
        build->credits.swap(build->sorted);
    }
}

// Turns the credits into a source of records, good until the next call, and forgets them.
RecordSource TakeCredits(BookBuild* build) {
    SortCredits(build);
    std::vector<BookRecord>* records = &build->records;
    records->clear();
    for (const u64 credit : build->credits) {
        const u64 order = credit >> CREDIT_BITS;
        if (records->empty() || BookOrder(records->back()) != order) {
            const auto key1 = static_cast<u16>(order >> 32);
            records->push_back({key1, static_cast<u32>(order), 0, 0, 0, 0});
        }
        BookRecord* r = &records->back();
        u16* const counters[] = {&r->stm_wins, &r->prev_wins, &r->draws};
        AddCounter(counters[credit & CREDIT_MASK], 1);
    }
    build->credits.clear();
    RecordSource source;
    source.memory = records->data();
    source.count = records->size();
    return source;
}

// Notes a part of the games as done. The first one goes into the spill file at once, with the
// records that were left over from another build: what cannot be read or written is found out
// early. Those after it stay in memory up to the next merge.
[[nodiscard]] bool WriteBook(BookBuild* build) {
    if (build->left_pending) {
        RecordSource sources[2];
        sources[1] = TakeCredits(build);
        const bool opened = OpenSource(build, &sources[0], LEFT_NAME);
        if (!MergeInto(build, sources, opened, SPILL_NAME)) { return false; }
        build->left_pending = false;
    }
    PrintDirect(".");
    build->progress_line = true;
    return true;
}

// Moves the spill file and the credits into the merged file.
[[nodiscard]] bool MergeBook(BookBuild* build) {
    PrintDirect("\nmerging...");
    build->progress_line = true;
    RecordSource sources[3];
    sources[2] = TakeCredits(build);
    const bool opened =
        OpenSource(build, &sources[0], MERGED_NAME) && OpenSource(build, &sources[1], SPILL_NAME);
    if (!MergeInto(build, sources, opened, MERGED_NAME)) { return false; }
    RemoveFile(SPILL_NAME);
    PrintDirect("\n");
    build->progress_line = false;
    return true;
}

bool IsKept(const BookRecord& record) { return 2 * record.stm_wins + record.draws > KEEP_ABOVE; }

// Writes the records that were met often enough as the new book.
[[nodiscard]] bool PruneBook(BookBuild* build) {
    PrintDirect("pruning...");
    build->progress_line = true;
    RecordSource a;
    RecordSink sink;
    if (!OpenSource(build, &a, MERGED_NAME)) { return false; }
    bool written = OpenSink(build, &sink) && Advance(build, &a);
    while (written && a.has) {
        written = (!IsKept(a.record) || WriteRecord(build, &sink, a.record)) && Advance(build, &a);
    }
    CloseSource(&a);
    if (!FinishSink(build, &sink, written, BOOK_NAME)) { return false; }
    RemoveFile(LEFT_NAME);
    PrintDirect("\n");
    build->progress_line = false;
    return true;
}

// Those of a build that was broken off are of no use: its games are still in the collection.
void RemoveWorkFiles() {
    for (const char* name : {SPILL_NAME, MERGED_NAME}) { RemoveFile(name); }
}

// --- reading of the games ---

// Adds the position just reached to the records; `mover` made the last move.
void CreditPosition(BookBuild* build, int mover) {
    UpdatePosHash(game_position);
    const u64 order = BookOrder(BookKey1(game_position->side), opening_book.hash2);
    u64 counter = build->winner == mover ? PREV_WIN : STM_WIN;
    if (build->winner == DRAWN_OR_UNKNOWN) { counter = DRAW; }
    assert(build->credits.size() < MOST_CREDITS);
    build->credits.push_back(order << CREDIT_BITS | counter);
}

// Where the move text starts in a word: at its first letter or at castling written with zeros;
// nullptr in move numbers and results.
const char* MoveTextStart(const char* word) {
    if (word[0] == '0' && std::strcmp(word, "0-1") == 0) { return nullptr; }
    for (; *word != '\0'; ++word) {
        if (IsLetter(*word) || (word[0] == '0' && word[1] == '-')) { return word; }
    }
    return nullptr;
}

// Plays and records the move of a word that is neither comment nor variation. False when it names
// no move.
[[nodiscard]] bool ReadMoveWord(BookBuild* build, const char* start) {
    Move m;
    if (IsValidMove(start, &m) == 0) { return false; }
    const int mover = game_position->side;
    PlayGameMove(game_position, m);
    CreditPosition(build, mover);
    return true;
}

bool GameTakesMoves(const BookBuild* build) {
    return !build->skip && game_position->hist_count < RECORDED_PLIES;
}

void ReadMoveText(BookBuild* build, const char* text) {
    bool line_comment = false;  // after a ";"
    GameWords words(text);
    for (const char* word = words.NextWord(); word != nullptr && GameTakesMoves(build);
         word = words.NextWord()) {
        const char c = word[0];
        if (c == ';' || c == '$') {
            if (c == ';' && build->braces == 0) { line_comment = true; }
        } else if (c == '{') {
            ++build->braces;
        } else if (c == '}') {
            build->braces = std::max(build->braces - 1, 0);
        } else if (build->braces > 0) {
            // Parentheses of a comment are punctuation.
        } else if (c == '(') {
            ++build->parentheses;
        } else if (c == ')') {
            build->parentheses = std::max(build->parentheses - 1, 0);
        } else if (const char* start = MoveTextStart(word);
                   start != nullptr && build->parentheses == 0 && !ReadMoveWord(build, start)) {
            // The words of a comment up to the end of the line are no unreadable moves.
            if (line_comment) { return; }
            build->skip = true;
        }
    }
}

// Starts a game. False when a file failed.
[[nodiscard]] bool StartGame(BookBuild* build, int winner) {
    SetPosition(game_position, fen_opn);
    build->winner = winner;
    ++build->games;
    build->skip = false;
    build->braces = 0;
    build->parentheses = 0;
    if (build->games % GAMES_PER_SPILL == 0 && !WriteBook(build)) { return false; }
    return build->games % GAMES_PER_MERGE != 0 || MergeBook(build);
}

// Reads the whole collection. False when a file failed or the user interrupted.
[[nodiscard]] bool ReadGames(BookBuild* build, LineReader* reader) {
    TextLine line;
    PgnText pgn;
    while (ReadLine(reader, &line)) {
        line = pgn.Plain(line);
        // Where all tags are known any of them may be a game's first.
        if (pgn.BeginsGame() && !StartGame(build, DRAWN_OR_UNKNOWN)) { return false; }
        if (pgn.NamesStart()) {
            SetPosition(game_position, pgn.Start().c_str());
        } else if (std::strstr(line.text, "[Result") != nullptr) {
            const int winner = ResultOfText(line.text);
            if (PBlock.options.conventions.full_pgn) {
                build->winner = winner;
            } else if (!StartGame(build, winner)) {
                return false;
            }
        } else if (GameTakesMoves(build)) {
            const bool tag_or_comment =
                line.starts_line && (line.text[0] == '[' || line.text[0] == ';');
            if (!tag_or_comment || build->braces > 0) { ReadMoveText(build, line.text); }
        }
    }
    if (ReadingFailed(*reader)) { return FailSystem(build, "read", GAMES_NAME); }
    return !reader->broken_off || Fail(build, "finish", GAMES_NAME, "interrupted");
}

}  // namespace

void MakeBook() {
    PBlock.options.book_file.clear();
    FreeBook();
    LineReader reader;
    PathLock folder;  // the work files have fixed names
    if (!folder.TryLock(".")) {
        PrintDirect("a book is being built in this folder; %s is unchanged\n", BOOK_NAME);
        return;
    }
    if (!OpenLines(&reader, GAMES_NAME)) {
        ShowError("cannot read %s\n", GAMES_NAME);
        return;
    }
    BookBuild build;
    build.credits.reserve(MOST_CREDITS);
    RemoveWorkFiles();
    SetPosition(game_position, fen_opn);
    const bool read = ReadGames(&build, &reader);
    CloseLines(&reader);
    if (read && WriteBook(&build) && MergeBook(&build) && PruneBook(&build)) {
        PrintDirect("done\n");
    }
    RemoveWorkFiles();
    SetPosition(game_position, fen_opn);
}
