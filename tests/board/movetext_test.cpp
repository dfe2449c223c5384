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

// The spelling that a text stands for, as it is typed or with the promotion spelt out.
Row AsUnderstood(std::string text) {
    text = text.substr(0, text.find('+'));
    std::string full = text;
    const char last = static_cast<char>(std::toupper(text.back()));
    if (std::string("BNQR").find(last) != std::string::npos) {
        full.pop_back();
        full += (full.back() == '=' ? "" : "=") + std::string(1, last);
    }
    for (std::string* s : {&text, &full}) {
        for (char& c : *s) { c = c == 'O' || c == '0' ? 'o' : c; }
    }
    return {text, full};
}

// Reads a text by writing down every legal move of the position.
MoveReading ReadPlainly(Position* pos, const std::string& text) {
    const Row wanted = AsUnderstood(text);
    std::vector<Move> exact, loose;
    MoveReading reading;
    std::string understood = wanted[1];
    for (const MoveEntry& e : AllMoves(pos)) {
        if (!MoveIsLegal(pos, pos->side, e.move)) { continue; }
        Row forms = Spellings(pos, e.move);
        for (std::string& form : forms) { form = form.substr(0, form.find('+')); }
        const auto is_form = [&forms](const std::string& s) {
            return std::ranges::count(forms, s);
        };
        const int type = PieceType(e.piece);
        const std::string tail = (e.captured ? "x" : "") + forms[0].substr(2);
        const std::string letter(1, wchar[type]);
        if (is_form(wanted[0]) || is_form(wanted[1])) {
            exact.push_back(e.move);
            if (is_form(wanted[0])) { understood = wanted[0]; }
        } else if (type != PAWN && type != KING &&
                   (wanted[1] == letter + tail ||
                    wanted[1] == letter + forms[0].substr(0, 2) + tail)) {
            loose.push_back(e.move);
        }
    }
    reading.ambiguous = exact.size() == 2;
    if (exact.empty()) { exact = loose; }
    if (exact.size() == 1) { reading.move = exact[0]; }
    understood.copy(reading.text, MOVE_TEXT_SIZE - 1);
    return reading;
}

TEST_F(MoveTextTest, EverySpellingAndItsMisspellingsAreReadAsByWritingDownAllMoves) {
    const std::string letters = "abcdefgh12345678NBRQKqnbr=xoO0-+ ";
    std::mt19937 random(11);
    ForRandomPositions(2, [&](Position* pos) {
        std::set<std::string> texts;
        for (const MoveEntry& e : AllMoves(pos)) {
            for (std::string text : Spellings(pos, e.move)) {
                texts.insert(text);
                // A letter changed, left out or put in.
                const std::size_t at = random() % (text.size() + 1);
                text.replace(at, random() % 2, random() % 2, letters[random() % letters.size()]);
                texts.insert(text);
            }
            const std::string letter(1, wchar[PieceType(e.piece)]);
            const std::string to = square_name[MoveTo(e.move)];
            for (const char* cross : {"", "x"}) {
                texts.insert(letter + cross + to);
                texts.insert(letter + square_name[MoveFrom(e.move)] + cross + to);
            }
        }
        for (const std::string& text : texts) {
            if (text.substr(0, text.find('+')).size() < 2) { continue; }
            const MoveReading plain = ReadPlainly(pos, text);
            const MoveReading reading = Read(pos, text);
            EXPECT_EQ(reading.move, plain.move) << Epd(pos) << ' ' << text;
            EXPECT_EQ(reading.ambiguous, plain.ambiguous) << Epd(pos) << ' ' << text;
            if (reading.move != NO_MOVE) { EXPECT_STREQ(reading.text, plain.text) << text; }
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
