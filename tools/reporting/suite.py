"""Report on a test suite: what `vesk -anepd FILE` printed, in either form, and the positions that it left unsolved."""
from __future__ import annotations

import re
from collections import Counter
from collections.abc import Callable
from dataclasses import dataclass, field
from pathlib import Path

from . import charts
from .board import board
from .engine import Line, play_lines, squares_of
from .files import ReportError, Sources
from .page import esc, facts, figure, note, percent, signed, table

FIELDS = 4  # of a position, before the operations of a line
OPERATION = re.compile(r'(\w+)((?:\s+"[^"]*"|[^;"])*)')
MOVE = re.compile(r"^move= (\S+), time= ([\d.]+), score= (-?\d+), nodes= (\d+)")
SOLVED = re.compile(r"^.*: solved(?:, points= .*?)?, depth= (\d+), time= [\d.]+, nodes= \d+$")
SUMMARY = re.compile(r"^(\d+) / (\d+) correct best moves$", re.MULTILINE)
FIGURES = {"total nodes": "nodes in all", "total time": "time in all", "node_rate": "nodes per second",
           "avg depth": "mean depth (plies)", "avg bf": "mean branching factor",
           "avg error": "mean error of the prediction", "points": "points"}
SOLUTION = re.compile(r"^to solution: nodes= (\d+), time= ([\d.]+) seconds", re.MULTILINE)


@dataclass
class Position:
    """A position as the run reported it."""
    line: str
    move: str = ""  # played, in coordinates; empty when it could not be searched
    score: int = 0  # centipawns, for the mover
    solved_at: int | None = None  # depth; the standard form tells


@dataclass
class Suite:
    correct: int
    total: int
    positions: list[Position] = field(default_factory=list)
    figures: dict[str, str] = field(default_factory=dict)


def read_suite(path: str, text: str) -> Suite:
    summary = SUMMARY.search(text)
    if summary is None:
        raise ReportError(f"{path} holds no summary of -anepd: no output of it, or of a run that was broken off")
    suite = Suite(int(summary[1]), int(summary[2]))
    expected = False  # the line of a position comes next
    for line in text.splitlines():
        if expected:
            suite.positions.append(Position(line.strip()))
        expected = re.fullmatch(r"pos= \d+", line) is not None
        if suite.positions and not expected:
            read_result(suite.positions[-1], line)
    for name in FIGURES:
        found = re.search(rf"^{name}= (.*)$", text, re.MULTILINE)
        if found:
            suite.figures[FIGURES[name]] = with_commas(found[1].strip())
    if to_solution := SOLUTION.search(text):
        suite.figures["mean nodes to a solution"] = with_commas(to_solution[1])
        suite.figures["mean time to a solution"] = f"{to_solution[2]} seconds"
    return suite


def with_commas(figure_text: str) -> str:
    return f"{int(figure_text):,}" if figure_text.isdigit() else figure_text


def read_result(position: Position, line: str) -> None:
    move, solved = MOVE.match(line), SOLVED.match(line)
    if move:
        position.move, position.score = move[1], int(move[3])
    elif solved:
        position.solved_at = int(solved[1])


def operations(line: str) -> dict[str, str]:
    """The operations of an EPD line by their names; counters that stand where they should not are skipped."""
    rest = " ".join(line.split()[FIELDS:])
    return {name: " ".join(value.split()) for name, value in OPERATION.findall(rest) if not name.isdigit()}


def unsolved_positions(suite: Suite, path: str, text: str) -> list[Position]:
    """The lines of unsolved.epd with what was played there, as far as the run showed it."""
    lines = [line.strip() for line in text.splitlines() if line.strip()]
    left = suite.total - suite.correct
    if len(lines) != left:
        raise ReportError(f"{path} holds {len(lines)} positions, but the run left {left} unsolved")
    shown: dict[str, list[Position]] = {}
    for position in suite.positions:
        shown.setdefault(position.line, []).append(position)
    found = []
    for line in lines:
        known = shown.get(line, [])
        if suite.positions and not known:
            raise ReportError(f"{path} belongs to another run: {line}")
        found.append(known.pop(0) if known else Position(line))
    return found


def arrows_of(lines: list[Line], kinds: list[str]) -> list[tuple[str, str, str]]:
    arrows = []
    for line, kind in zip(lines, kinds):
        move = line.last_move()
        if move:
            arrows.append((*move, kind))
    return arrows


def wanted_moves(position: Position) -> list[tuple[str, str]]:
    """Moves of the line and of the engine, each with its kind of arrow."""
    given = operations(position.line)
    moves = [(word, "expected") for word in given.get("bm", "").split() if word[0].isalnum()]
    moves += [(word, "avoid") for word in given.get("am", "").split() if word[0].isalnum()]
    return moves + ([(position.move, "played")] if re.fullmatch(r"[a-h][1-8][a-h][1-8](=?\w)?", position.move) else [])


def position_figure(position: Position, lines: list[Line], kinds: list[str]) -> str:
    given = operations(position.line)
    wishes = "; ".join(f"{name} {value}" for name, value in given.items() if name in ("bm", "am", "dm", "c0"))
    name = given.get("id", "").strip('"') or "position"
    played = "what was played is not told"
    if position.move:
        played = f"played {position.move} ({signed(position.score / 100, 2)})"
    mover = "White" if " w " in position.line else "Black"
    words = f"<b>{esc(name)}</b>, {mover} to move: {esc(wishes)}; {esc(played)}"
    start = lines[0].positions[0] if lines[0].positions else "8/8/8/8/8/8/8/8 w - -"
    alt = f"{name}: {start}; {wishes}; {played}"
    return figure(board(squares_of(start), alt, arrows=arrows_of(lines[1:], kinds)), words)


def unsolved_boards(positions: list[Position], engine: str) -> str:
    queries: list[tuple[str, list[str]]] = []
    wanted = [wanted_moves(position) for position in positions]
    for position, moves in zip(positions, wanted):
        fen = " ".join(position.line.split()[:FIELDS])
        queries += [(fen, []), *((fen, [move]) for move, _ in moves)]
    lines = iter(play_lines(engine, queries))
    figures = [position_figure(position, [next(lines) for _ in range(len(moves) + 1)], [kind for _, kind in moves])
               for position, moves in zip(positions, wanted)]
    return "<div class=\"boards\">" + "".join(figures) + "</div>\n"


def depth_chart(suite: Suite) -> str:
    counts = Counter(p.solved_at for p in suite.positions if p.solved_at is not None)
    depths = list(range(1, max(counts) + 1))
    solved = [sum(n for depth, n in counts.items() if depth <= d) for d in depths]
    drawing, (axes,) = charts.chart(2.6, 6.4)
    bars = axes.bar([str(d) for d in depths], solved, color=charts.ONE, width=0.7)
    axes.bar_label(bars, fontsize=9)
    axes.set(xlabel="depth (plies)", ylabel="positions", ylim=(0, suite.total))
    axes.grid(axis="x", visible=False)
    return charts.svg(drawing, f"Solved positions by the depth from which solutions stood: {solved} of {suite.total}")


def suite_report(paths: list[str], sources: Sources, engine: Callable[[], str]) -> str:
    text = sources.text(paths[0])
    suite = read_suite(paths[0], text)
    name = re.search(r"^Analyzing (.*)\.\.\.$", text, re.MULTILINE)
    parts = [f"<h2>Test suite{': ' + esc(Path(name[1]).name) if name else ''}</h2>\n",
             facts([(f"{suite.correct} of {suite.total}", "positions solved"),
                    (percent(suite.correct, suite.total), "solved")]),
             table(["figure", "value"], suite.figures.items())]
    if any(p.solved_at is not None for p in suite.positions):
        parts.append(figure(depth_chart(suite), "Positions solved, by the depth from which the solution stood."))
    left = suite.total - suite.correct
    parts.append(f"<h3>Unsolved: {left}</h3>\n")
    if left:
        unsolved = paths[1] if len(paths) > 1 else str(Path(paths[0]).parent / "unsolved.epd")
        positions = unsolved_positions(suite, unsolved, sources.text(unsolved))
        parts.append(note("Green: expected; red and dashed: played; purple and dotted: to be avoided. The score is in "
                          "pawns, for the side to move."))
        parts.append(unsolved_boards(positions, engine()))
    return "".join(parts)
