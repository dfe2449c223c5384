// Openings depend on the settings and the number of the pair alone.
#include "arena/opening.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "book/gamemove.h"
#include "frontend/pblock.h"
#include "support/engine.h"

namespace {

std::string TextOf(const Opening& opening) {
    std::string text = opening.start;
    for (const Move m : opening.moves) { text += ' ' + MoveText(m); }
    return text;
}

TEST(Openings, AreDrawnByLotAndTheSameForTheSameSeed) {
    ResetEngine();
    std::string why;
    OpeningSettings settings;
    settings.random_plies = 6;
    const std::vector<Opening> many = MakeOpenings(settings, 50, &why);
    const std::vector<Opening> few = MakeOpenings(settings, 10, &why);
    settings.seed = 2;
    const std::vector<Opening> others = MakeOpenings(settings, 10, &why);
    ASSERT_EQ(many.size(), 50u);
    std::set<std::string> texts;
    for (const Opening& opening : many) {
        EXPECT_EQ(opening.moves.size(), 6u);
        texts.insert(TextOf(opening));
        SetPosition(game_position, opening.start.c_str());
        for (const Move m : opening.moves) {
            const std::vector<Move> legal = LegalMoves(game_position);
            ASSERT_NE(std::find(legal.begin(), legal.end(), m), legal.end());
            PlayGameMove(game_position, m);
        }
        EXPECT_FALSE(LegalMoves(game_position).empty());
    }
    EXPECT_GE(texts.size(), 49u) << "hardly two alike";
    for (std::size_t i = 0; i < few.size(); ++i) {
        EXPECT_EQ(TextOf(few[i]), TextOf(many[i]));
        EXPECT_EQ(texts.count(TextOf(others[i])), 0u);
    }
}

TEST(Openings, ComeFromTheUsablePositionsOfAFileInTheirOrder) {
    ResetEngine();
    const ScratchFolder folder;
    std::ofstream("openings.epd") << "# two can be played\n"
                                     "4k3/8/8/8/8/8/8/4K2R w K - id \"a\";\n"
                                     "8/8/8/8/8/8/8/4K2R w K - no king;\n"
                                     "7k/5Q2/6K1/8/8/8/8/8 b - - stalemate;\n"
                                     "4k3/8/8/8/8/8/4R3/4K3 b - -\n";
    std::string why;
    OpeningSettings settings;
    settings.epd_file = "openings.epd";
    settings.random_plies = 0;
    std::vector<std::string> texts;
    for (const Opening& o : MakeOpenings(settings, 3, &why)) { texts.push_back(TextOf(o)); }
    const std::string rook = "4k3/8/8/8/8/8/8/4K2R w K -", check = "4k3/8/8/8/8/8/4R3/4K3 b - -";
    EXPECT_EQ(texts, (std::vector<std::string>{rook, check, rook}));
    settings.epd_file = "missing.epd";
    EXPECT_TRUE(MakeOpenings(settings, 3, &why).empty());
    EXPECT_EQ(why, "cannot read missing.epd");
}

}  // namespace
