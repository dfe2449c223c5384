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
        std::sort(records.begin(), records.end(),
                  [](const auto& a, const auto& b) { return BookOrder(a) > BookOrder(b); });
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

std::string ChosenMove() {
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
    const auto key1 = [&random]() {
        const u32 key = random() % 0x10000;
        const u32 edge = key % 2 == 0 ? key / 64 * 64 : key | 63;
        return static_cast<u16>(random() % 2 == 0 ? key : edge);
    };
    std::map<u64, BookRecord> book;
    while (book.size() < 5000) {
        const u16 number = static_cast<u16>(book.size());
        const BookRecord r = {key1(), static_cast<u32>(random() % 4), number, 2, 3, 0};
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
    EXPECT_TRUE(Find(records[2999]));
    EXPECT_TRUE(Find(records[3000 - BOOK_BLOCK_RECORDS]));
    EXPECT_FALSE(Find(records[3000 - BOOK_BLOCK_RECORDS - 1]));
    WriteFile(PBlock.options.book_file, "");
    EXPECT_TRUE(Find(records[2999])) << "the loaded block answers without the file";
    EXPECT_FALSE(Find({0x8080, 0, 0, 0, 0, 0}));
}

TEST_F(BookLookup, TheBestRecordIsChosen) {
    PBlock.options.book_weight = 0;
    for (const auto& row : ReadTable("book_choices.tsv")) {
        UseBook({RecordAfter("e2e4", row[0]), RecordAfter("d2d4", row[1])});
        SetGame(fen_opn);
        EXPECT_EQ(ChosenMove(), row[2]) << testing::PrintToString(row);
    }
    // The same record serves Black, whose bias is the other way round.
    UseBook({RecordAfter("e2e4", "1 1 1"), RecordAfter("e2e4 e7e5", "2 4 0")});
    PlayFromStart("e2e4");
    EXPECT_EQ(ChosenMove(), "e7e5");
    PlayFromStart("d2d4");
    EXPECT_EQ(ChosenMove(), "null") << "a game that has left the book stays out of it";
    UseBook({RecordAfter("e2e4 e7e5", "20 4 0")});
    PlayFromStart("e2e4");
    EXPECT_EQ(ChosenMove(), "null") << "the position itself must be in the book";
}

TEST_F(BookLookup, TheRandomTermIsBoundedByTheWeight) {
    // Worth -0.038 for White without the random term: positive from a term of 4 on.
    UseBook({RecordAfter("e2e4", "2 4 0")});
    SetGame(fen_opn);
    PBlock.options.book_weight = 4;
    for (int i = 0; i < 200; ++i) { ASSERT_EQ(ChosenMove(), "null"); }
    PBlock.options.book_weight = 5;
    int chosen = 0;
    for (int i = 0; i < 500; ++i) { chosen += ChosenMove() == "e2e4"; }
    EXPECT_GT(chosen, 50);
    EXPECT_LT(chosen, 150);
}

TEST_F(BookLookup, TheListingShowsEveryRecordAndTheChoice) {
    UseBook({RecordAfter("e2e4", "10 5 5"), RecordAfter("d2d4", "1 0 0")});
    SetGame(fen_opn);
    PBlock.options.book_weight = 0;
    const std::string text = OutputOf([] { GetCandidates(game_position, 1); });
    EXPECT_NE(text.find("e2e4      10 -     5 -     5   0.595  0.868\n\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("d2d4       1 -     0 -     0   0.500  0.000\n\n"), std::string::npos);
    EXPECT_NE(text.find("book move is e2e4\n\n"), std::string::npos);
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
        for (const char* game : {"", "e2e4", "d2d4 d7d5", "e2e4 e7e5 g1f3"}) {
            PlayFromStart(game);
            const Position before = *game_position;
            GetCandidates(game_position, 0);
            EXPECT_TRUE(
                PBlock.result.SnapshotMove() == NO_MOVE ||
                MoveIsLegal(game_position, game_position->side, PBlock.result.SnapshotMove()));
            EXPECT_EQ(before.hash, game_position->hash);
            EXPECT_EQ(before.ply, game_position->ply);
        }
    }
    UseFile(good.substr(0, 100 * BOOK_RECORD_SIZE - 1));
    EXPECT_EQ(opening_book.bkrecnum, 99) << "a torn record does not count";
    UseFile(good);
    for (const char* fen : {"8/8/8/8/8/8/8/8 w - -", "4k3/4R3/8/8/8/8/8/4K3 w - -"}) {
        SetGame(fen);
        EXPECT_EQ(ChosenMove(), "null") << fen;
    }
    SetGame(fen_opn);
    EXPECT_NE(ChosenMove(), "null");
}

}  // namespace
