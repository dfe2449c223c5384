// Move texts: which spellings are accepted, and that every spelling written is read back.
#include <map>
#include <set>

#include "board/reference.h"

namespace {

using MoveTextTest = EngineTest;

// Reads `text`: the move that it names must be legal.
MoveReading Read(const Position* pos, const std::string& text) {
    const MoveReading reading = ReadMove(pos, text);
    EXPECT_TRUE(reading.move == NO_MOVE || MoveIsLegal(pos, pos->side, reading.move)) << text;
    return reading;
}

Row Spellings(const Position* pos, Move m) {
    MoveForms forms;
    GenMoveStrings(pos, m, &forms);
    return {forms.coord, forms.san, forms.file_form, forms.rank_form};
}

TEST_F(MoveTextTest, SpellingsAgreeWithTheTable) {
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    ForEachMoveOfTable([](const Position* pos, const MoveEntry* e, const Row& row) {
        EXPECT_EQ(Spellings(pos, e->move), Row(row.begin() + COORD, row.end()));
    });
}

TEST_F(MoveTextTest, AcceptedAndRefusedSpellings) {
    ForEachRow("movetexts.tsv", [](const Position* pos, const Row& row) {
        const MoveReading reading = Read(pos, row[1]);
        EXPECT_EQ(MoveText(reading.move), row[2].empty() ? "null" : row[2]);
        EXPECT_EQ(reading.ambiguous, !row[3].empty());
    });
}

TEST_F(MoveTextTest, EverySpellingIsReadBackAndSharedOnesAreNot) {
    ForRandomPositions(4, [](Position* pos) {
        std::map<std::string, std::set<Move>> named;
        for (const MoveEntry& e : AllMoves(pos)) {
            if (!MoveIsLegal(pos, pos->side, e.move)) { continue; }
            for (const std::string& text : Spellings(pos, e.move)) {
                if (text.size() >= 2) { named[text.substr(0, text.find('+'))].insert(e.move); }
            }
        }
        for (const auto& [text, moves] : named) {
            const MoveReading plain = Read(pos, text);
            EXPECT_EQ(plain.move, moves.size() == 1 ? *moves.begin() : NO_MOVE) << text;
            EXPECT_EQ(plain.ambiguous, moves.size() == 2) << text;
            EXPECT_EQ(Read(pos, text + "+ and more").move, plain.move) << text;
        }
    });
}

TEST_F(MoveTextTest, RandomTextHarmsNothing) {
    std::mt19937 random(7);
    const std::string letters = "abcdefgh12345678NBRQK=+-xoO0qnbr#\x01\x7F\x80\xFF";
    ForEachRow("samples.tsv", [&](const Position* pos, const Row&) {
        for (std::size_t i = 0; i < 300; ++i) {
            std::string text(i % 10 == 0 ? 300 : i % 8, ' ');
            for (char& c : text) { c = letters[random() % letters.size()]; }
            Read(pos, text);
        }
    });
}

}  // namespace
