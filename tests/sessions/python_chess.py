#!/usr/bin/env python3
"""Drives the engine, in both of its forms, through the calls of a much used chess library: play with every limit, analyse
with several lines, ponder, stop, options; and has it read the games that the engine writes. Usage: python_chess.py ENGINE.
Exit status 77 = the library is not installed."""
import io
import os
import subprocess
import sys
import tempfile

try:
    import chess
    import chess.engine
    import chess.pgn
except ImportError:
    print("skipped: python3-chess is not installed")
    sys.exit(77)

ENGINE = os.path.abspath(sys.argv[1])
MATE_IN_2 = "kbK5/pp6/1P6/8/8/8/8/R7 w - - 0 1"
TIMEOUT = 60


def open_engine(arguments, folder):
    return chess.engine.SimpleEngine.popen_uci([ENGINE, "-nolog", *arguments], timeout=TIMEOUT, cwd=folder)


def check(condition, what):
    if not condition:
        raise AssertionError(what)


def play_with_every_limit(engine, standard):
    limits = [
        chess.engine.Limit(time=0.1),
        chess.engine.Limit(depth=4),
        chess.engine.Limit(nodes=5000),
        chess.engine.Limit(white_clock=5, black_clock=5, white_inc=0.05, black_inc=0.05),
        chess.engine.Limit(white_clock=5, black_clock=5, remaining_moves=10),
        chess.engine.Limit(mate=2, time=5),
    ]
    board = chess.Board()
    for limit in limits:
        for _ in range(2):
            result = engine.play(board, limit, info=chess.engine.INFO_ALL)
            check(result.move in board.legal_moves, f"{limit}: {result.move}")
            check("score" in result.info and "pv" in result.info, f"{limit}: {result.info}")
            board.push(result.move)
    if standard:
        wanted = [chess.Move.from_uci("a2a3"), chess.Move.from_uci("h2h3")]
        result = engine.play(chess.Board(), chess.engine.Limit(depth=3), root_moves=wanted)
        check(result.move in wanted, f"root moves: {result.move}")


def play_a_game_to_its_end(engine):
    board = chess.Board("8/8/8/3k4/8/8/4Q3/4K3 w - - 0 1")
    while not board.is_game_over(claim_draw=True) and board.ply() < 200:
        board.push(engine.play(board, chess.engine.Limit(depth=8)).move)
    check(board.is_checkmate(), f"the queen mates: {board.fen()}")


def analyse(engine, standard):
    board = chess.Board()
    lines = engine.analyse(board, chess.engine.Limit(depth=5), multipv=3)
    check(len(lines) == 3, f"three lines: {lines}")
    check(len({line["pv"][0] for line in lines}) == 3, "three first moves")
    for line in lines:
        probe = board.copy()
        for move in line["pv"]:
            check(move in probe.legal_moves, f"line {line['pv']}")
            probe.push(move)
    info = engine.analyse(chess.Board(MATE_IN_2), chess.engine.Limit(depth=6))
    if standard:
        check(info["score"].white() == chess.engine.Mate(2), f"mate in two: {info['score']}")
    else:
        check(info["score"].white() > chess.engine.Cp(9000), f"a mate's score: {info['score']}")


def ponder_and_stop(engine):
    board = chess.Board()
    limit = chess.engine.Limit(white_clock=3, black_clock=3, white_inc=0.1, black_inc=0.1)
    game = object()
    for _ in range(4):  # the expected replies are played: ponder hits
        result = engine.play(board, limit, game=game, ponder=True)
        board.push(result.move)
        if result.ponder is None:
            break
        board.push(result.ponder)
    result = engine.play(board, limit, game=game, ponder=True)
    board.push(result.move)
    board.push(next(move for move in board.legal_moves if move != result.ponder))
    result = engine.play(board, limit, game=game, ponder=True)
    check(result.move in board.legal_moves, "after a ponder miss")
    with engine.analysis(board) as analysis:
        for info in analysis:
            if info.get("depth", 0) >= 5:
                break
    check(analysis.wait().move in board.legal_moves, "the move after stop")
    engine.ping()


def options(engine):
    for name in ("Hash", "Threads", "OwnBook"):
        check(name in engine.options, f"option {name}")
    engine.configure({"Hash": 16, "Threads": 2})
    engine.play(chess.Board(), chess.engine.Limit(depth=6), game=object())
    engine.configure({"Threads": 1})
    engine.ping()


def finished_games(engine):
    for fen in ("7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1"):
        board = chess.Board(fen)
        result = engine.play(board, chess.engine.Limit(depth=3))
        check(not result.move, f"no move: {result.move}")
        score = engine.analyse(board, chess.engine.Limit(depth=3))["score"].relative
        expected = chess.engine.Mate(0) if board.is_check() else chess.engine.Cp(0)
        check(score == expected, f"{fen}: {score}")


def games_are_read():
    with tempfile.TemporaryDirectory() as folder:
        commands = "fen 4k3/P6P/8/8/1R3R2/8/8/R3K2R b KQ -\ne8e7\na8=N\ne7d6\nO-O-O\nd6c5\nb4d4\nsave\n"
        subprocess.run([ENGINE, "-c", "-nolog", "-standard"], cwd=folder, input=commands, text=True,
                       stdout=subprocess.DEVNULL, check=True)
        with open(os.path.join(folder, "tmp.pgn"), encoding="latin-1") as file:
            game = chess.pgn.read_game(io.StringIO(file.read()))
    check(not game.errors, f"errors: {game.errors}")
    moves = [move.uci() for move in game.mainline_moves()]
    check(moves == ["e8e7", "a7a8n", "e7d6", "e1c1", "d6c5", "b4d4"], f"moves: {moves}")


def main():
    for standard in (False, True):
        with tempfile.TemporaryDirectory() as folder:
            engine = open_engine(["-standard"] if standard else [], folder)
            options(engine)
            play_with_every_limit(engine, standard)
            play_a_game_to_its_end(engine)
            analyse(engine, standard)
            ponder_and_stop(engine)
            if standard:
                finished_games(engine)
            engine.quit()
        print("standard form" if standard else "classic form", "passed")
    games_are_read()
    print("games passed")


if __name__ == "__main__":
    main()
