#!/usr/bin/env bash
# Builds the arwren binary alone (no tests, no benchmark) in build/example and
# runs it on the bundled example objects. Needs only a C++ compiler, CMake and
# make. Any arguments are passed on to CMake's configure step.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh build
build=build/example
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DARWREN_TESTS=OFF -DARWREN_BENCH=OFF "$@" \
  >/dev/null
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target arwren >/dev/null
bin=$PWD/$build/arwren
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp examples/objects/*.o "$work"/
cd "$work"

# Prints the comment lines and the command, then runs it.
step() {
  echo
  printf '# %s\n' "${notes[@]}"
  echo "\$ $*"
  "$@"
}
arwren() { "$bin" "$@"; }

notes=("Create example.a from the three objects; s prints the symbol index that"
       "was built while the archive was written, one line per entry.")
step arwren as example.a board_config_for_example.o filter.o gain.o
cat <<'EOF'
# The index holds every global or weak definition, member by member, and
# never merges two entries of one name: gain_default is listed twice, first
# for the strong definition in board_config_for_example.o, then for the weak
# one in gain.o. filter_history is a common symbol and is indexed as well;
# the static filter_next is not.
EOF

notes=("Table of contents: size, date and name of each member.")
step arwren t example.a

notes=("Replace every member with the file of its name in the current directory"
       "(no files named selects them all), quietly; the archive is rewritten, so"
       "its index is rebuilt and s prints it again.")
step arwren rqs example.a

if command -v nm >/dev/null 2>&1; then
  notes=("GNU nm reads the index arwren wrote: each symbol and the member that"
         "defines it.")
  echo
  printf '# %s\n' "${notes[@]}"
  echo "\$ nm --print-armap example.a | sed -n '/^Archive index:/,/^\$/p'"
  nm --print-armap example.a | sed -n '/^Archive index:/,/^$/p'
else
  echo
  echo "# nm (Debian package binutils) is not installed: skipped showing GNU nm"
  echo "# reading the index arwren wrote."
fi
