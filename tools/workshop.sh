#!/bin/bash
# From nothing to other weights in one go, as docs/workshop.md tells it step by step: plays games, makes labelled
# positions of them, tunes all weights together, and plays the result against the built-in weights. With the numbers below
# that takes about two minutes on two cores and shows how the tools work together; stronger weights need many more games.
# Usage: tools/workshop.sh ENGINE FOLDER. FOLDER is new or empty, or one in which the same command was broken off: then it
# goes on from there. Everything is written into it. Exit status: 0, 1 when a step could not be done, 130 when broken off.
set -euo pipefail

GAMES=${GAMES:-320}              # that the weights are tuned with
NODES=${NODES:-4000}             # a move, in these games and in the match
MATCH_GAMES=${MATCH_GAMES:-200}  # tuned against built-in weights
THREADS=${THREADS:-$(nproc)}     # games at once; changes nothing but the time

fail() {
    echo "workshop: $*" >&2
    exit 1
}

[[ $# -eq 2 ]] || fail "usage: tools/workshop.sh ENGINE FOLDER"
engine=$(command -v "$1") || fail "$1: no such program"
engine=$(realpath "$engine")
folder=$2
for name in GAMES NODES MATCH_GAMES THREADS; do
    [[ ${!name} =~ ^[1-9][0-9]*$ ]] || fail "$name is '${!name}', but has to be a number from 1"
done
# Games come in pairs.
GAMES=$((GAMES + GAMES % 2))
MATCH_GAMES=$((MATCH_GAMES + MATCH_GAMES % 2))

settings="engine $engine, $GAMES games, $NODES nodes, $MATCH_GAMES games of the match"
mkdir -p "$folder"
cd "$folder"
if [[ -e settings.txt ]]; then
    [[ $(<settings.txt) == "$settings" ]] ||
        fail "$folder was begun with other settings ($(<settings.txt)) and is left as it is"
elif [[ -n $(ls -A) ]]; then
    fail "$folder is not empty and was not begun by this program; give it a new one"
else
    echo "$settings" >settings.txt
fi
# The engine ends a step early at control-C, and well; what was done of it counts when it goes on.
trap 'echo "workshop: broken off; the same command goes on from here" >&2; exit 130' INT TERM

# step TITLE LOG COMMAND...: runs the engine for a step, unless its log says that this was done.
step() {
    local title=$1 log=$2 begin=$SECONDS
    shift 2
    echo "== $title"
    if [[ -e $log ]]; then
        cat "$log"
        return
    fi
    "$engine" "$@" -nolog </dev/null 2>&1 | tee -i "$log.part" || fail "this step could not be done: vesk $*"
    echo "seconds: $((SECONDS - begin))" | tee -a "$log.part"
    mv "$log.part" "$log"
}

# Two players of the same weights would play both games of a pair alike.
printf '%s\n' 'knight_mobility = 62' 'rook_open_file = 17' 'pinned = -18' >other.rc
step "games: the built-in weights against slightly other ones" games.log \
    -selfplay games.pgn -player2 other.rc -games "$GAMES" -nodes "$NODES" -threads "$THREADS"
step "positions: the quiet ones, with the results of their games" positions.log \
    -extract games.pgn
step "weights: tuned together, to predict these results" tuned.log \
    -tune-all positions.epd -threads "$THREADS"
# Other openings than those of the games above.
step "match: the tuned weights against the built-in ones" match.log \
    -selfplay match.pgn -player1 tuned.rc -games "$MATCH_GAMES" -nodes "$NODES" -seed 2 -threads "$THREADS"

cat <<END

$folder/tuned.rc holds the weights; copied to vesk.rc they would be read at every start in that folder.
Do not do that yet. $MATCH_GAMES games prove nothing: the difference may be anything within the margin of the last line
of the match, and weights tuned with $GAMES games may predict just these games better and play worse. Take thousands
of games to tune with, and a match that goes on until a test is decided (-sprt): docs/workshop.md, docs/scaling.md.
END
