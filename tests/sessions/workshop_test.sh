#!/bin/bash
# Goes through tools/workshop.sh with a few games: all files come out, it goes on where it was broken off and comes to the
# same weights, and leaves other folders as they are. Usage: workshop_test.sh ENGINE SOURCE_FOLDER.
set -eu
set -m  # jobs of their own, which control-C reaches as it does at a terminal
engine=$1
workshop=$2/tools/workshop.sh
export GAMES=8 NODES=200 MATCH_GAMES=4 THREADS=2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() {
    echo "$*" >&2
    exit 1
}

# refused WORDS COMMAND...: the command ends with 1 and says these words.
refused() {
    local words=$1 status=0
    shift
    "$@" >said 2>&1 || status=$?
    [[ $status -eq 1 && $(<said) == *"$words"* ]] || fail "'$*': status $status, said '$(<said)' instead of '$words'"
}

"$workshop" "$engine" 'a folder' >first
for file in games.pgn positions.epd tuned.rc tuned.tsv match.pgn; do
    [[ -s a\ folder/$file ]] || fail "$file is missing"
done
[[ $(grep -c '^\[Event ' 'a folder/games.pgn') -eq 8 ]] || fail "number of games"
[[ $(grep -c '^\[Event ' 'a folder/match.pgn') -eq 4 ]] || fail "number of games of the match"
[[ $(wc -l <'a folder/positions.epd') -gt 100 ]] || fail "hardly a position"
[[ $(grep -c '^seconds: ' first) -eq 4 && $(grep -cE '^[84] games: ' first) -eq 2 && $(<first) == *'prove nothing'* ]] ||
    fail "what it says: $(<first)"

# What was done is not done again, but told again.
find 'a folder' -type f -exec sha256sum {} + >before
"$workshop" "$engine" 'a folder' >second
sha256sum --quiet -c before
cmp first second

# Broken off in the middle of a game: the same games, hence the same weights. Then in the middle of the tuning.
cp -r 'a folder' cut
head -c 9000 'a folder/games.pgn' >cut/games.pgn
rm -f cut/*.log cut/positions.epd cut/tuned.* cut/match.pgn
"$workshop" "$engine" cut >said
grep -q '^going on after [1-7] games$' said || fail "the games begin anew: $(<said)"
for file in positions.epd tuned.rc; do cmp "cut/$file" "a folder/$file"; done
rm cut/tuned.log cut/match.*
"$workshop" "$engine" cut >said
[[ $(grep -c '^seconds: ' said) -eq 4 && -s cut/match.pgn ]] || fail "the tuning does not go on: $(<said)"

GAMES=10000 "$workshop" "$engine" long >said 2>&1 &
for _ in $(seq 600); do
    grep -qs Event long/games.pgn && break
    sleep 0.1
done
kill -INT -- -$!
status=0
wait $! || status=$?
[[ $status -eq 130 && $(<said) == *'goes on from here'* && -s long/games.pgn && ! -e long/games.log ]] ||
    fail "control-C: status $status, $(<said)"

refused "begun with other settings" env GAMES=10 "$workshop" "$engine" 'a folder'
mkdir other && echo mine >other/games.pgn
refused "is not empty" "$workshop" "$engine" other
[[ $(ls other) == games.pgn && $(<other/games.pgn) == mine ]] || fail "a folder of somebody else has changed"
refused "no such program" "$workshop" ./nothing new
refused "GAMES is 'many'" env GAMES=many "$workshop" "$engine" new
# Not a program that plays: the step fails and is not taken for done.
refused "could not be done" "$workshop" false new
[[ ! -e new/games.log ]] || fail "a step that failed counts as done"
