#include "arena/elo.h"

#include <cassert>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

constexpr double ELO_SCALE = 400.0;  // of a tenfold chance
constexpr double NORMAL_95_PERCENT = 1.959963984540054;
constexpr double ERROR_RATE = 0.05;    // of either wrong verdict
constexpr double UNSEEN_COUNT = 1e-3;  // an outcome that has not come yet may come
constexpr int BISECTIONS = 200;        // far beyond the precision of a double
constexpr double POINTS_OF_PAIR = PAIR_OUTCOMES - 1;

using Distribution = std::array<double, PAIR_OUTCOMES>;

double ShareOfOutcome(std::size_t half_points) {
    return static_cast<double>(half_points) / POINTS_OF_PAIR;
}

// How often each outcome came, with a trace of those that did not. Returns the number of pairs.
double Frequencies(const Tally& tally, Distribution* shares) {
    double pairs = 0.0;
    for (std::size_t i = 0; i < PAIR_OUTCOMES; ++i) {
        (*shares)[i] = tally.pairs[i] > 0 ? tally.pairs[i] : UNSEEN_COUNT;
        pairs += (*shares)[i];
    }
    for (double& share : *shares) { share /= pairs; }
    return pairs;
}

// The distribution with this mean under which the observed shares are most likely: each share
// divided by 1 + x * (outcome - mean), for the x that makes the mean come true.
Distribution LikeliestWithMean(const Distribution& shares, double mean) {
    // Between these two every divisor is above 0; the sum falls from plus to minus infinity.
    double low = -1.0 / (1.0 - mean), high = 1.0 / mean;
    for (int i = 0; i < BISECTIONS; ++i) {
        const double x = (low + high) / 2;
        double sum = 0.0;
        for (std::size_t k = 0; k < PAIR_OUTCOMES; ++k) {
            const double distance = ShareOfOutcome(k) - mean;
            sum += shares[k] * distance / (1.0 + x * distance);
        }
        (sum > 0.0 ? low : high) = x;
    }
    Distribution likeliest;
    for (std::size_t k = 0; k < PAIR_OUTCOMES; ++k) {
        likeliest[k] = shares[k] / (1.0 + low * (ShareOfOutcome(k) - mean));
    }
    return likeliest;
}

}  // namespace

int Tally::Pairs() const {
    int sum = 0;
    for (const int count : pairs) { sum += count; }
    return sum;
}

double Tally::Score() const {
    assert(Games() > 0);
    return (HALF_POINTS_OF_WIN * wins + draws) / (1.0 * HALF_POINTS_OF_WIN * Games());
}

void Tally::CountGame(int half_points) {
    assert(half_points >= 0 && half_points <= HALF_POINTS_OF_WIN);
    ++(half_points == 0 ? losses : half_points == HALF_POINTS_OF_WIN ? wins : draws);
}

void Tally::CountPair(int half_points) {
    assert(half_points >= 0 && half_points < static_cast<int>(PAIR_OUTCOMES));
    ++pairs[static_cast<std::size_t>(half_points)];
}

double EloOfScore(double score) {
    assert(score >= 0.0 && score <= 1.0);
    if (score <= 0.0) { return -std::numeric_limits<double>::infinity(); }
    if (score >= 1.0) { return std::numeric_limits<double>::infinity(); }
    return -ELO_SCALE * std::log10(1.0 / score - 1.0);
}

double ExpectedScore(double elo) { return 1.0 / (1.0 + std::pow(10.0, -elo / ELO_SCALE)); }

EloEstimate EstimateElo(const Tally& tally) {
    const int pairs = tally.Pairs();
    if (pairs == 0) { return {}; }
    double mean = 0.0, square = 0.0;
    for (std::size_t i = 0; i < PAIR_OUTCOMES; ++i) {
        mean += ShareOfOutcome(i) * tally.pairs[i] / pairs;
        square += ShareOfOutcome(i) * ShareOfOutcome(i) * tally.pairs[i] / pairs;
    }
    const double variance = std::fmax(square - mean * mean, 0.0);
    const double deviation = NORMAL_95_PERCENT * std::sqrt(variance / pairs);
    const double top = EloOfScore(std::fmin(mean + deviation, 1.0));
    const double bottom = EloOfScore(std::fmax(mean - deviation, 0.0));
    // Adding 0 makes an even score +0.
    return {EloOfScore(mean) + 0.0, variance > 0.0 ? (top - bottom) / 2 : 0.0};
}

std::string EloText(const Tally& tally) {
    constexpr std::size_t TEXT_SIZE = 60;
    const int pairs = tally.Pairs();
    if (pairs == 0) { return ""; }
    char text[TEXT_SIZE];
    const EloEstimate e = EstimateElo(tally);
    if (std::isinf(e.elo)) {
        // A player that takes both games with a smaller chance seldom takes them in every pair.
        const double bound = EloOfScore(std::pow(ERROR_RATE, 1.0 / pairs));
        std::snprintf(text, sizeof text, "Elo %c %+.1f", e.elo > 0 ? '>' : '<',
                      e.elo > 0 ? bound : -bound);
    } else if (e.margin > 0.0 && std::isfinite(e.margin)) {
        std::snprintf(text, sizeof text, "Elo %+.1f +- %.1f", e.elo, e.margin);
    } else {
        std::snprintf(text, sizeof text, "Elo %+.1f", e.elo);
    }
    return text;
}

double DecisionBound() { return std::log((1.0 - ERROR_RATE) / ERROR_RATE); }

double LogLikelihoodRatio(const Tally& tally, const Hypotheses& hypotheses) {
    assert(hypotheses.elo0 < hypotheses.elo1);
    if (tally.Pairs() == 0) { return 0.0; }
    Distribution shares;
    const double pairs = Frequencies(tally, &shares);
    const Distribution under0 = LikeliestWithMean(shares, ExpectedScore(hypotheses.elo0));
    const Distribution under1 = LikeliestWithMean(shares, ExpectedScore(hypotheses.elo1));
    double sum = 0.0;
    for (std::size_t i = 0; i < PAIR_OUTCOMES; ++i) {
        sum += shares[i] * std::log(under1[i] / under0[i]);
    }
    return pairs * sum;
}

Verdict Judge(double log_likelihood_ratio) {
    if (log_likelihood_ratio >= DecisionBound()) { return Verdict::AcceptElo1; }
    return log_likelihood_ratio <= -DecisionBound() ? Verdict::AcceptElo0 : Verdict::Open;
}
