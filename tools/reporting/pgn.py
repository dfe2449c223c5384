"""Games of a PGN file: tags, moves as they are spelt, and the comment after each move. Variations are left out."""
from __future__ import annotations

import re
from dataclasses import dataclass, field

TOKEN = re.compile(r"""
    (?P<comment>\{[^}]*?(?:\}|(?=^\[Event[ ])|\Z)) | (?P<rest>;[^\n]*|^%[^\n]*)
  | (?P<tag>^\[[ \t]*(?P<name>\w+)[ \t]*"(?P<value>(?:[^"\\\n]|\\.)*)"[ \t]*\])
  | (?P<open>\() | (?P<close>\)) | (?P<result>(?:1-0|0-1|1/2-1/2)(?![\w-])|\*)
  | (?P<number>\d+\.+|\d+(?=\s|\Z)) | (?P<mark>\$\d+|[!?]+) | (?P<move>[A-Za-z0][\w=+\#-]*) | (?P<other>\S)
""", re.MULTILINE | re.VERBOSE)
SEARCH = re.compile(r"\s*([+-]?)(?:(M)(\d+)|(\d+(?:\.\d+)?))/(\d+)(?:\s+(\d+(?:\.\d+)?)s?\b)?")
HALF_POINTS = {"1-0": 2, "1/2-1/2": 1, "0-1": 0}  # of White
MATE_SCORE = 100.0  # pawns; beyond every other score


@dataclass
class Search:
    """What a comment says about the search of its move."""
    score: float  # pawns, for the mover
    depth: int
    seconds: float | None


@dataclass
class Ply:
    move: str
    comment: str = ""

    def search(self) -> Search | None:
        """Of `{+0.25/7 0.012s}` and the like; None where the comment says something else."""
        found = SEARCH.match(self.comment)
        if found is None:
            return None
        sign, mate, plies, pawns, depth, seconds = found.groups()
        size = MATE_SCORE if mate else min(float(pawns), MATE_SCORE)
        return Search(-size if sign == "-" else size, int(depth), float(seconds) if seconds else None)

    def remark(self) -> str:
        """The words of a comment besides the figures of the search."""
        rest = SEARCH.sub("", self.comment, count=1)
        words = [part.strip() for part in rest.split(",")]
        return ", ".join(word for word in words if word and "=" not in word)


@dataclass
class Game:
    tags: dict[str, str] = field(default_factory=dict)
    plies: list[Ply] = field(default_factory=list)
    before: str = ""  # comment before the first move
    ending: str = ""  # result at the end of the moves; empty when the game breaks off

    @property
    def white_half_points(self) -> int | None:
        """None while the game is not finished."""
        result = self.tags.get("Result", "")
        return HALF_POINTS.get(result if result in HALF_POINTS else self.ending) if self.ending else None

    @property
    def fen(self) -> str:
        """The position of the FEN tag without its counters; empty for the start position."""
        return " ".join(self.tags.get("FEN", "").split()[:4])


def games_of(text: str) -> list[Game]:
    """All games of a file, finished or not."""
    games: list[Game] = []
    game: Game | None = None
    in_moves, depth = False, 0
    for token in TOKEN.finditer(text):
        kind = token.lastgroup
        if kind == "tag":
            if game is None or in_moves or token["name"] in game.tags:
                game = Game()
                games.append(game)
                in_moves, depth = False, 0
            game.tags.setdefault(token["name"], re.sub(r"\\(.)", r"\1", token["value"]))
        elif game is None or kind in ("rest", "number", "mark", "other"):
            continue
        elif kind in ("open", "close"):
            depth = max(0, depth + (1 if kind == "open" else -1))
        elif depth > 0 or game.ending:
            continue
        elif kind == "comment":
            comment = " ".join(token["comment"].strip("{}").split())
            if game.plies:
                last = game.plies[-1]
                last.comment = f"{last.comment} {comment}".strip()
            else:
                game.before = comment
        elif kind == "move":
            in_moves = True
            game.plies.append(Ply(token["move"]))
        else:
            in_moves = True
            game.ending = token["result"]
    return games
