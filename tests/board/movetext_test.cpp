// Move texts: which spellings are accepted, and that every spelling written is read back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "board/moves.h"
#include "board/reference.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

// Reads `text`: the move that it names must be legal, and the position stays as it is.
MoveReading Read(const Position* pos, const std::string& text) {
    const std::string before = Describe(pos, true);
    const MoveReading reading = ReadMove(pos, text);
    EXPECT_EQ(Describe(pos, true), before);
    EXPECT_TRUE(reading.move == NO_MOVE || MoveIsLegal(pos, pos->side, reading.move)) << text;
    return reading;
}

TEST(MoveText, SpellingsAgreeWithTheTable) {
    ResetEngine();
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    ForEachMoveOfTable([](const Position* pos, const MoveEntry* e, const auto& row) {
        MoveForms forms;
        GenMoveStrings(pos, e->move, &forms);
        std::size_t column = COORD;
        for (const char* text : {forms.coord, forms.san, forms.file_form, forms.rank_form}) {
            EXPECT_EQ(text, row[column++]) << row[FEN] << ' ' << row[COORD];
        }
    });
}

TEST(MoveText, AcceptedAndRefusedSpellings) {
    ResetEngine();
    for (const auto& row : ReadTable("movetexts.tsv")) {
        const MoveReading reading = Read(SetGame(row[0]), row[1]);
        const Move m = reading.move;
        EXPECT_EQ(m == NO_MOVE ? "" : MoveText(m), row[2]) << row[0] << ' ' << row[1];
        EXPECT_EQ(reading.ambiguous, !row[3].empty()) << row[0] << ' ' << row[1];
    }
    EXPECT_EQ(MoveText(NO_MOVE), "null");
    PBlock.options.protocol = PROTOCOL_CONSOLE;
    EXPECT_EQ(MoveText(MakeMoveWord(8, 1, PROMOTE_ROOK)), "a2b1=R");
}

TEST(MoveText, EverySpellingIsReadBackAndSharedOnesAreNot) {
    ResetEngine();
    int spellings = 0;
    for (const std::string& fen : SamplePositions()) {
        const Position* pos = SetGame(fen);
        std::map<std::string, std::pair<int, Move>> named;  // how many moves have the spelling
        MoveEntry list[MAX_LIST_SIZE];
        const MoveEntry* end = GeneratePseudoLegal(pos, pos->side, list);
        for (const MoveEntry* e = list; e != end; ++e) {
            if (!MoveIsLegal(pos, pos->side, e->move)) { continue; }
            MoveForms forms;
            GenMoveStrings(pos, e->move, &forms);
            for (const std::string text :
                 {forms.coord, forms.san, forms.file_form, forms.rank_form}) {
                if (text.size() < 2) { continue; }
                auto& [count, move] = named[text.substr(0, text.find('+'))];
                if (move != e->move) { ++count; }  // one move may have a spelling twice
                move = e->move;
            }
        }
        for (const auto& [text, entry] : named) {
            const MoveReading plain = Read(pos, text);
            const MoveReading check = Read(pos, text + "+ and more");
            EXPECT_EQ(plain.move, entry.first == 1 ? entry.second : NO_MOVE) << fen << ' ' << text;
            EXPECT_EQ(plain.ambiguous, entry.first == 2) << fen << ' ' << text;
            EXPECT_EQ(check.move, plain.move) << fen << ' ' << text;
            ++spellings;
        }
    }
    EXPECT_GT(spellings, 500);
}

TEST(MoveText, RandomTextNamesNothingAndHarmsNothing) {
    ResetEngine();
    std::mt19937 random(7);
    const std::string letters = "abcdefgh12345678NBRQK=+-xoO0qnbr#";
    for (int i = 0; i < 3000; ++i) {
        const Position* pos = SetGame(SamplePositions()[random() % SamplePositions().size()]);
        std::string text;
        for (unsigned n = random() % 10 == 0 ? 300 : random() % 8; n > 0; --n) {
            text += random() % 9 ? letters[random() % letters.size()]
                                 : static_cast<char>(random() % 256);
        }
        Read(pos, text);
    }
}

}  // namespace
