"""Report on a benchmark: what `vesk -bench` (or -bench2, -pbench, bench) printed, against an older run where there is one."""
from __future__ import annotations

import re
from dataclasses import dataclass, field

from . import charts
from .files import ReportError, Sources
from .page import facts, figure, note, signed, table

POSITION = re.compile(r"^pos +(\d+): +(\d+\.\d+) seconds", re.MULTILINE)
TOTAL = re.compile(r"^total time= (\d+\.\d+) seconds, nodes= (\d+), nps= (\d+)", re.MULTILINE)


@dataclass
class Run:
    name: str
    seconds: float = 0.0
    nodes: int = 0
    rate: int = 0
    positions: dict[int, float] = field(default_factory=dict)  # seconds


def read_run(path: str, sources: Sources) -> Run:
    text = sources.text(path)
    total = TOTAL.search(text)
    if total is None:
        raise ReportError(f"{path} holds no total of a benchmark")
    run = Run(sources.read[-1][0], float(total[1]), int(total[2]), int(total[3]))
    run.positions = {int(number): float(seconds) for number, seconds in POSITION.findall(text)}
    return run


def change(new: float, old: float) -> str:
    return f"{signed(100 * (new - old) / old)} %" if old else "\u2013"


def time_chart(runs: list[Run]) -> str:
    drawing, (axes,) = charts.chart(2.8)
    numbers = sorted(runs[0].positions)
    width = 0.8 / len(runs)
    for i, (run, colour) in enumerate(zip(runs, (charts.ONE, charts.TWO))):
        places = [n + width * (i - (len(runs) - 1) / 2) for n in range(len(numbers))]
        axes.bar(places, [run.positions.get(n, 0.0) for n in numbers], width, color=colour, label=run.name)
    axes.set_xticks(range(len(numbers)), [str(n) for n in numbers])
    axes.set(xlabel="position", ylabel="time (s)")
    axes.grid(axis="x", visible=False)
    axes.legend()
    return charts.svg(drawing, "Seconds for each position of " + " and ".join(run.name for run in runs))


def bench_report(paths: list[str], sources: Sources) -> str:
    runs = [read_run(path, sources) for path in paths]
    new, old = runs[0], runs[-1]
    parts = ["<h2>Benchmark</h2>\n", facts([(f"{new.nodes:,}", "nodes"), (f"{new.rate:,}", "nodes per second"),
                                            (f"{new.seconds:.2f} s", "time")])]
    rows = [(run.name, f"{run.nodes:,}", f"{run.seconds:.2f}", f"{run.rate:,}") for run in runs]
    if len(runs) == 2:
        rows.append(("change", change(new.nodes, old.nodes), change(new.seconds, old.seconds), change(new.rate, old.rate)))
        parts.append(note("Both runs searched the same nodes: they differ in speed only." if new.nodes == old.nodes else
                          "The runs searched different nodes: another search, depth or set of positions."))
    parts.append(table(["run", "nodes", "time (s)", "nodes per second"], rows))
    if new.positions:
        parts.append(figure(time_chart(runs), "Time by position."))
        heads = ["position", "time (s)"] + (["before (s)", "change"] if len(runs) == 2 else [])
        cells = []
        for number, seconds in sorted(new.positions.items()):
            before = old.positions.get(number)
            more = [] if len(runs) == 1 else [f"{before:.2f}", change(seconds, before)] if before is not None else ["\u2013"] * 2
            cells.append([number, f"{seconds:.2f}", *more])
        parts.append(table(heads, cells))
    return "".join(parts)
