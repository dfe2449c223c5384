#!/bin/bash
# Installs from a build below a scratch folder as "make install" does, uses what is there, and uninstalls it: then everything is
# as before, with the files that others put there. Usage: install_test.sh BUILD_FOLDER SOURCE_FOLDER.
set -eu
build=$1
source_folder=$2
unset MAKEFLAGS MAKELEVEL MFLAGS
export CMAKE_INSTALL_MODE=COPY
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export DESTDIR=$scratch/root
prefix=/opt/some\ folder

fail() {
    echo "$*" >&2
    exit 1
}

# all_files: every file and folder of the scratch system.
all_files() {
    (cd "$DESTDIR" && find . | sort)
}

# nodes PROGRAM: the node total of its short benchmark.
nodes() {
    (cd "$scratch" && "$1" -bench -d 6 -nolog </dev/null | grep -oE 'nodes= [0-9]+')
}

mkdir -p "$DESTDIR$prefix/share/man"
before=$(all_files)
make -s -C "$source_folder" install BUILD="$build" PREFIX="$prefix" >/dev/null
here=$DESTDIR$prefix
for file in bin/vesk share/man/man6/vesk.6 share/bash-completion/completions/vesk share/games/plugins/uci/vesk.eng \
    share/doc/vesk/README.md share/doc/vesk/CHANGELOG.md share/doc/vesk/docs/console.md share/doc/vesk/examples/vesk.rc.example \
    share/doc/vesk/examples/strong.rc share/doc/vesk/examples/Vesk.json; do
    [[ -s $here/$file ]] || fail "$file is not installed"
done

expected=$(nodes "$build/vesk")
got=$(nodes "$here/bin/vesk")
[[ -n $got && $got == "$expected" ]] || fail "benchmark of the installed program: $got instead of $expected"

# The plugin file's second line is the command by which a GUI starts the engine.
command=$(sed -n 2p "$here/share/games/plugins/uci/vesk.eng")
answer=$(cd "$scratch" && PATH="$here/bin:$PATH" bash -c "$command" <<<"uci")
[[ $answer == *uciok* ]] || fail "the plugin's command '$command' did not answer: $answer"
(cd "$scratch" && "$here/bin/vesk" -nolog -rc "$here/share/doc/vesk/examples/vesk.rc.example" -bench -d 6 </dev/null) |
    grep -q "$expected" || fail "the example of vesk.rc changes the benchmark"

# Installed twice, with a file of somebody else in one of the new folders.
make -s -C "$source_folder" install BUILD="$build" PREFIX="$prefix" >/dev/null
touch "$here/share/doc/vesk/notes"
make -s -C "$source_folder" uninstall BUILD="$build" PREFIX="$prefix" >/dev/null
left=$(find "$DESTDIR" -type f)
[[ $left == "$here/share/doc/vesk/notes" ]] || fail "left, or removed with the rest: $left"
rm -r "$here/share/doc"
[[ $(all_files) == "$before" ]] || fail "folders are left: $(all_files)"

# Into a system that does not exist yet.
export DESTDIR=$scratch/new
make -s -C "$source_folder" install BUILD="$build" >/dev/null
[[ -x $DESTDIR/usr/local/bin/vesk ]] || fail "the default prefix is not /usr/local"
make -s -C "$source_folder" uninstall BUILD="$build" >/dev/null
[[ ! -e $DESTDIR ]] || fail "left: $(all_files)"
