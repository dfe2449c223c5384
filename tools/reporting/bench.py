"""Report on a benchmark: what `vesk -bench` (or another one) printed, against an older run where there is one."""
from __future__ import annotations

import re
from dataclasses import dataclass, field

from . import charts
from .files import ReportError, Sources
from .page import facts, figure, note, signed, table

POSITION = re.compile(r"^pos +(\d+): +(\d+\.\d+) seconds(?:, nodes= (\d+), nps= (\d+))?$", re.MULTILINE)
TOTAL = re.compile(r"^total time= (\d+\.\d+) seconds, nodes= (\d+), nps= (\d+)", re.MULTILINE)


@dataclass
class Position:
    """What one position took; nodes and rate stand in the standard form only."""
    seconds: float
    nodes: int | None
    rate: int | None


@dataclass
class Run:
    name: str
    seconds: float = 0.0
    nodes: int = 0
    rate: int = 0
    positions: dict[int, Position] = field(default_factory=dict)


def read_run(path: str, sources: Sources) -> Run:
    text = sources.text(path)
    total = TOTAL.search(text)
    if total is None:
        raise ReportError(f"{path} holds no total of a benchmark")
    run = Run(sources.read[-1][0], float(total[1]), int(total[2]), int(total[3]))
    for number, seconds, nodes, rate in POSITION.findall(text):
        told = (int(nodes), int(rate)) if nodes else (None, None)
        run.positions[int(number)] = Position(float(seconds), *told)
    return run


def change(new: float | None, old: float | None) -> str:
    return f"{signed(100 * (new - old) / old)} %" if new is not None and old else "\u2013"


def value_of(run: Run, number: int, measure: str) -> float | None:
    position = run.positions.get(number)
    return getattr(position, measure) if position else None


def position_chart(runs: list[Run], measures: dict[str, str]) -> str:
    """Bars by position for each measure."""
    drawing, panels = charts.chart(2.8, columns=len(measures))
    numbers = sorted(runs[0].positions)
    width = 0.8 / len(runs)
    for axes, (measure, unit) in zip(panels, measures.items()):
        for i, (run, colour) in enumerate(zip(runs, (charts.ONE, charts.TWO))):
            places = [n + width * (i - (len(runs) - 1) / 2) for n in range(len(numbers))]
            axes.bar(places, [value_of(run, n, measure) or 0 for n in numbers], width, color=colour, label=run.name)
        axes.set_xticks(range(len(numbers)), [str(n) for n in numbers])
        axes.set(xlabel="position", ylabel=unit)
        axes.yaxis.set_major_formatter(lambda value, _: f"{value:,.10g}")
        axes.grid(axis="x", visible=False)
        axes.legend(ncols=2, loc="lower left", bbox_to_anchor=(0, 1))
    names = " and ".join(run.name for run in runs)
    return charts.svg(drawing, f"{' and '.join(measures.values())} by position, of {names}")


def figure_text(value: float | None, measure: str) -> str:
    if value is None:
        return "\u2013"
    return f"{value:.2f}" if measure == "seconds" else f"{value:,}"


def position_table(runs: list[Run], measures: dict[str, str]) -> str:
    """A row a position: each measure of both runs, and its change."""
    heads = ["position"]
    for words in measures.values():
        heads += [words] if len(runs) == 1 else [words, "before", "change"]
    rows = []
    for number in sorted(runs[0].positions):
        row: list[object] = [number]
        for measure in measures:
            values = [value_of(run, number, measure) for run in runs]
            row += [figure_text(value, measure) for value in values]
            if len(runs) == 2:
                row.append(change(values[0], values[1]))
        rows.append(row)
    return table(heads, rows)


def bench_report(paths: list[str], sources: Sources) -> str:
    runs = [read_run(path, sources) for path in paths]
    new, old = runs[0], runs[-1]
    parts = ["<h2>Benchmark</h2>\n", facts([(f"{new.nodes:,}", "nodes"), (f"{new.rate:,}", "nodes per second"),
                                            (f"{new.seconds:.2f} s", "time")])]
    rows = [(run.name, f"{run.nodes:,}", f"{run.seconds:.2f}", f"{run.rate:,}") for run in runs]
    if len(runs) == 2:
        rows.append(("change", change(new.nodes, old.nodes), change(new.seconds, old.seconds),
                     change(new.rate, old.rate)))
        parts.append(note("Both runs searched the same number of nodes." if new.nodes == old.nodes else
                          "The runs searched different nodes: another search, depth or set of positions."))
    parts.append(table(["run", "nodes", "time (s)", "nodes per second"], rows))
    if new.positions:
        full = all(p.nodes is not None for run in runs for p in run.positions.values())
        time, others = {"seconds": "time (s)"}, {"nodes": "nodes", "rate": "nodes per second"}
        parts.append(figure(position_chart(runs, others if full else time)))
        parts.append(position_table(runs, time | others if full else time))
        if not full:
            parts.append(note("Nodes and rates by position are told by runs with -standard."))
    return "".join(parts)
