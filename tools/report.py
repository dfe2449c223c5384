#!/usr/bin/python3
"""Makes one HTML page, its pictures inside, of what the workbench wrote: matches, test suites, tuning, benchmarks.

    tools/report.py -o report.html --match match.pgn --suite suite.txt --tune tuned.tsv --bench new.txt old.txt

docs/workshop.md tells where these files come from. Needs python3-matplotlib (Debian), and for the boards the engine."""
from __future__ import annotations

import argparse
import sys
from functools import cache
from pathlib import Path

sys.dont_write_bytecode = True
try:
    from reporting.bench import bench_report
    from reporting.engine import find_engine
    from reporting.files import ReportError, Sources
    from reporting.match import match_report
    from reporting.page import page
    from reporting.suite import suite_report
    from reporting.tune import tune_report
except ImportError as error:
    sys.exit(f"report.py: {error}: install python3-matplotlib, or run it with the python3 that has it")


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description="Makes one HTML page of what the workbench wrote.")
    parser.add_argument("-o", "--output", default="report.html", metavar="FILE", help="the page (report.html)")
    parser.add_argument("--title", default="Vesk: report", help="its heading")
    parser.add_argument("--engine", metavar="PROGRAM", help="plays through moves (build/release/vesk, vesk)")
    parser.add_argument("--match", metavar="PGN", help="games of -selfplay or of a tournament manager")
    parser.add_argument("--player1", metavar="NAME", help="whose results count (White of the first game)")
    parser.add_argument("--sprt", nargs=2, type=float, default=(0.0, 5.0), metavar=("ELO0", "ELO1"),
                        help="bounds of the sequential test (0 5)")
    parser.add_argument("--opening-plies", type=int, default=2, metavar="N", help="plies that make an opening (2)")
    parser.add_argument("--suite", nargs="+", metavar=("OUTPUT", "UNSOLVED"),
                        help="what -anepd printed, and its unsolved.epd (the one in the same folder)")
    parser.add_argument("--tune", metavar="TSV", help="tuned.tsv of -tune-all")
    parser.add_argument("--bench", nargs="+", metavar=("NEW", "OLD"), help="what a benchmark printed, and an older run")
    options = parser.parse_args()
    if not (options.match or options.suite or options.tune or options.bench):
        parser.error("nothing to report: name --match, --suite, --tune or --bench")
    if options.sprt[0] >= options.sprt[1]:
        parser.error("--sprt: ELO0 must be below ELO1")
    if len(options.suite or []) > 2 or len(options.bench or []) > 2:
        parser.error("--suite and --bench take one or two files")
    return options


def make_page(options: argparse.Namespace) -> str:
    sources = Sources()
    engine = cache(lambda: find_engine(options.engine))
    sections = []
    if options.match:
        sections.append(match_report(options.match, sources, engine, options.player1, tuple(options.sprt),
                                     options.opening_plies))
    if options.suite:
        sections.append(suite_report(options.suite, sources, engine))
    if options.tune:
        sections.append(tune_report(options.tune, sources))
    if options.bench:
        sections.append(bench_report(options.bench, sources))
    return page(options.title, sections, sources)


def main() -> int:
    options = arguments()
    try:
        text = make_page(options)
        Path(options.output).write_text(text, encoding="utf-8")
    except ReportError as error:
        print(f"report.py: {error}", file=sys.stderr)
        return 1
    except OSError as error:
        print(f"report.py: {options.output}: {error.strerror or error}", file=sys.stderr)
        return 1
    print(f"{options.output}: {len(text.encode()):,} bytes")
    return 0


if __name__ == "__main__":
    sys.exit(main())
