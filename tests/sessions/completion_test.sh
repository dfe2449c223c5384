#!/bin/bash
# What bash offers while a command line of the engine is typed. Arguments: the engine, the source folder.
set -u
export LC_ALL=C
engine=$1
source "$2/share/completions/vesk"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
mkdir games && touch game.pgn

failures=0
# expect WANTED WORD...: the words that can take the place of the last one, in order.
expect() {
    local wanted=$1
    shift
    COMP_WORDS=("$engine" "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    _vesk "$engine"
    local offered
    offered=$(printf '%s\n' "${COMPREPLY[@]}" | sort | paste -s -d ' ')
    [[ $offered == "$wanted" ]] && return
    echo "after '$*': '$offered' instead of '$wanted'"
    failures=$((failures + 1))
}

[[ $(complete -p vesk) == "complete -F _vesk vesk" ]] || failures=$((failures + 1))
expect "$("$engine" --help | grep -o '^  -[^ ]*' | tr -d ' ' | sort | paste -s -d ' ')" -
expect "-bench -bench2" -be
expect "--help --version" -nolog --
expect "game.pgn games" -c -scan_pgn2 ga
expect "games" -dir ""
expect "" -hash ""
expect "-nodes -noise -nolog" -uci -no
expect "" -sprt ""
exit $((failures > 0))
