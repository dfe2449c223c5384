// What the results of a match say: the difference in strength with its error, and whether a test of
// two hypotheses about it is decided. Games are played in pairs, one opening with the colours
// reversed, because the two games of a pair depend on each other. Nothing has to be initialised;
// any thread.
#pragma once

#include <array>
#include <cstddef>
#include <string>

// Result of a game for player 1, in half points: 0 lost, 1 drawn, 2 won.
inline constexpr int HALF_POINTS_OF_WIN = 2;
inline constexpr std::size_t PAIR_OUTCOMES = 5;  // half points of both games of a pair: 0..4

// The standing of a match as player 1 sees it.
struct Tally {
    int wins = 0;
    int draws = 0;
    int losses = 0;
    // Complete pairs by their half points.
    std::array<int, PAIR_OUTCOMES> pairs = {};

    int Games() const { return wins + draws + losses; }
    int Pairs() const;
    // Share of the points, 0..1. Requires a game.
    double Score() const;
    void CountGame(int half_points);
    void CountPair(int half_points);
};

// Elo and its margin.
struct EloEstimate {
    double elo = 0.0;
    double margin = 0.0;  // half of the interval that holds the true value in 95 of 100 matches; 0
                          // while all pairs are alike, infinite where the interval has no end
};

// The difference in Elo at which a player expects this share of the points; an infinite one for 0
// and 1. Requires 0 <= score <= 1. ExpectedScore is its inverse.
double EloOfScore(double score);
double ExpectedScore(double elo);

// The estimate from the complete pairs; without margin while there is none. Infinite where a player
// has all points.
EloEstimate EstimateElo(const Tally& tally);

// The estimate as text: with its margin where that is known; a bound that is right in 95 of 100
// matches where a player has all points; empty without a pair.
std::string EloText(const Tally& tally);

// Two hypotheses about the difference in Elo; each is accepted wrongly in at most 5 of 100 tests.
struct Hypotheses {
    double elo0 = 0.0;
    double elo1 = 5.0;
};

enum class Verdict { Open, AcceptElo0, AcceptElo1 };

// Bound of the log-likelihood ratio: beyond +bound elo1 is accepted, beyond -bound elo0.
double DecisionBound();
// Logarithm of how much likelier the pairs are under elo1 than under elo0, each with the
// distribution of pair results that fits it best. 0 without a pair. Requires elo0 < elo1.
double LogLikelihoodRatio(const Tally& tally, const Hypotheses& hypotheses);
Verdict Judge(double log_likelihood_ratio);
