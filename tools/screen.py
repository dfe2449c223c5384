#!/usr/bin/env python3
"""Screens many changes of the weights at once, by games: which ones make the engine stronger?

    tools/screen.py --engine build/release/vesk --runs 1000 strong.rc tools/screen_changes.txt trial

For each run every change is drawn by lot to one side or the other, and the parameters with all changes to their sides
play some games against those with all changes to the opposite sides. All runs together tell for each change what the one
side scores more than the other, as exactly as if all games had been played for it alone. The folder (here trial) keeps
games and results; the same command goes on in it, and what was played is not played again. better.rc in it has every
change moved toward its better side, by less the less is known.

A line of the file of changes is a name and what it does: KEY+40, KEY-5 (plus and minus so much), KEY*1.2 (a fifth more and
a fifth less), KEY=320|20000 (one value or the other); * in a KEY stands for any letters. Needs nothing but Python."""
from __future__ import annotations

import argparse
import copy
import math
import os
import random
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from fnmatch import fnmatchcase
from pathlib import Path

CHANGE = re.compile(r"(?P<key>.+?)(?:(?P<plus>[+-]\d+)|\*(?P<times>\d+\.\d+)|=(?P<one>-?\d+)\|(?P<other>-?\d+))$")
STANDING = re.compile(r"^(\d+) games: \+(\d+) =(\d+) -(\d+),", re.M)
TABLE_RANKS = 8
BYTE_RANGE = range(256)
BYTE_KEYS = re.compile(r"LMR_strength|LMR_depth|NMP_depth|LMP_count_depth\d")
LOTS_OF_A_RUN = 50  # the openings' lots of two runs stand so far apart
FIRST_LOTS = 500000
DIGITS = 9  # of a factor
ELO_OF_SCORE = 2 * 400 / math.log(10)  # of a difference in score of 1, near an even score
LIKELY_EFFECT = 6.0  # Elo, how large effects are believed to be before a game is played
WHOLE_EFFECT = 40.0  # Elo, for which the whole change is made: small steps, since effects do not just add up

Table = list[list[float]]
Values = dict[str, "float | Table"]


class ScreenError(Exception):
    """What the user has to put right."""


def read_parameters(path: str, values: Values) -> None:
    """The settings of a parameter file, over those that stand in values."""
    lines = iter(Path(path).read_text().splitlines())
    for line in lines:
        key, found, value = line.partition("=")
        key = key.strip()
        if key.startswith("#") or not found:
            continue
        try:
            values[key] = ([[float(x) for x in next(lines).split()] for _ in range(TABLE_RANKS)]
                           if key.startswith("PST_") else float(value))
        except (ValueError, StopIteration):
            raise ScreenError(f"{path}: {key} has no number, or not {TABLE_RANKS} lines of them") from None


def write_parameters(path: Path, values: Values) -> None:
    """A parameter file of rounded values."""
    with open(path, "w") as out:
        for key, value in values.items():
            if isinstance(value, list):
                out.write(f"{key} =\n" + "".join(" ".join(str(round(x)) for x in rank) + "\n" for rank in value))
            else:
                number = round(value)
                if BYTE_KEYS.fullmatch(key):
                    number = min(max(number, BYTE_RANGE[0]), BYTE_RANGE[-1])
                out.write(f"{key} = {number}\n")


def built_in_values(engine: str) -> Values:
    """The built-in numbers, without tables and margins that are off."""
    listed = subprocess.run([engine, "-params-list"], capture_output=True, text=True, stdin=subprocess.DEVNULL,
                            check=True).stdout
    fields = [line.split(", ") for line in listed.splitlines()]
    return {f[0]: float(f[2]) for f in fields if len(f) > 2 and not f[0].startswith("PST_")}


@dataclass
class Change:
    """One of the changes that are screened: words as they stand in the file."""
    name: str
    words: list[str]

    def apply(self, values: Values, part: float) -> None:
        """Makes a part of the change, -1..1, in values. Of two values the sign chooses; 0 leaves what stands there."""
        for word in self.words:
            match = CHANGE.fullmatch(word)
            if match["one"] is not None:
                if part:
                    values[match["key"]] = float(match["one"] if part > 0 else match["other"])
                continue
            for key in [k for k in values if fnmatchcase(k, match["key"])]:
                factor = 1.0 + part * round(float(match["times"]) - 1.0, DIGITS) if match["times"] else 1.0
                added = part * float(match["plus"] or 0)
                old = values[key]
                values[key] = ([[x * factor + added for x in rank] for rank in old] if isinstance(old, list)
                               else old * factor + added)


def read_changes(path: str, values: Values) -> list[Change]:
    """The changes of a file; each has to mean something in values."""
    changes = []
    for line in Path(path).read_text().splitlines():
        words = line.split()
        if not words or line.startswith("#"):
            continue
        for word in words[1:]:
            match = CHANGE.fullmatch(word)
            if not match:
                raise ScreenError(f"{path}: '{word}' is no change")
            if match["one"] is None and not any(fnmatchcase(key, match["key"]) for key in values):
                raise ScreenError(f"{path}: {match['key']}: no such number in the base")
        changes.append(Change(words[0], words[1:]))
    if not changes:
        raise ScreenError(f"{path} holds no changes")
    return changes


def sides_of(number: int, count: int) -> list[int]:
    """The lots of a run: for each change 1 or -1, what player 1 has."""
    lots = random.Random(number)
    return [lots.choice((-1, 1)) for _ in range(count)]


def with_changes(base: Values, changes: list[Change], parts: list[float]) -> Values:
    values = copy.deepcopy(base)
    for change, part in zip(changes, parts):
        change.apply(values, part)
    return values


@dataclass
class Screening:
    """A run of the tool: what is compared, and where the results stand."""
    options: argparse.Namespace
    base: Values
    changes: list[Change]
    folder: Path

    def play(self, number: int) -> str:
        """Plays the games of a run and returns its line of the results."""
        files = [self.folder / f"{number}-{player}.rc" for player in (1, 2)]
        sides = sides_of(number, len(self.changes))
        for file, sign in zip(files, (1, -1)):
            write_parameters(file, with_changes(self.base, self.changes, [sign * s for s in sides]))
        done = subprocess.run(
            [self.options.engine, "-nolog", "-threads", "1", "-selfplay", f"{number}.pgn", "-player1", files[0].name,
             "-player2", files[1].name, "-games", str(self.options.games), "-nodes", str(self.options.nodes),
             "-randomplies", str(self.options.randomplies), "-decided", str(self.options.decided),
             "-seed", str(FIRST_LOTS + number * LOTS_OF_A_RUN)],
            cwd=self.folder, stdin=subprocess.DEVNULL, capture_output=True, text=True)
        standings = STANDING.findall(done.stdout)
        if done.returncode != 0 or not standings:
            raise ScreenError(f"run {number}: the games ended early: {(done.stderr or done.stdout).strip()}")
        for file in files:
            file.unlink()
        return f"{number} {' '.join(standings[-1])}\n"

    def play_missing(self, results: Path) -> None:
        wanted = range(self.options.first, self.options.first + self.options.runs)
        done = {int(line.split()[0]) for line in results.read_text().splitlines()}
        with ThreadPoolExecutor(self.options.jobs) as pool, open(results, "a") as out:
            runs = [pool.submit(self.play, number) for number in wanted if number not in done]
            try:
                for run in runs:
                    out.write(run.result())
                    out.flush()
            except BaseException:
                pool.shutdown(cancel_futures=True)
                raise


def inverse_of(matrix: list[list[float]]) -> list[list[float]]:
    """The inverse of a symmetric, positive definite matrix, by Gauss and Jordan."""
    n = len(matrix)
    rows = [list(row) + [float(i == k) for k in range(n)] for i, row in enumerate(matrix)]
    for i in range(n):
        pivot = rows[i][i]
        if pivot < 1e-9:
            raise ScreenError("too few runs yet to tell the changes apart")
        rows[i] = [x / pivot for x in rows[i]]
        for k in range(n):
            if k != i and rows[k][i]:
                factor = rows[k][i]
                rows[k] = [x - factor * y for x, y in zip(rows[k], rows[i])]
    return [row[n:] for row in rows]


def effects_of(lines: list[str], count: int) -> list[tuple[float, float]]:
    """For each change the Elo difference between its two sides, and the standard error of that: least squares over the
    scores of all runs, each with the weight of its games."""
    runs = []
    for line in lines:
        number, games, wins, draws, _ = map(int, line.split())
        runs.append((sides_of(number, count), games, (2 * wins + draws) / games - 1))
    if len(runs) <= count:
        raise ScreenError(f"{len(runs)} runs are too few to tell {count} changes apart")
    squares = [[sum(w * s[i] * s[k] for s, w, _ in runs) for k in range(count)] for i in range(count)]
    products = [sum(w * s[i] * y for s, w, y in runs) for i in range(count)]
    inverse = inverse_of(squares)
    slopes = [sum(a * b for a, b in zip(row, products)) for row in inverse]
    rest = sum(w * (y - sum(a * b for a, b in zip(s, slopes))) ** 2 for s, w, y in runs)
    variance = rest / (len(runs) - count)
    return [(slope * ELO_OF_SCORE, math.sqrt(variance * inverse[i][i]) * ELO_OF_SCORE)
            for i, slope in enumerate(slopes)]


def parts_of(changes: list[Change], effects: list[tuple[float, float]]) -> list[float]:
    """How much of each change to make, -1..1: the effect, drawn toward 0 the more the less is known, against the whole
    one. Of two values the better one is taken once it is clear."""
    parts = []
    for change, (effect, error) in zip(changes, effects):
        believed = effect * LIKELY_EFFECT ** 2 / (LIKELY_EFFECT ** 2 + error ** 2)
        part = min(max(believed / WHOLE_EFFECT, -1.0), 1.0)
        either = any(CHANGE.fullmatch(word)["one"] is not None for word in change.words)
        parts.append((math.copysign(1.0, effect) if abs(effect) > 2 * error else 0.0) if either else part)
    return parts


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("base", metavar="BASE.rc", help="parameters in the middle")
    parser.add_argument("changes", metavar="CHANGES", help="file of changes")
    parser.add_argument("folder", metavar="FOLDER", help="for games and results")
    parser.add_argument("--engine", default="vesk", help="the program (vesk)")
    parser.add_argument("--runs", type=int, default=500, help="lots of all changes (500)")
    parser.add_argument("--first", type=int, default=0, help="number of the first run (0)")
    parser.add_argument("--games", type=int, default=8, help="games of a run (8)")
    parser.add_argument("--nodes", type=int, default=8000, help="a move (8000)")
    parser.add_argument("--randomplies", type=int, default=6, help="first moves by lot (6)")
    parser.add_argument("--decided", type=int, default=700, help="score, centipawns, that ends a game (700)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1, help="runs at once (processors)")
    options = parser.parse_args()
    for name in ("games", "nodes", "jobs"):
        if getattr(options, name) < 1:
            parser.error(f"--{name} has to be 1 or more")
    return options


def screen(options: argparse.Namespace) -> None:
    options.engine = str(Path(options.engine).resolve()) if os.sep in options.engine else options.engine
    base = built_in_values(options.engine)
    read_parameters(options.base, base)
    changes = read_changes(options.changes, base)
    folder = Path(options.folder)
    folder.mkdir(parents=True, exist_ok=True)
    texts = Path(options.base).read_text() + Path(options.changes).read_text()
    settings = (f"{options.games} games of a run, {options.nodes} nodes, {options.randomplies} random plies, "
                f"decided at {options.decided}, base and changes:\n{texts}")
    begun_with = folder / "settings.txt"
    if begun_with.exists() and begun_with.read_text() != settings:
        raise ScreenError(f"{folder} was begun with other settings ({begun_with} holds them) and is left as it is")
    begun_with.write_text(settings)
    results = folder / "results.txt"
    results.touch()
    Screening(options, base, changes, folder).play_missing(results)
    lines = results.read_text().splitlines()
    effects = effects_of(lines, len(changes))
    print(f"{sum(int(line.split()[1]) for line in lines)} games; Elo between the two sides of a change")
    parts = parts_of(changes, effects)
    # The clearest first. All have the same margin, about; none when no run was decided.
    for change, (effect, error), part in sorted(zip(changes, effects, parts), key=lambda e: -abs(e[1][0])):
        print(f"{change.name:16} {effect:+6.1f} +- {2 * error:4.1f}   {part:+.2f}")
    write_parameters(folder / "better.rc", with_changes(base, changes, parts))


def main() -> int:
    try:
        screen(arguments())
    except (ScreenError, OSError, subprocess.CalledProcessError) as error:
        print(f"screen.py: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
