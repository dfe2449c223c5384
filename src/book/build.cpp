// Building of the opening book from a collection of games. Every output is written under a
// temporary name, checked to its last byte, and gets its own name by a rename; until the last
// rename "book.opn" is what it was. Memory is bounded whatever the size of the collection.
// Front-end thread only.
#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include "board/moves.h"
#include "book/book.h"
#include "book/gamemove.h"
#include "frontend/output.h"
#include "frontend/pblock.h"
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
constexpr const char* SPILL_NAME = "tmp__1.opn";   // spilled since the last merge
constexpr const char* MERGED_NAME = "tmp__2.opn";  // all before

constexpr int RECORDED_PLIES = 50;  // plies of a game that enter the book
constexpr int GAMES_PER_SPILL = 200;
constexpr int GAMES_PER_MERGE = 5000;
constexpr std::size_t SPILL_RECORDS =
    GAMES_PER_SPILL * RECORDED_PLIES;  // the most between two spills
constexpr int KEEP_ABOVE = 5;          // half points of the side to move; a record with more stays
constexpr std::size_t STREAM_RECORDS = 4096;

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
    std::vector<unsigned char> bytes;
};

// State of one run of MakeBook.
struct BookBuild {
    std::vector<BookRecord> records;  // since the last spill, unsorted
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
    s->file = std::fopen(name, "rb");
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
    if (!std::filesystem::is_directory(OUTPUT_NAME, error)) { std::remove(OUTPUT_NAME); }
    sink->file = std::fopen(OUTPUT_NAME, "wbx");
    if (sink->file == nullptr) { return FailSystem(build, "write", OUTPUT_NAME); }
    std::setvbuf(sink->file, nullptr, _IONBF, 0);
    sink->bytes.reserve(STREAM_RECORDS * BOOK_RECORD_SIZE);
    return true;
}

[[nodiscard]] bool FlushSink(BookBuild* build, RecordSink* sink) {
    errno = 0;
    const std::size_t size = sink->bytes.size();
    if (std::fwrite(sink->bytes.data(), 1, size, sink->file) != size) {
        return FailSystem(build, "write", OUTPUT_NAME);
    }
    sink->bytes.clear();
    return true;
}

[[nodiscard]] bool WriteRecord(BookBuild* build, RecordSink* sink, const BookRecord& record) {
    const std::size_t at = sink->bytes.size();
    sink->bytes.resize(at + BOOK_RECORD_SIZE);
    EncodeBookRecord(record, &sink->bytes[at]);
    return sink->bytes.size() < STREAM_RECORDS * BOOK_RECORD_SIZE || FlushSink(build, sink);
}

// Ends the output and gives it its name, unless the writing failed before: then it is removed.
[[nodiscard]] bool FinishSink(BookBuild* build, RecordSink* sink, bool written, const char* name) {
    if (sink->file == nullptr) { return false; }
    if (written) { written = FlushSink(build, sink); }
    errno = 0;
    if (std::fclose(sink->file) != 0 && written) {
        written = FailSystem(build, "write", OUTPUT_NAME);
    }
    if (written && std::rename(OUTPUT_NAME, name) != 0) {
        written = FailSystem(build, "replace", name);
    }
    if (!written) { std::remove(OUTPUT_NAME); }
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

// Writes the records of both sources in descending order, equal keys as one record.
[[nodiscard]] bool MergeSources(BookBuild* build, RecordSource* a, RecordSource* b,
                                RecordSink* sink) {
    if (!Advance(build, a) || !Advance(build, b)) { return false; }
    while (a->has || b->has) {
        const bool take_a = a->has && (!b->has || BookOrder(a->record) >= BookOrder(b->record));
        const bool take_b = b->has && (!a->has || BookOrder(b->record) >= BookOrder(a->record));
        BookRecord record = take_a ? a->record : b->record;
        record.reserved = 0;
        if (take_a && take_b) { AddCounters(&record, b->record); }
        if (!WriteRecord(build, sink, record)) { return false; }
        if (take_a && !Advance(build, a)) { return false; }
        if (take_b && !Advance(build, b)) { return false; }
    }
    return true;
}

// Merges two opened sources into a file of the given name, and closes them.
[[nodiscard]] bool MergeInto(BookBuild* build, RecordSource* a, RecordSource* b, const char* name) {
    RecordSink sink;
    const bool written = OpenSink(build, &sink) && MergeSources(build, a, b, &sink);
    CloseSource(a);
    CloseSource(b);
    return FinishSink(build, &sink, written, name);
}

// --- the three steps over whole files ---

// Sorts the records in descending order, equal keys added up.
void SortRecords(std::vector<BookRecord>* records) {
    std::sort(records->begin(), records->end(),
              [](const BookRecord& a, const BookRecord& b) { return BookOrder(a) > BookOrder(b); });
    std::size_t kept = 0;
    for (const BookRecord& r : *records) {
        if (kept > 0 && BookOrder((*records)[kept - 1]) == BookOrder(r)) {
            AddCounters(&(*records)[kept - 1], r);
        } else {
            (*records)[kept++] = r;
        }
    }
    records->resize(kept);
}

// Moves the collected records into the spill file. The first spill takes in the records that were
// left over from another build.
[[nodiscard]] bool WriteBook(BookBuild* build) {
    SortRecords(&build->records);
    RecordSource a, b;
    b.memory = build->records.data();
    b.count = build->records.size();
    if (!OpenSource(build, &a, build->left_pending ? LEFT_NAME : SPILL_NAME) ||
        !MergeInto(build, &a, &b, SPILL_NAME)) {
        return false;
    }
    build->left_pending = false;
    build->records.clear();
    PrintDirect(".");
    build->progress_line = true;
    return true;
}

// Moves the spill file into the merged file.
[[nodiscard]] bool MergeBook(BookBuild* build) {
    PrintDirect("\nmerging...");
    build->progress_line = true;
    RecordSource a, b;
    if (!OpenSource(build, &a, MERGED_NAME)) { return false; }
    if (!OpenSource(build, &b, SPILL_NAME)) {
        CloseSource(&a);
        return false;
    }
    if (!MergeInto(build, &a, &b, MERGED_NAME)) { return false; }
    std::remove(SPILL_NAME);
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
    std::remove(LEFT_NAME);
    PrintDirect("\n");
    build->progress_line = false;
    return true;
}

// Those of a build that was broken off are of no use: its games are still in the collection.
void RemoveWorkFiles() {
    for (const char* name : {SPILL_NAME, MERGED_NAME}) { std::remove(name); }
}

// --- reading of the games ---

// Adds the position just reached to the records; `mover` made the last move.
void CreditPosition(BookBuild* build, int mover) {
    UpdatePosHash(game_position);
    BookRecord r = {BookKey1(game_position->side), opening_book.hash2, 0, 0, 0, 0};
    if (build->winner == DRAWN_OR_UNKNOWN) {
        r.draws = 1;
    } else if (build->winner == mover) {
        r.prev_wins = 1;
    } else {
        r.stm_wins = 1;
    }
    assert(build->records.size() < SPILL_RECORDS);
    build->records.push_back(r);
}

// Where the move text starts in a word: at its first letter or at castling written with zeros;
// nullptr in move numbers and results.
const char* MoveTextStart(const char* word) {
    if (std::strcmp(word, "0-1") == 0) { return nullptr; }
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

// Starts the game whose result the line names. False when a file failed.
[[nodiscard]] bool StartGame(BookBuild* build, const char* line) {
    SetPosition(game_position, fen_opn);
    build->winner = ResultOfText(line);
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
    while (ReadLine(reader, &line)) {
        if (std::strstr(line.text, "[Result") != nullptr) {
            if (!StartGame(build, line.text)) { return false; }
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
    PBlock.options.book_file[0] = '\0';
    FreeBook();
    LineReader reader;
    PathLock folder;  // the work files have fixed names
    if (!folder.TryLock(".")) {
        PrintDirect("a book is being built in this folder; %s is unchanged\n", BOOK_NAME);
        return;
    }
    if (!OpenLines(&reader, GAMES_NAME)) { return; }
    BookBuild build;
    build.records.reserve(SPILL_RECORDS);
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
