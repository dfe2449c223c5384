#!/usr/bin/env python3
"""Pages that tools/report.py makes of what the engine has just written, and of games by other hands: whole, and with
the right figures. Usage: report_test.py ENGINE SOURCES. Exit status 77 = the library of the charts is missing."""
import html.parser
import os
import re
import subprocess
import sys
import tempfile

try:
    import matplotlib  # noqa: F401
except ImportError:
    print("skipped: python3-matplotlib is not installed")
    sys.exit(77)

ENGINE, SOURCES = map(os.path.abspath, sys.argv[1:3])
sys.path.insert(0, os.path.join(SOURCES, "tools"))
sys.dont_write_bytecode = True
from reporting.match import read_match  # noqa: E402
DATA = os.path.join(SOURCES, "tests", "data")
REPORT = os.path.join(SOURCES, "tools", "report.py")
VOID = {"meta", "link"}
FOOLS_MATE = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq -"

# Line ends of another system, comments and variations in each other's way, rounds out of order, a position of its own,
# marks, castling with zeros, a game without an end and one that breaks off.
FOREIGN_GAMES = r"""[Event "A \"cup\" <b>"]
[Round "2"]
[White "Beta"]
[Black "Alpha & $Co_$"]
[Result "1-0"]
[Termination "time forfeit"]

; to the end of the line 0-1
{before 1. e5} 1. e4 {+0.30/7 0.10s} e5 $14 (1... c5 {a ( b} (1... e6 2. d4) 2. Nf3) 2. Nf3! {-1.25/9 0.2s, n=300}
Nc6 3. Bc4 Bc5 4. 0-0 {+M15/9 1.0s, Black loses on time} 1-0

[Event "?"]
[Round "1"]
[White "Alpha & $Co_$"]
[Black "Beta"]
[Result "0-1"]

1. f3 {-0.50/6 0.1s} e5 {+0.60/6 0.1s}
% escaped 1-0
2. g4 {-M2/6 0.1s} Qh4# {+M1/6 0.1s, Black mates} 0-1

[Event "?"]
[Round "3"]
[White "Alpha & $Co_$"]
[Black "Beta"]
[Result "1/2-1/2"]
[FEN "8/8/8/8/8/5k2/7q/5K2 b - - 12 80"]
[SetUp "1"]

80... Kg3 {-3.00/3 0.1s, draw agreed} 1/2-1/2

[Event "?"]
[Round "4"]
[White "Beta"]
[Black "Alpha & $Co_$"]
[Result "*"]

1. e4 *

[Event "?"]
[Round "5"]
[White "Alpha & $Co_$"]
[Black "Beta"]
[Result "1-0"]

1. e4 e5 2. Qh5 {+0.1
""".replace("\n", "\r\n")


def check(condition, what):
    if not condition:
        raise AssertionError(what)


class Page(html.parser.HTMLParser):
    """A page that must be whole, need nothing from elsewhere, and give each picture words."""

    def __init__(self, text):
        super().__init__()
        self.text, self.open, self.ids, self.uses, self.labels, self.cells = text, [], set(), [], [], []
        self.feed(text)
        self.close()
        check(not self.open, f"not closed: {self.open}")
        check(text.startswith("<!DOCTYPE html>") and "<script" not in text, "the page's kind")
        check(all(use in self.ids for use in self.uses), f"pictures that are not there: {set(self.uses) - self.ids}")
        check("#0102" not in text, "a colour that stands for another")

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        if tag not in VOID:
            self.open.append(tag)
        if "id" in attributes:
            check(attributes["id"] not in self.ids, f"two elements named {attributes['id']}")
            self.ids.add(attributes["id"])
        for name in ("src", "href"):
            link = attributes.get(name, "#")
            check(link.startswith(("#", "data:")), f"from elsewhere: {link}")
            self.uses += [link[1:]] if name in attributes and link.startswith("#") else []
        if tag == "svg" and "aria-hidden" not in attributes:
            check(attributes.get("role") == "img" and attributes.get("aria-label"), "a picture without words")
            self.labels.append(attributes["aria-label"])

    def handle_startendtag(self, tag, attrs):
        self.handle_starttag(tag, attrs)
        if tag not in VOID:
            self.open.pop()

    def handle_endtag(self, tag):
        check(self.open and self.open.pop() == tag, f"</{tag}> closes something else")

    def handle_data(self, data):
        if self.open and self.open[-1] == "td":
            self.cells.append(data)

    def has_row(self, *cells):
        return any(self.cells[i:i + len(cells)] == list(cells) for i in range(len(self.cells)))

    def pictures(self, beginning):
        return [label for label in self.labels if label.startswith(beginning)]


def engine(*options):
    return subprocess.run([ENGINE, "-nolog", *options], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          check=True).stdout


def report(*options):
    return subprocess.run([sys.executable, REPORT, "--engine", ENGINE, "-o", "page.html", *options],
                          capture_output=True, text=True, check=False)


def page_of(*options):
    run = report(*options)
    check(run.returncode == 0 and not run.stderr, f"{options}: {run.stderr}")
    with open("page.html", encoding="utf-8") as file:
        return Page(file.read())


def write(name, text):
    with open(name, "wb") as file:
        file.write(text if isinstance(text, bytes) else text.encode())
    return name


def a_match_of_the_engine_has_its_own_figures():
    write("weak.rc", "queen_value_op = 300\nqueen_value_en = 300\n")
    settings = ["-selfplay", "match.pgn", "-player1", "weak.rc", "-games", "40", "-d", "2", "-seed", "3"]
    engine(*settings)
    for bounds in (("0", "5"), ("-400", "-390"), ("-20.5", "300")):
        line = engine(*settings, "-sprt", *bounds).strip().splitlines()[-1]  # nothing is left to be played
        page = page_of("--match", "match.pgn", "--sprt", *bounds)
        check(line in html.unescape(page.text), f"the engine says: {line}")
    check("LLR" in line and "40 games" in line, line)
    lost = int(re.search(r" -(\d+),", line)[1])
    check(lost >= 5 and len(page.pictures("Final position")) == 5, f"five of {lost} lost games")
    check(page.text.count('fill="#e8c95a"') == 10, "two marked squares on each board")
    check(len(page.pictures("Evaluation")) == 5 and len(page.pictures("Score of weak.rc over 40 games")) == 1, "charts")


def repeated_openings_count_once():
    write("two.epd", "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -\n4k3/pppp4/8/8/8/8/4PPPP/4K3 w - -\n")
    settings = ["-selfplay", "copies.pgn", "-player1", "weak.rc", "-games", "8", "-d", "2", "-openings", "two.epd"]
    printed = engine(*settings, "-sprt", "0", "5").strip().splitlines()
    check("different= 2" in "".join(printed) and "8 games" in printed[-1], printed)
    text = html.unescape(page_of("--match", "copies.pgn").text)
    check(printed[-1] in text and "2 pairs repeat an opening" in text, f"the engine says: {printed[-1]}")


def games_of_others_are_read():
    write("cup.pgn", FOREIGN_GAMES)
    page = page_of("--match", "cup.pgn")
    text = html.unescape(page.text)
    check("Match: Alpha & $Co_$ against Beta" in text and 'A "cup" <b>' not in page.text, "names")
    check("3 games: +0 =1 -2, 16.7 %, pairs 0 0 0 0 0, LLR +0.00" in text, "points, and no pair")
    check("2 unfinished games" in text, "games without an end")
    for row in (("White", "2", "0", "1", "1", "25.0 %"), ("Black", "1", "0", "0", "1", "0.0 %"),
                ("checkmate", "1", "0", "0", "1"), ("loses on time", "1"), ("draw agreed", "1")):
        check(page.has_row(*row), f"row {row}")
    check(page.has_row("1. f3 e5", "1") and page.has_row("8/8/8/8/8/5k2/7q/5K2 b - -", "1"), "openings")
    check(page.has_row("Beta", "6", "6.7", "266.7"), f"searches of Beta: {page.cells}")
    finals = page.pictures("Final position")
    check(len(finals) == 2 and FOOLS_MATE in finals[0], f"final positions: {finals}")
    check("r1bqk1nr/pppp1ppp/2n5/2b1p3/2B1P3/5N2/PPPP1PPP/RNBQ1RK1 b kq -" in finals[1], finals[1])
    check("Alpha" in page_of("--match", "cup.pgn", "--player1", "Beta").text, "the other one's page")


def pairs_of(games):
    """Of Alpha in these games (White, Black, tags, moves), each of which White wins."""
    text = "".join(f'[White "{white}"]\n[Black "{black}"]\n{tags}[Result "1-0"]\n\n{moves} 1-0\n\n'
                   for white, black, tags, moves in games)
    return read_match("pairs.pgn", text, "Alpha", 4).tally.pairs


def pairs_need_one_opening_and_one_opponent():
    event = '[Event "Self-play, %s 9, seed 1"]\n'
    fen = '[FEN "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1"]\n'
    line, other = "1. e4 e5 2. Nf3 Nc6", "1. e4 e5 2. Nf3 Nf6"
    book = "1. e4 {book} e5 {book} 2. Nf3 {+0.10/5} %s {+0.10/5}"
    deviation = book.replace("e5", "e6")
    for there, back, opponent, pairs in (
            (("", line), ("", line + " 3. d4"), "Beta", 1), (("", line), ("", other), "Beta", 0),
            (("", line), ("", line), "Gamma", 0), (("", book % "Nc6"), ("", book % "Nf6"), "Beta", 1),
            (("", book % "Nc6"), ("", deviation % "Nc6"), "Beta", 0), (("", book % "Nc6"), ("", line), "Beta", 0),
            ((fen, "1. Kd2 Kd7"), (fen, "1. e4 Ke7"), "Beta", 1), ((fen, line), ("", line), "Beta", 0),
            ((event % "nodes", line), (event % "nodes", other), "Beta", 1)):
        games = [("Alpha", "Beta", *there), (opponent, "Alpha", *back)]
        check(pairs_of(games) == [0, 0, pairs, 0, 0], f"{games}: {pairs_of(games)}")
    for limits, counted in (("nodes", 2), ("depth", 2), ("movetime", 4)):
        head = event % limits
        games = [(*names, head + tags, moves) for tags, moves in (("", book % "Nc6"), (fen, line)) * 2
                 for names in (("Alpha", "Beta"), ("Beta", "Alpha"))]
        check(pairs_of(games) == [0, 0, counted, 0, 0], f"{limits}: {pairs_of(games)}")


def suites_in_both_forms():
    for form in ([], ["-standard"]):
        write("suite.txt", engine(*form, "-anepd", os.path.join(DATA, "bratko-kopec.epd"), "-d", "3"))
        page = page_of("--suite", "suite.txt")
        solved = int(re.search(r"<b>(\d+) of 24</b>", page.text)[1])
        boards = page.pictures("BK.")
        check(0 < solved < 24 and len(boards) == 24 - solved, f"{solved} solved, {len(boards)} boards")
        check(page.text.count('stroke="#c1432a"') == len(boards), "an arrow for each move played")
        check(page.text.count('stroke="#1f7a4d"') >= len(boards), "one or more for the moves expected")
        check(len(page.pictures("Solved positions by")) == len(form), "solutions by depth")
        write("quiet.txt", engine(*form, "-quiet", "-anepd", os.path.join(DATA, "bratko-kopec.epd"), "-d", "3"))
        quiet = page_of("--suite", "quiet.txt", "unsolved.epd")
        check(len(quiet.pictures("BK.")) == 24 - solved, "without the searches")
    run = report("--suite", "suite.txt", write("other.epd", "8/8/8/8/8/5k2/7q/5K2 b - - bm Qf2;\n" * (24 - solved)))
    check(run.returncode == 1 and "belongs to another run" in run.stderr, run.stderr)


def tuning_as_the_engine_writes_it():
    engine("-extract", os.path.join(DATA, "engine-games.pgn"))
    engine("-tune-all", "positions.epd", "-threads", "1")
    page = page_of("--tune", "tuned.tsv")
    with open("tuned.tsv", encoding="utf-8") as file:
        rows = [line.rstrip("\n").split("\t") for line in file]
    weights = [row for row in rows if row[0] == "weight" and row[1] != "name"]
    changed = sum(row[3] != row[4] for row in weights)
    check(f"<b>{changed} of {len(weights)}</b>" in page.text, f"{changed} changed weights")
    last = [row for row in rows if row[0] == "round"][-1]
    check(page.has_row(last[1], f"{float(last[2]):.8f}", f"{float(last[3]):.8f}"), f"round {last}")
    check(len(page.pictures("Table of the ")) == 36 and len(page.pictures("Loss by round")) == 1, "pictures")
    check("pawn_value_op 80 to " in " ".join(page.labels), "weights")


def benchmarks():
    write("new.txt", engine("-bench", "-d", "3", "-standard"))
    with open(write("old.txt", engine("-bench", "-d", "2")), encoding="utf-8") as file:
        nodes = int(re.search(r"nodes= (\d+)", file.read())[1])
    page = page_of("--bench", "new.txt", "new.txt")
    total = int(page.cells[page.cells.index("change") - 3].replace(",", ""))
    by_position = [int(page.cells[i + 4].replace(",", "")) for i in range(page.cells.index("0"), len(page.cells), 10)]
    check(len(by_position) == 10 and sum(by_position) == total, f"{by_position} of {total}")
    page = page_of("--bench", "new.txt", "old.txt")
    check(f"{nodes:,}" in page.cells, "the older run")
    check("different nodes" in page.text and "told by runs with -standard" in page.text, "two kinds")


def what_cannot_be_read_is_named():
    head = '[White "A"]\n[Black "B"]\n[Result "1-0"]\n\n1. e4 '
    table = "round\tnumber\ttraining\theld_out\tchanged\tseconds\nround\t0\t0.1\t0.1\t0\t0.0\n"
    faults = [
        (["--match", "missing.pgn"], "No such file"),
        (["--match", write("empty.pgn", "\n")], "is empty"),
        (["--match", write("noise.pgn", bytes(range(256)))], "no text"),
        (["--match", write("letter.pgn", "Dear friend,\n")], "no game"),
        (["--match", write("open.pgn", head + "{")], "no finished game"),
        (["--match", write("three.pgn", head + "1-0\n" + head.replace('"B"', '"C"') + "1-0\n")], "3 players"),
        (["--match", "three.pgn", "--player1", "D"], "no game of D"),
        (["--match", write("nameless.pgn", '[Event "E"]\n\n1. e4 1-0\n')], "name its players"),
        (["--suite", "cup.pgn"], "no summary"),
        (["--suite", "suite.txt", write("one.epd", "8/8/8/8/8/5k2/7q/5K2 b - - bm Qf2;\n")], "holds 1 positions"),
        (["--suite", "suite.txt", "missing.epd"], "No such file"),
        (["--tune", "cup.pgn"], "line 1"),
        (["--tune", write("half.tsv", table)], "ends before"),
        (["--tune", write("bad.tsv", table + "weight\thung\t1\tx\t2\n")], "line 3"),
        (["--bench", "suite.txt"], "no total"),
        (["--bench", "new.txt", "-o", "nowhere/page.html"], "nowhere/page.html"),
        (["--match", "cup.pgn", "--engine", "no-engine"], "no-engine"),
        (["--match", "cup.pgn", "--engine", "/bin/cat"], "no engine"),
    ]
    os.remove("page.html")
    for options, word in faults:
        run = report(*options)
        check(run.returncode == 1 and run.stderr.count("\n") == 1 and word in run.stderr, f"{options}: {run.stderr}")
        check(not os.path.exists("page.html"), f"{options}: a page all the same")


def main():
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for test in (a_match_of_the_engine_has_its_own_figures, repeated_openings_count_once, games_of_others_are_read,
                     pairs_need_one_opening_and_one_opponent, suites_in_both_forms, tuning_as_the_engine_writes_it,
                     benchmarks, what_cannot_be_read_is_named):
            test()
            print(test.__name__.replace("_", " ") + ": passed", flush=True)
        os.chdir("/")


if __name__ == "__main__":
    main()
