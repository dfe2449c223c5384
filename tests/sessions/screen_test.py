#!/usr/bin/env python3
"""tools/screen.py finds effects that are in the results, plays the same whatever runs at once, goes on where it was broken
off, and refuses what it does not understand. Usage: screen_test.py ENGINE SOURCES."""
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ENGINE, SOURCES = map(os.path.abspath, sys.argv[1:3])
SCREEN = os.path.join(SOURCES, "tools", "screen.py")
STRONG = os.path.join(SOURCES, "share", "strong.rc")
sys.path.insert(0, os.path.join(SOURCES, "tools"))
sys.dont_write_bytecode = True
import screen  # noqa: E402


class Scratch(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def screen(self, changes, *words, folder="trial", status=0):
        (self.folder / "changes").write_text(changes)
        done = subprocess.run([sys.executable, SCREEN, "--engine", ENGINE, "--games", "2", "--nodes", "60", *words, STRONG,
                               "changes", folder], cwd=self.folder, capture_output=True, text=True)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done.stdout + done.stderr

    def results(self, folder="trial"):
        return sorted((self.folder / folder / "results.txt").read_text().splitlines())


class Arithmetic(unittest.TestCase):
    def test_effects_that_are_there_are_found(self):
        effects, noise = [24.0, -12.0, 0.0, 5.0], 30.0
        lines = []
        for number in range(400):
            elo = sum(e * s for e, s in zip(effects, screen.sides_of(number, len(effects))))
            elo += noise if number % 2 else -noise
            wins = round(10000 / (1 + 10 ** (-elo / 400)))
            lines.append(f"{number} 10000 {wins} 0 {10000 - wins}")
        for (found, error), effect in zip(screen.effects_of(lines, len(effects)), effects):
            self.assertAlmostEqual(error, noise / 400 ** 0.5, delta=0.3)
            self.assertLess(abs(found - effect), 3 * error)

    def test_parts_follow_what_is_known(self):
        changes = [screen.Change("by", ["a+4"]), screen.Change("either", ["b=1|2"])]
        sure, unsure = [(-60.0, 1.0)] * 2, [(-15.0, 12.0)] * 2
        self.assertEqual(screen.parts_of(changes, sure), [-1.0, -1.0])
        by, either = screen.parts_of(changes, unsure)
        self.assertTrue(-0.3 < by < 0)
        self.assertEqual(either, 0.0)


class Changes(Scratch):
    def test_each_form_goes_both_ways(self):
        (self.folder / "changes").write_text("# nothing\nall a_1+3 a_?*1.5 PST_x*2.0\nother b=7|-8\n")
        base = {"a_1": 10.0, "a_2": -20.0, "b": 0.0, "PST_x": [[1.0, 2.0]]}
        changes = screen.read_changes(self.folder / "changes", base)
        self.assertEqual(screen.with_changes(base, changes, [1, 1]),
                         {"a_1": 19.5, "a_2": -30.0, "b": 7.0, "PST_x": [[2.0, 4.0]]})
        self.assertEqual(screen.with_changes(base, changes, [-1, -1]),
                         {"a_1": 3.5, "a_2": -10.0, "b": -8.0, "PST_x": [[0.0, 0.0]]})
        self.assertEqual(screen.with_changes(base, changes, [0, 0]), base)

    def test_what_is_no_change_is_refused(self):
        for changes, words in (("a pawn_value_op", "'pawn_value_op' is no change"), ("a pawn+1", "pawn: no such number"),
                               ("# none\n", "holds no changes")):
            self.assertIn(words, self.screen(changes, status=1))
        self.assertIn("too few", self.screen("a pawn_storm-5\n", "--runs", "1", status=1))


class Games(Scratch):
    CHANGES = "queen queen_value_??+400\nstorm pawn_storm-5\nCNP CNP_margin_depth4=320|20000\nsquares PST_*_op*1.2\n"

    def test_same_results_alone_and_at_once_and_gone_on_with(self):
        first = self.screen(self.CHANGES, "--runs", "8", "--jobs", "1")
        self.assertIn("16 games;", first)
        self.screen(self.CHANGES, "--runs", "5", "--jobs", "3", folder="again")
        self.screen(self.CHANGES, "--runs", "8", "--jobs", "3", folder="again")
        self.assertEqual(self.results(), self.results("again"))
        self.assertEqual(len(self.results()), 8)
        better = (self.folder / "trial" / "better.rc").read_bytes()
        self.assertEqual(better, (self.folder / "again" / "better.rc").read_bytes())
        said = subprocess.run([ENGINE, "-nolog", "-rc", "trial/better.rc"], cwd=self.folder, input="quit\n",
                              capture_output=True, text=True)
        self.assertEqual(said.stderr, "")
        self.assertEqual(sorted(p.suffix for p in (self.folder / "trial").iterdir() if p.suffix == ".rc"), [".rc"])

    def test_runs_without_a_decision_favour_nothing(self):
        (self.folder / "trial").mkdir()
        (self.folder / "trial" / "results.txt").write_text("".join(f"{number} 2 1 0 1\n" for number in range(8)))
        self.assertIn("+0.0 +-  0.0   +0.00", self.screen(self.CHANGES, "--runs", "8"))

    def test_a_folder_of_other_settings_is_left_alone(self):
        self.screen(self.CHANGES, "--runs", "6")
        before = self.results()
        self.assertIn("other settings", self.screen("storm pawn_storm-6\n", "--runs", "9", status=1))
        self.assertEqual(self.results(), before)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
