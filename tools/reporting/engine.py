"""What needs the rules of chess is asked of the engine: moves in any spelling, played on its console."""
from __future__ import annotations

import re
import shutil
import subprocess
import tempfile
from dataclasses import dataclass
from pathlib import Path

from .files import ReportError

TIMEOUT = 120  # seconds
SEPARATOR = "KKKKKKKK/8/8/8/8/8/8/kkkkkkkk w - -"  # between two lines of play; in nobody's file
START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"
POSITION = re.compile(r"^[pnbrqkPNBRQK1-8/]{15,} [wb] [KQkq-]+ (?:-|[a-h][1-8])$")

Squares = dict[str, str]  # square -> letter of its piece


def find_engine(named: str | None) -> str:
    """The engine that was named, else the one of this tree, else the one in the path of programs."""
    built = Path(__file__).resolve().parents[2] / "build" / "release" / "vesk"
    found = named or (str(built) if built.is_file() else shutil.which("vesk"))
    if found is None or shutil.which(found) is None:
        raise ReportError(f"{named}: no such program" if named else
                          "no engine found: build it, or name it with --engine")
    return str(Path(shutil.which(found) or found).resolve())


def squares_of(fen: str) -> Squares:
    """The pieces of a position by their squares."""
    board = {}
    for rank, row in zip("87654321", fen.split()[0].split("/")):
        file = 0
        for c in row:
            if c.isdigit():
                file += int(c)
            else:
                board["abcdefgh"[file] + rank] = c
                file += 1
    return board


@dataclass
class Line:
    """Moves played from a position, as far as the engine takes them."""
    positions: list[str]  # the first one is the start
    complete: bool  # no move was refused

    def last_move(self) -> tuple[str, str] | None:
        """Where the last move began and ended: the mover's piece, or its king in castling."""
        if len(self.positions) < 2:
            return None
        before, after = squares_of(self.positions[-2]), squares_of(self.positions[-1])
        own = str.isupper if self.positions[-2].split()[1] == "w" else str.islower
        left = [s for s, piece in before.items() if own(piece) and s not in after]
        taken = [s for s, piece in after.items() if own(piece) and before.get(s) != piece]
        if not left or not taken:
            return None
        begin = next((s for s in left if before[s] in "Kk"), left[0])
        return begin, next((s for s in taken if after[s] in "Kk" and before[begin] in "Kk"), taken[0])


def play_lines(engine: str, queries: list[tuple[str, list[str]]]) -> list[Line]:
    """The positions along each query: a position (FEN without counters) and moves to play from there."""
    script = ["force"]
    for fen, moves in queries:
        script += [f"fen {SEPARATOR}", f"fen {fen}", *(f"move {move.rstrip('+#!?')}" for move in moves)]
    try:
        with tempfile.TemporaryDirectory() as folder:  # the engine begins a log where it is started
            run = subprocess.run([engine, "-c", "-nolog", "-standard"], input="\n".join([*script, "quit", ""]),
                                 text=True, capture_output=True, timeout=TIMEOUT, check=False, cwd=folder)
    except (OSError, subprocess.SubprocessError) as error:
        raise ReportError(f"{engine}: cannot be asked for positions ({error})") from error
    shown = [line for line in run.stdout.splitlines() if POSITION.match(line)]
    lines: list[list[str]] = []
    for position in shown:
        if position == SEPARATOR:
            lines.append([])
        elif lines:
            lines[-1].append(position)
    if run.returncode != 0 or len(lines) != len(queries):
        raise ReportError(f"{engine}: is no engine that plays through positions on its console")
    return [Line(positions, len(positions) == len(moves) + 1) for positions, (_, moves) in zip(lines, queries)]
