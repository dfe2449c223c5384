"""Report on a match of two players, from the PGN that `vesk -selfplay` or a tournament manager wrote."""
from __future__ import annotations

import itertools
import re
from collections.abc import Callable, Iterable
from dataclasses import dataclass, field

from . import charts, elo
from .board import board
from .engine import START, Line, play_lines, squares_of
from .files import ReportError, Sources
from .page import columns, esc, facts, figure, note, percent, signed, table
from .pgn import Game, Ply, games_of

WORST_LOSSES = 5
MOST_OPENINGS = 12  # rows of the table; the rest is one row
LENGTHS = [20, 40, 60, 80, 100, 150]  # upper ends of the classes, moves
SCORE_LIMIT = 10.0  # pawns; the charts end there
SELF_PLAY = "Self-play, "  # begins the Event tag of `vesk -selfplay`; then come the limits of a search
NO_CLOCK = re.compile(SELF_PLAY + r"((?:nodes|depth) \d+)")


@dataclass
class Played:
    """A finished game as player 1 sees it."""
    game: Game
    white: bool  # player 1 has White
    half_points: int

    @property
    def moves(self) -> int:
        return (len(self.game.plies) + 1) // 2

    @property
    def opponent(self) -> str:
        return self.game.tags["Black" if self.white else "White"]

    def opening(self, plies: int) -> tuple[str, tuple[str, ...]]:
        """What both games of a pair begin with: the position and the moves of a book. A file that tells of neither
        leaves the first plies to go by."""
        start = "" if self.game.fen == START else self.game.fen
        book = itertools.takewhile(lambda ply: ply.comment == "book", self.game.plies)
        moves = [ply.move for ply in book]
        if not start and not moves and not self.event.startswith(SELF_PLAY):
            moves = [ply.move for ply in self.game.plies[:plies]]
        return start, tuple(moves)

    @property
    def event(self) -> str:
        return self.game.tags.get("Event", "")

    def cause(self) -> str:
        """How the game ended, as far as the file tells."""
        last = self.game.plies[-1] if self.game.plies else Ply("")
        remark = re.sub(r"^(White|Black)\s+", "", last.remark())
        if last.move.rstrip("!?").endswith("#") or "mates" in remark:
            return "checkmate"
        if remark and remark != "book":
            return remark[0].lower() + remark[1:]
        termination = self.game.tags.get("Termination", "")
        if termination in ("", "normal"):
            return "draw by the rules" if termination and self.half_points == 1 else termination or "not told"
        return termination


@dataclass
class Match:
    players: tuple[str, str]
    played: list[Played] = field(default_factory=list)
    unfinished: int = 0
    copies: int = 0  # pairs that can only come out as an earlier one did
    tally: elo.Tally = field(default_factory=elo.Tally)
    steps: list[list[int]] = field(default_factory=list)  # results of pairs so far, after each pair


def in_order(games: list[Game]) -> list[Game]:
    """By their rounds where all have one: a manager writes games as they end."""
    rounds = [re.fullmatch(r"(\d+)(?:\.(\d+))?", game.tags.get("Round", "")) for game in games]
    if not all(rounds):
        return games
    order = sorted(range(len(games)), key=lambda i: tuple(int(part or 0) for part in rounds[i].groups()))
    return [games[i] for i in order]


def read_match(path: str, text: str, player1: str | None, plies: int) -> Match:
    games = in_order(games_of(text))
    if not games:
        raise ReportError(f"{path} holds no game")
    names = list(dict.fromkeys(game.tags.get(side, "") for game in games for side in ("White", "Black")))
    if "" in names:
        raise ReportError(f"{path}: a game does not name its players")
    first = player1 or names[0]
    others = [name for name in names if name != first]
    if first not in names:
        raise ReportError(f"{path}: no game of {first}")
    if len(others) != 1 and player1 is None:
        raise ReportError(f"{path}: {len(names)} players instead of two (--player1 NAME takes the games of one)")
    match = Match((first, others[0] if len(others) == 1 else "all others"))
    for game in games:
        half_points = game.white_half_points
        if first not in (game.tags["White"], game.tags["Black"]):
            continue
        if half_points is None:
            match.unfinished += 1
            continue
        white = game.tags["White"] == first
        match.played.append(Played(game, white, half_points if white else 2 - half_points))
    if not match.played:
        raise ReportError(f"{path} holds no finished game")
    count(match, plies)
    return match


def count(match: Match, plies: int) -> None:
    """Adds up games, and pairs: neighbours with the same opponent and opening and the colours reversed. Players of
    self-play that no clock stops play the same pair from the same opening again: the first one counts, as in the
    engine."""
    waiting: Played | None = None
    seen = set()
    for played in match.played:
        match.tally.count(played.half_points)
        begun = (played.opponent, played.opening(plies))
        if waiting is None or waiting.white == played.white or begun != (waiting.opponent, waiting.opening(plies)):
            waiting = played
            continue
        no_clock = NO_CLOCK.match(played.event)
        copy = (no_clock[1], begun) if no_clock else None
        if copy in seen:
            match.copies += 1
        else:
            match.tally.pairs[waiting.half_points + played.half_points] += 1
            match.steps.append(list(match.tally.pairs))
        if copy:
            seen.add(copy)
        waiting = None


# --- tables ---

def split(match: Match, key: Callable[[Played], object]) -> dict[object, elo.Tally]:
    groups: dict[object, elo.Tally] = {}
    for played in match.played:
        groups.setdefault(key(played), elo.Tally()).count(played.half_points)
    return groups


def result_table(head: str, groups: Iterable[tuple[object, elo.Tally]]) -> str:
    rows = [(name, t.games, t.wins, t.draws, t.losses, percent(t.score, 1)) for name, t in groups]
    return table([head, "games", "won", "drawn", "lost", "score"], rows)


def opening_name(played: Played, plies: int) -> str:
    if played.game.fen:
        return played.game.fen
    moves = [ply.move for ply in played.game.plies[:plies]]
    return " ".join(f"{i // 2 + 1}. {move}" if i % 2 == 0 else move for i, move in enumerate(moves)) or "no move"


def opening_table(match: Match, plies: int) -> str:
    groups = sorted(split(match, lambda p: opening_name(p, plies)).items(), key=lambda item: -item[1].games)
    rest = elo.Tally()
    for _, tally in groups[MOST_OPENINGS:]:
        rest.wins, rest.draws, rest.losses = (rest.wins + tally.wins, rest.draws + tally.draws,
                                              rest.losses + tally.losses)
    shown = groups[:MOST_OPENINGS]
    if rest.games:
        shown.append((f"{len(groups) - MOST_OPENINGS} others", rest))
    return result_table(f"opening (first {plies} plies)", shown)


def length_class(moves: int) -> int:
    return sum(moves > limit for limit in LENGTHS)


def length_name(index: int) -> str:
    low = LENGTHS[index - 1] + 1 if index else 1
    return f"{low}\u2013{LENGTHS[index]}" if index < len(LENGTHS) else f"over {LENGTHS[-1]}"


def player_table(match: Match) -> str:
    """What the comments tell of the searches of each player."""
    rows = []
    for index, name in enumerate(match.players):
        searches = [s for p in match.played for i, ply in enumerate(p.game.plies)
                    if mover_is_first(p, i) == (index == 0) and (s := ply.search())]
        timed = [s.seconds for s in searches if s.seconds is not None]
        depth = f"{sum(s.depth for s in searches) / len(searches):.1f}" if searches else "\u2013"
        rows.append((name, f"{len(searches):,}", depth, f"{1000 * sum(timed) / len(timed):.1f}" if timed else "\u2013"))
    return table(["player", "searches", "mean depth (plies)", "mean time (ms)"], rows)


def mover_is_first(played: Played, ply: int) -> bool:
    """Whether player 1 makes the move of this ply."""
    black_begins = played.game.fen.split()[1:2] == ["b"]
    return (ply % 2 == 0) != black_begins if played.white else (ply % 2 == 0) == black_begins


# --- charts ---

def score_chart(match: Match) -> str:
    drawing, (axes,) = charts.chart(2.9)
    points = [elo.mean_and_deviation(pairs) for pairs in match.steps]
    games = [2 * (i + 1) for i in range(len(points))]
    means = [100 * mean for mean, _ in points]
    low = [100 * max(mean - error, 0) for mean, error in points]
    high = [100 * min(mean + error, 1) for mean, error in points]
    axes.fill_between(games, low, high, color=charts.BAND, alpha=0.18, linewidth=0, label="95 % of such matches")
    axes.plot(games, means, color=charts.ONE, label="score of the complete pairs")
    axes.axhline(50, color=charts.SOFT, linewidth=0.9)
    ends = means[len(means) // 8:]  # the first pairs may stand anywhere
    middle, reach = means[-1], max(12, 1.3 * max(abs(m - means[-1]) for m in ends))
    axes.set(xlabel="games", ylabel=f"score of {match.players[0]} (%)", xlim=(0, games[-1]),
             ylim=(max(0, min(middle - reach, 44)), min(100, max(middle + reach, 56))))
    axes.legend(loc="best")
    return charts.svg(drawing, f"Score of {match.players[0]} over {games[-1]} games with its error band; "
                               f"{means[-1]:.1f} percent at the end")


def length_chart(match: Match, groups: dict[object, elo.Tally]) -> str:
    drawing, (pairs, axes) = charts.chart(2.6, columns=2)
    bars = pairs.bar(["0", "\u00bd", "1", "1\u00bd", "2"], match.tally.pairs, color=charts.ONE, width=0.7)
    pairs.bar_label(bars, fontsize=9)
    pairs.set(xlabel="points of player 1 in a pair", ylabel="pairs")
    tallies = [groups.get(i, elo.Tally()) for i in range(len(LENGTHS) + 1)]
    names, bottom = [length_name(i) for i in range(len(tallies))], [0] * len(tallies)
    for label, colour, counts in (("won", charts.GOOD, [t.wins for t in tallies]),
                                  ("drawn", charts.EVEN, [t.draws for t in tallies]),
                                  ("lost", charts.BAD, [t.losses for t in tallies])):
        axes.bar(names, counts, bottom=bottom, color=colour, label=label, width=0.7)
        bottom = [b + c for b, c in zip(bottom, counts)]
    axes.set(xlabel="length (moves)", ylabel="games")
    axes.tick_params(axis="x", labelsize=8.5)
    axes.legend(ncols=3, loc="lower right", bbox_to_anchor=(1, 0.98))
    for each in (pairs, axes):
        each.grid(axis="x", visible=False)
        each.yaxis.get_major_locator().set_params(integer=True)
        each.set_ylim(bottom=0)
    return charts.svg(drawing, f"Pairs of games by points: {match.tally.pairs}; results by length of the game")


def evaluation_chart(played: Played, names: tuple[str, str]) -> str:
    """What both players thought of the game, as player 1 sees it."""
    drawing, (axes,) = charts.chart(2.3, 6.2)
    plies = 0
    for first, colour, style in ((True, charts.ONE, "-"), (False, charts.TWO, "--")):
        seen = [(i + 1, s.score if first else -s.score) for i, ply in enumerate(played.game.plies)
                if mover_is_first(played, i) == first and (s := ply.search())]
        values = [max(-SCORE_LIMIT, min(SCORE_LIMIT, score)) for _, score in seen]
        axes.plot([ply for ply, _ in seen], values, style, color=colour, marker=".", markersize=4,
                  label=names[0 if first else 1])
        plies += len(seen)
    axes.axhline(0, color=charts.SOFT, linewidth=0.9)
    length, height = len(played.game.plies), SCORE_LIMIT + 0.5
    axes.set(xlabel="ply", ylabel="pawns", ylim=(-height, height), xlim=(0, length))
    axes.legend(loc="upper left")
    if plies == 0:
        axes.text(0.5, 0.3, "no scores in the comments", transform=axes.transAxes, ha="center", color=charts.SOFT)
    return charts.svg(drawing, f"Evaluation of the game for {names[0]}, by both players, over {length} plies")


# --- losses ---

def loss_figure(played: Played, line: Line, names: tuple[str, str]) -> str:
    game = played.game
    colour = "White" if played.white else "Black"
    alt = f"Final position of game {game.tags.get('Round', '?')}, {line.positions[-1]}"
    last = game.plies[-1].move if game.plies else "none"
    number = (len(game.plies) + 1) // 2 if not game.fen else 0
    ending = f"{number}{'.' if len(game.plies) % 2 else '...'} {last}" if number else f"last move {last}"
    if not line.complete:
        ending += "; the engine cannot follow the moves to their end, so the board stands earlier"
    words = (f"Round {esc(game.tags.get('Round', '?'))}: lost with {colour} in {played.moves} moves "
             f"({esc(ending)}; {esc(played.cause())})")
    picture = board(squares_of(line.positions[-1]), alt, marked=line.last_move() or ())
    return f"<div class=\"pair\">{figure(picture, words)}{figure(evaluation_chart(played, names))}</div>\n"


def losses(match: Match, engine: Callable[[], str]) -> str:
    lost = sorted((p for p in match.played if p.half_points == 0 and p.game.plies), key=lambda p: len(p.game.plies))
    title = f"<h3>Fastest losses of {esc(match.players[0])}</h3>\n"
    if not lost:
        return title + note("It lost no game.")
    lost = lost[:WORST_LOSSES]
    lines = play_lines(engine(), [(p.game.fen or START, [ply.move for ply in p.game.plies]) for p in lost])
    words = ("The final position, the last move marked, and the scores in the comments as player 1 sees them, "
             f"cut at {SCORE_LIMIT:g} pawns.")
    return title + note(words) + "".join(loss_figure(p, line, match.players) for p, line in zip(lost, lines))


def strength_text(pairs: list[int]) -> str:
    """Elo with its margin, or its bound, in the signs of print."""
    return elo.elo_text(pairs).removeprefix("Elo ").replace("+-", "\u00b1").replace("-", "\u2212")


def match_report(path: str, sources: Sources, engine: Callable[[], str], player1: str | None,
                 bounds: tuple[float, float], plies: int) -> str:
    """The section of the page. `engine` finds the engine when it is needed."""
    match = read_match(path, sources.text(path), player1, plies)
    tally = match.tally
    ratio = elo.log_likelihood_ratio(tally.pairs, *bounds)
    verdict = elo.verdict(ratio) or "undecided"
    lengths = split(match, lambda p: length_class(p.moves))
    pairs = sum(tally.pairs)
    strength = strength_text(tally.pairs) if pairs else "\u2013"
    event = match.played[0].event
    parts = [
        f"<h2>Match: {esc(match.players[0])} against {esc(match.players[1])}</h2>\n",
        note(event) if event.strip("?") else "",
        facts([(f"{tally.games}", f"games: {tally.wins} won, {tally.draws} drawn, {tally.losses} lost"),
               (f"{100 * tally.score:.1f} %", "score of player 1"),
               (strength,
                f"Elo, 95 %, from {pairs} pairs"),
               (signed(ratio, 2), f"LLR of {bounds[0]:g} and {bounds[1]:g} Elo, {verdict} "
                                  f"(bounds \u00b1{elo.DECISION_BOUND:.2f})")]),
        f"<p class=\"line\"><code>{esc(elo.standing_line(tally, *bounds))}</code></p>\n",
        note(f"{match.unfinished} unfinished games are left out.") if match.unfinished else "",
        note(f"{match.copies} pairs repeat an opening that players without a clock have played; they count as games "
             "only.") if match.copies else "",
        figure(score_chart(match), "Score over the games; the band holds 95 of 100 such matches.") if pairs else
        note("No two games make a pair (one opening, colours reversed): no Elo, no error band."),
        figure(length_chart(match, lengths)),
        "<h3>Results</h3>\n",
        columns(
            result_table("colour of player 1", sorted(split(match, lambda p: "White" if p.white else "Black").items(),
                                                      reverse=True)),
            result_table("ending", sorted(split(match, Played.cause).items(), key=lambda item: -item[1].games)),
            result_table("length (moves)", [(length_name(i), lengths[i]) for i in sorted(lengths)]),
            opening_table(match, plies),
            player_table(match)),
        losses(match, engine),
    ]
    return "".join(parts)
