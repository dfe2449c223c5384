// The arithmetic of matches, against the figures of an independent program.
#include "arena/elo.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

Tally TallyOf(const std::array<int, PAIR_OUTCOMES>& pairs) {
    Tally tally;
    tally.pairs = pairs;
    return tally;
}

TEST(Elo, AndItsMarginAndTheRatioAgreeWithAnotherProgram) {
    struct Case {
        std::array<int, PAIR_OUTCOMES> pairs;
        Hypotheses hypotheses;
        double ratio, elo, margin;
        Verdict verdict;
    };
    const Case cases[] = {
        {{3, 10, 50, 30, 7}, {0, 5}, 0.884266, 48.96, 29.58, Verdict::Open},
        {{120, 800, 1900, 900, 130}, {-3, 1}, 4.657104, 5.42, 4.59, Verdict::AcceptElo1},
        {{0, 0, 10, 0, 0}, {0, 2}, -0.053103, 0.0, 0.0, Verdict::Open},
        {{5, 0, 1, 0, 20}, {0, 50}, 1.969492, 228.56, 191.81, Verdict::Open},
        {{30, 200, 400, 210, 35}, {0, 10}, -0.388872, 3.97, 10.07, Verdict::Open},
        {{50, 40, 30, 20, 10}, {-20, 0}, -5.337563, -120.41, 39.23, Verdict::AcceptElo0},
    };
    for (const Case& c : cases) {
        const Tally tally = TallyOf(c.pairs);
        const double ratio = LogLikelihoodRatio(tally, c.hypotheses);
        EXPECT_NEAR(ratio, c.ratio, 1e-4);
        EXPECT_EQ(Judge(ratio), c.verdict);
        const EloEstimate estimate = EstimateElo(tally);
        EXPECT_NEAR(estimate.elo, c.elo, 0.005);
        EXPECT_NEAR(estimate.margin, c.margin, 0.005);
    }
    EXPECT_NEAR(DecisionBound(), 2.944, 0.001);
}

TEST(Elo, OfAScoreIsTheInverseOfTheExpectedScore) {
    const std::pair<double, double> cases[] = {{0.5, 0.0}, {0.75, 190.85}, {0.64, 99.95}};
    for (const auto& [score, elo] : cases) {
        EXPECT_NEAR(EloOfScore(score), elo, 0.01);
        EXPECT_NEAR(EloOfScore(1.0 - score), -elo, 0.01);
        EXPECT_NEAR(ExpectedScore(EloOfScore(score)), score, 1e-12);
    }
    EXPECT_TRUE(std::isinf(EloOfScore(0.0)) && std::isinf(EloOfScore(1.0)));
    EXPECT_EQ(EstimateElo(Tally()).margin, 0.0);
    EXPECT_EQ(LogLikelihoodRatio(Tally(), {}), 0.0);
}

TEST(Elo, IsABoundOrStandsAloneWhereTheGamesTellNoMore) {
    const std::pair<std::array<int, PAIR_OUTCOMES>, const char*> cases[] = {
        {{0, 0, 0, 0, 0}, ""},
        {{0, 0, 0, 0, 1}, "Elo > -511.5"},   // 0.05
        {{0, 0, 0, 0, 50}, "Elo > +483.8"},  // 0.05^(1/50) = 0.94185
        {{4, 0, 0, 0, 0}, "Elo < +18.9"},
        {{0, 0, 3, 0, 0}, "Elo +0.0"},
        {{0, 0, 0, 1, 1}, "Elo +338.0"},  // 0.875; the interval has no end
        {{3, 10, 50, 30, 7}, "Elo +49.0 +- 29.6"}};
    for (const auto& [pairs, text] : cases) { EXPECT_EQ(EloText(TallyOf(pairs)), text); }
    const Tally won = TallyOf({0, 0, 0, 0, 1});
    for (const Hypotheses& h : {Hypotheses{-1000, 1000}, Hypotheses{999, 1000}}) {
        EXPECT_TRUE(std::isfinite(LogLikelihoodRatio(won, h)));
    }
}

TEST(Tally, CountsGamesAndPairs) {
    Tally tally;
    for (const int half_points : {2, 2, 1, 0}) { tally.CountGame(half_points); }
    tally.CountPair(4);
    tally.CountPair(1);
    EXPECT_EQ(tally.wins, 2);
    EXPECT_EQ(tally.draws, 1);
    EXPECT_EQ(tally.losses, 1);
    EXPECT_EQ(tally.Score(), 0.625);
    EXPECT_EQ(tally.pairs, (std::array<int, PAIR_OUTCOMES>{0, 1, 0, 0, 1}));
    EXPECT_EQ(tally.Pairs(), 2);
}

}  // namespace
