#!/bin/bash
# Games that the engine writes in the standard form, of a match and saved by hand, read by a program of others: without a
# complaint, and with the final positions that the engine itself comes to. Usage: pgn_readers.sh ENGINE. Exit status 77 =
# that program is not installed.
set -u
engine=$1
PATH=$PATH:/usr/games
if ! command -v pgn-extract >/dev/null; then
    echo "skipped: pgn-extract is not installed"
    exit 77
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1

# Promotions, castling, moves that need files and ranks, checks, mate, set-up positions with either side to move.
"$engine" -c -nolog -standard >/dev/null <<'END'
fen 4k3/P6P/8/8/1R3R2/8/8/R3K2R b KQ -
e8e7
a8=N
e7d6
O-O-O
d6c5
b4d4
save
fen 8/8/8/8/4Q2Q/k7/8/K6Q w - -
h4e1
save
fen 7k/8/4Q1K1/8/8/8/8/8 w - -
Qe8
save
fen rnbqkbnr/ppp1p1pp/8/3pPp2/8/8/PPPP1PPP/RNBQKBNR w KQkq f6
e5f6
save
END
touch test1.rc
{
    for _ in $(seq 600); do
        [[ $(grep -c '^\[Result' match.pgn 2>/dev/null) -ge 30 ]] && break
        sleep 0.1
    done
    echo quit
} | "$engine" -nolog -standard -match match.pgn -d 3 >/dev/null 2>&1
cat tmp.pgn match.pgn >all.pgn
games=$(grep -c '^\[Result' all.pgn)

# The reader's final position of each game, without its counters.
pgn-extract -s -F all.pgn 2>complaints | tr '\n' ' ' | grep -oE '\{ "[^"]*" \}' | sed 's/^{ "//; s/ [0-9]* [0-9]*" }$//' >theirs
{
    for number in $(seq "$games"); do echo "load all.pgn $number"; done
} | "$engine" -c -nolog -standard | grep -E '^[^ ]+/[^ ]+ [wb] ' | tail -n +2 >ours
# An en passant square that no pawn can use is shown by one and not by the other.
for file in ours theirs; do sed -i 's/ [^ ]*$//' $file; done
cat complaints
echo "$games games, $(wc -l <theirs) read"
[[ $games -ge 34 && ! -s complaints ]] && diff ours theirs
