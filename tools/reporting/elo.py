"""The arithmetic of matches, as src/arena/elo.cpp has it: the estimate of the difference in strength from complete
pairs of games, and the test of two hypotheses about it. Figures agree with those that `vesk -selfplay` prints."""
from __future__ import annotations

import math
from dataclasses import dataclass, field

ELO_SCALE = 400.0  # of a tenfold chance
NORMAL_95_PERCENT = 1.959963984540054
ERROR_RATE = 0.05  # of either wrong verdict
UNSEEN_COUNT = 1e-3  # an outcome that has not come yet may come
BISECTIONS = 200
OUTCOMES = [0.0, 0.25, 0.5, 0.75, 1.0]  # of a pair, as shares of its points
DECISION_BOUND = math.log((1.0 - ERROR_RATE) / ERROR_RATE)


@dataclass
class Tally:
    """The standing of a match as player 1 sees it."""
    wins: int = 0
    draws: int = 0
    losses: int = 0
    pairs: list[int] = field(default_factory=lambda: [0] * len(OUTCOMES))  # complete ones by half points

    @property
    def games(self) -> int:
        return self.wins + self.draws + self.losses

    @property
    def score(self) -> float:
        """Share of the points, 0 to 1."""
        return (2 * self.wins + self.draws) / (2 * self.games) if self.games else 0.0

    def count(self, half_points: int) -> None:
        self.wins += half_points == 2
        self.draws += half_points == 1
        self.losses += half_points == 0


def elo_of_score(score: float) -> float:
    """The difference in Elo at which a player expects this share of the points; infinite for 0 and 1."""
    if score <= 0.0:
        return -math.inf
    return math.inf if score >= 1.0 else -ELO_SCALE * math.log10(1.0 / score - 1.0)


def expected_score(elo: float) -> float:
    return 1.0 / (1.0 + 10.0 ** (-elo / ELO_SCALE))


def mean_and_deviation(pairs: list[int]) -> tuple[float, float]:
    """Mean score of the pairs, and half of the interval that holds the true one in 95 of 100 matches."""
    count = sum(pairs)
    mean = sum(outcome * n for outcome, n in zip(OUTCOMES, pairs)) / count
    square = sum(outcome * outcome * n for outcome, n in zip(OUTCOMES, pairs)) / count
    return mean, NORMAL_95_PERCENT * math.sqrt(max(square - mean * mean, 0.0) / count)


def estimate_elo(pairs: list[int]) -> tuple[float, float]:
    """Elo and its margin; both 0 without a pair, infinite where a player has all points."""
    if sum(pairs) == 0:
        return 0.0, 0.0
    mean, deviation = mean_and_deviation(pairs)
    top = elo_of_score(min(mean + deviation, 1.0))
    bottom = elo_of_score(max(mean - deviation, 0.0))
    return elo_of_score(mean) + 0.0, (top - bottom) / 2 if deviation > 0.0 else 0.0


def likeliest_with_mean(shares: list[float], mean: float) -> list[float]:
    """The distribution with this mean under which the observed shares are most likely: each share divided by
    1 + x * (outcome - mean), for the x that makes the mean come true."""
    low, high = -1.0 / (1.0 - mean), 1.0 / mean
    for _ in range(BISECTIONS):
        x = (low + high) / 2
        total = sum(s * (o - mean) / (1.0 + x * (o - mean)) for s, o in zip(shares, OUTCOMES))
        low, high = (x, high) if total > 0.0 else (low, x)
    return [s / (1.0 + low * (o - mean)) for s, o in zip(shares, OUTCOMES)]


def log_likelihood_ratio(pairs: list[int], elo0: float, elo1: float) -> float:
    """How much likelier the pairs are under elo1 than under elo0, as a logarithm; 0 without a pair."""
    if sum(pairs) == 0:
        return 0.0
    counts = [n if n > 0 else UNSEEN_COUNT for n in pairs]
    shares = [n / sum(counts) for n in counts]
    under0 = likeliest_with_mean(shares, expected_score(elo0))
    under1 = likeliest_with_mean(shares, expected_score(elo1))
    return sum(counts) * sum(s * math.log(b / a) for s, a, b in zip(shares, under0, under1))


def verdict(ratio: float) -> str:
    """What the engine appends to its line: empty while the test is open."""
    if ratio >= DECISION_BOUND:
        return "accepted"
    return "rejected" if ratio <= -DECISION_BOUND else ""


def elo_text(pairs: list[int]) -> str:
    """Elo and its margin; without the margin where the pairs are too much alike to tell one, and a bound that is right
    in 95 of 100 matches where a player has all points. Empty without a pair."""
    if sum(pairs) == 0:
        return ""
    elo, margin = estimate_elo(pairs)
    if math.isinf(elo):
        # A player that takes both games with a smaller chance seldom takes them in every pair.
        bound = elo_of_score(ERROR_RATE ** (1.0 / sum(pairs)))
        return f"Elo > {bound:+.1f}" if elo > 0 else f"Elo < {-bound:+.1f}"
    return f"Elo {elo:+.1f} +- {margin:.1f}" if 0.0 < margin < math.inf else f"Elo {elo:+.1f}"


def standing_line(tally: Tally, elo0: float, elo1: float) -> str:
    """The line of `vesk -selfplay -sprt ELO0 ELO1` about such a standing."""
    ratio = log_likelihood_ratio(tally.pairs, elo0, elo1)
    ending = f": {verdict(ratio)}" if verdict(ratio) else ""
    strength = f"{elo_text(tally.pairs)}, " if sum(tally.pairs) else ""
    return (f"{tally.games} games: +{tally.wins} ={tally.draws} -{tally.losses}, {100 * tally.score:.1f} %, "
            f"{strength}pairs {' '.join(map(str, tally.pairs))}, "
            f"LLR {ratio:+.2f} (-{DECISION_BOUND:.2f}, {DECISION_BOUND:.2f}) of [{elo0:g}, {elo1:g}]{ending}")
