"""Report on `vesk -tune-all`: the rounds and the weights of its tuned.tsv."""
from __future__ import annotations

import re
from dataclasses import dataclass, field

from . import charts
from .board import coloured_board
from .files import ReportError, Sources
from .page import esc, facts, figure, note, signed, table

ROUND_HEAD = ["round", "number", "training", "held_out", "changed", "seconds"]
WEIGHT_HEAD = ["weight", "name", "default", "before", "after"]
SQUARE = re.compile(r"PST_(\w+)_(op|en) ([a-h][1-8])")
STAGES = {"op": "opening", "en": "ending"}
MATERIAL = "_value_"


@dataclass
class Round:
    number: int
    training: float
    held_out: float
    changed: int
    seconds: float


@dataclass
class Tuning:
    rounds: list[Round] = field(default_factory=list)
    weights: dict[str, tuple[int, int]] = field(default_factory=dict)  # before, after
    tables: dict[tuple[str, str], dict[str, tuple[int, int]]] = field(default_factory=dict)  # (piece, stage), square


def read_tuning(path: str, text: str) -> Tuning:
    tuning = Tuning()
    for number, line in enumerate(text.splitlines(), 1):
        cells = line.split("\t")
        try:
            if cells in (ROUND_HEAD, WEIGHT_HEAD):
                continue
            if cells[0] == "round":
                _, n, training, held_out, changed, seconds = cells
                tuning.rounds.append(Round(int(n), float(training), float(held_out), int(changed), float(seconds)))
            elif cells[0] == "weight":
                _, name, _, before, after = cells
                add_weight(tuning, name, (int(before), int(after)))
            else:
                raise ValueError
        except ValueError as error:
            raise ReportError(f"{path}, line {number}: no line of a table of -tune-all") from error
    if not tuning.rounds or not tuning.weights:
        raise ReportError(f"{path} ends before its weights")
    return tuning


def add_weight(tuning: Tuning, name: str, values: tuple[int, int]) -> None:
    square = SQUARE.fullmatch(name)
    if square:
        tuning.tables.setdefault((square[1], square[2]), {})[square[3]] = values
    else:
        tuning.weights[name] = values


def loss_chart(rounds: list[Round], best: Round) -> str:
    drawing, (axes,) = charts.chart(3.0)
    numbers = [r.number for r in rounds]
    axes.plot(numbers, [r.training for r in rounds], "o-", color=charts.ONE, label="training")
    if any(r.held_out for r in rounds):
        axes.plot(numbers, [r.held_out for r in rounds], "s--", color=charts.TWO, label="held out")
    axes.axvline(best.number, color=charts.SOFT, linewidth=0.9, linestyle=":")
    axes.annotate(" kept", (best.number, 0.5), xycoords=("data", "axes fraction"), va="center", color=charts.SOFT)
    axes.set(xlabel="round", ylabel="loss (mean square)")
    axes.set_xticks(numbers)
    axes.legend()
    return charts.svg(drawing, f"Loss by round, from {rounds[0].training:.6f} to {best.training:.6f} in training")


def weight_chart(weights: dict[str, tuple[int, int]], title: str) -> str:
    """Bars of each weight before and after, the figures beside them."""
    drawing, (axes,) = charts.chart(0.8 + 0.3 * len(weights))
    for place, (before, after) in enumerate(weights.values()):
        axes.barh(place - 0.19, before, 0.36, color=charts.EVEN, label="before" if place == 0 else None)
        axes.barh(place + 0.19, after, 0.36, color=charts.ONE, label="after" if place == 0 else None)
        text, ink = (f"{before} \u2192 {after}", charts.TEXT) if before != after else (f"{before}", charts.SOFT)
        axes.annotate(text.replace("-", "\u2212"), (max(before, after, 0), place), xytext=(5, 0),
                      textcoords="offset points", va="center", fontsize=8.5, color=ink)
    axes.set_yticks(range(len(weights)), list(weights), fontsize=8.5)
    axes.set(ylim=(len(weights) - 0.4, -0.6), xlabel="value")
    axes.margins(x=0.12)
    axes.axvline(0, color=charts.SOFT, linewidth=0.9)
    axes.grid(axis="y", visible=False)
    axes.legend(loc="best")
    return charts.svg(drawing, f"{title} before and after tuning: " + ", ".join(
        f"{name} {before} to {after}" for name, (before, after) in weights.items()))


def table_boards(piece: str, stage: str, squares: dict[str, tuple[int, int]], step: int) -> str:
    """The table before, after, and what has changed."""
    before = {square: values[0] for square, values in squares.items()}
    after = {square: values[1] for square, values in squares.items()}
    moved = {square: after[square] - before[square] for square in squares}
    largest = max(abs(v) for v in [*before.values(), *after.values()])
    name = f"{piece}, {STAGES[stage]}"
    pictures = ""
    for values, scale, words in ((before, largest, "before"), (after, largest, "after"), (moved, step, "difference")):
        pictures += figure(coloured_board(values, scale, f"Table of the {name}, {words}", values is moved), words)
    return f"<h3>{esc(name.capitalize())}</h3>\n<div class=\"boards small\">{pictures}</div>\n"


def loss_fact(kind: str, before: float, after: float) -> tuple[str, str]:
    change = signed(100 * (after / before - 1), 2) + " %" if before else "\u2013"
    return change, f"{kind} loss, {before:.4f} to {after:.4f}"


def tune_report(path: str, sources: Sources) -> str:
    tuning = read_tuning(path, sources.text(path))
    held_out = any(r.held_out for r in tuning.rounds)
    best = min(tuning.rounds, key=lambda r: r.held_out if held_out else r.training)
    start = tuning.rounds[0]
    moved = [after - before for squares in tuning.tables.values() for before, after in squares.values()]
    changed = sum(before != after for before, after in tuning.weights.values()) + sum(map(bool, moved))
    material = {n: v for n, v in tuning.weights.items() if MATERIAL in n}
    others = {n: v for n, v in tuning.weights.items() if MATERIAL not in n}
    items = [loss_fact("training", start.training, best.training)]
    if held_out:
        items.append(loss_fact("held-out", start.held_out, best.held_out))
    items += [(f"{best.number} of {tuning.rounds[-1].number}", "round whose weights are kept"),
              (f"{changed} of {len(moved) + len(tuning.weights)}", "weights changed"),
              (f"{sum(r.seconds for r in tuning.rounds):.1f} s", "time of the rounds")]
    rounds = [(r.number, f"{r.training:.8f}", f"{r.held_out:.8f}", r.changed, f"{r.seconds:.1f}")
              for r in tuning.rounds]
    parts = ["<h2>Tuning</h2>\n", facts(items), figure(loss_chart(tuning.rounds, best)),
             table(["round", "training loss", "held-out loss", "weights changed", "time (s)"], rows=rounds),
             "<h3>Weights</h3>\n", note("In centipawns, but king_safety (percent) and the scales of mobility.")]
    for group, title in ((material, "Material"), (others, "Other weights")):
        if group:
            parts.append(figure(weight_chart(group, title)))
    if tuning.tables:
        step = max(map(abs, moved)) or 1
        parts.append("<h3>Piece-square tables</h3>\n" + note(
            "White at the bottom, in centipawns. Blue is good for the piece, orange bad; the differences have a scale "
            f"of their own, full colour at {step}."))
        parts += [table_boards(piece, stage, squares, step) for (piece, stage), squares in tuning.tables.items()]
    return "".join(parts)
