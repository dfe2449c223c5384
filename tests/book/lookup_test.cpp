// Book look-up: keys, the loaded block, the choice of a move, and files that are no books.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "book/files.h"
#include "frontend/pblock.h"

namespace {

class BookLookup : public BookTest {
protected:
    void TearDown() override { FreeBook(); }

    // Makes the records the play book.
    void UseBook(std::vector<BookRecord> records) {
        std::ranges::sort(records, std::greater(),
                          [](const BookRecord& r) { return BookOrder(r); });
        UseFile(EncodeBook(records));
    }
    void UseFile(const std::string& bytes) {
        WriteFile(PBlock.options.book_file, bytes);
        ASSERT_EQ(InitBook(), 0);
    }
};

// Record of the position after the moves; `counters` = wins of the side that moved, of the side to
// move, and draws.
BookRecord RecordAfter(const std::string& moves, const std::string& counters) {
    PlayFromStart(moves);
    BookRecord r = {BookKey1(game_position->side), opening_book.hash2, 0, 0, 0, 0};
    std::istringstream(counters) >> r.prev_wins >> r.stm_wins >> r.draws;
    return r;
}

// The book's move after the moves.
std::string Answer(const std::string& moves) {
    PlayFromStart(moves);
    GetCandidates(game_position, 0);
    return MoveText(PBlock.result.SnapshotMove());
}

std::optional<BookRecord> Find(const BookRecord& r) {
    opening_book.hash1 = r.key1;
    opening_book.hash2 = r.key2;
    return FindPosition(r.key1 & 0x8000 ? WHITE : BLACK);
}

TEST_F(BookLookup, KeysAgreeWithTheTableAndDoNotDependOnCastlingRights) {
    for (const auto& row : ReadTable("keys.tsv")) {
        Position* pos = SetGame(row[0]);
        for (const u8 castle : {pos->castle, u8{0}}) {
            pos->castle = castle;
            UpdatePosHash(pos);
            EXPECT_EQ(BookKey1(pos->side), std::stoul(row[8], nullptr, 16)) << row[0];
            EXPECT_EQ(opening_book.hash2, std::stoul(row[9], nullptr, 16)) << row[0];
        }
    }
}

TEST_F(BookLookup, EveryRecordIsFoundWhateverWasLookedUpBefore) {
    // Few records in many buckets, half of them the first or last of theirs: the record after a
    // bucket is in its block, its neighbours are not. Records of different buckets share key2.
    std::mt19937 random(5);
    std::map<u64, BookRecord> book;
    for (u16 number = 0; book.size() < 5000; ++number) {
        const u32 key = random() % 0x10000;
        const u32 edge = key % 2 == 0 ? key / 64 * 64 : key | 63;
        const u16 key1 = static_cast<u16>(random() % 2 == 0 ? key : edge);
        const BookRecord r = {key1, static_cast<u32>(random() % 4), number, 2, 3, 0};
        book.try_emplace(BookOrder(r), r);
    }
    std::vector<BookRecord> records;
    for (const auto& [order, r] : book) { records.push_back(r); }
    UseBook(records);
    EXPECT_EQ(opening_book.bkrecnum, 5000);
    for (int i = 0; i < 20000; ++i) {
        BookRecord r = records[random() % records.size()];
        r.key2 = static_cast<u32>(random() % 5);
        const std::optional<BookRecord> found = Find(r);
        const auto wanted = book.find(BookOrder(r));
        ASSERT_EQ(found.has_value(), wanted != book.end());
        ASSERT_TRUE(!found || found->stm_wins == wanted->second.stm_wins);
    }
}

TEST_F(BookLookup, ABucketIsReadUpToTheSizeOfTheBlock) {
    std::vector<BookRecord> records;
    for (u32 i = 0; i < 3000; ++i) { records.push_back({0x8040, i, 0, 2, 0, 0}); }
    UseBook(records);
    EXPECT_TRUE(Find(records[3000 - BOOK_BLOCK_RECORDS]));
    EXPECT_FALSE(Find(records[3000 - BOOK_BLOCK_RECORDS - 1]));
    WriteFile(PBlock.options.book_file, "");
    EXPECT_TRUE(Find(records[2999])) << "the loaded block answers without the file";
    EXPECT_FALSE(Find({0x8080, 0, 0, 0, 0, 0}));
}

TEST_F(BookLookup, TheBestRecordIsChosenAndAGameThatLeftTheBookStaysOutOfIt) {
    PBlock.options.book_weight = 0;
    for (const auto& row : ReadTable("book_choices.tsv")) {
        std::vector<BookRecord> records;
        std::istringstream words(row[0]);
        for (std::string moves, counters; std::getline(words, moves, ':');) {
            std::getline(words, counters, ',');
            records.push_back(RecordAfter(moves, counters));
        }
        UseBook(records);
        EXPECT_EQ(Answer(row[1]), row[2]) << row[0] << ": " << row[3];
    }
}

TEST_F(BookLookup, TheRandomTermIsBoundedByTheWeight) {
    // Worth -0.038 for White without the random term: positive from a term of 4 on.
    UseBook({RecordAfter("e2e4", "2 4 0")});
    const auto times_chosen = [](u16 weight) {
        PBlock.options.book_weight = weight;
        int chosen = 0;
        for (int i = 0; i < 500; ++i) { chosen += Answer("") == "e2e4"; }
        return chosen;
    };
    EXPECT_EQ(times_chosen(4), 0);
    EXPECT_NEAR(times_chosen(5), 100, 50);
}

TEST_F(BookLookup, TheListingShowsEveryRecordAndTheChoice) {
    UseBook({RecordAfter("e2e4", "10 5 5"), RecordAfter("d2d4", "1 0 0")});
    SetGame(fen_opn);
    PBlock.options.book_weight = 0;
    EXPECT_EQ(OutputOf([] { GetCandidates(game_position, 1); }),
              "d2d4       1 -     0 -     0   0.500  0.000\n\n"
              "e2e4      10 -     5 -     5   0.595  0.868\n\nbook move is e2e4\n\n");
}

TEST_F(BookLookup, FilesThatAreNoBooksGiveNoMoveOrALegalOne) {
    const std::string good = FileContent(DataFile("dortmund.opn"));
    std::mt19937 random(3);
    std::string noise(100000, ' ');
    for (char& c : noise) { c = static_cast<char>(random()); }
    std::vector<BookRecord> mixed = DecodeBook(good);
    std::shuffle(mixed.begin(), mixed.end(), random);
    for (const std::string& bytes :
         {std::string(), good.substr(0, 5), good.substr(0, 1001), noise, EncodeBook(mixed),
          std::string(50000, '\0'), std::string(50000, '\xFF')}) {
        UseFile(bytes);
        for (const char* moves : {"", "e2e4", "d2d4 d7d5", "e2e4 e7e5 g1f3"}) {
            PlayFromStart(moves);
            const u64 before = game_position->hash;
            const Move m = ChooseBookMove(game_position, 0);
            EXPECT_TRUE(m == NO_MOVE || MoveIsLegal(game_position, game_position->side, m));
            EXPECT_EQ(game_position->hash, before);
        }
    }
    UseFile(good.substr(0, 100 * BOOK_RECORD_SIZE - 1));
    EXPECT_EQ(opening_book.bkrecnum, 99) << "a torn record does not count";
    UseFile(good);
    EXPECT_NE(Answer(""), "null");
    for (const char* fen : {"8/8/8/8/8/8/8/8 w - -", "4k3/4R3/8/8/8/8/8/4K3 w - -"}) {
        SetGame(fen);
        EXPECT_EQ(ChooseBookMove(game_position, 0), NO_MOVE) << fen;
    }
}

}  // namespace
