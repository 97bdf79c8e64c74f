#!/usr/bin/env bash
# Builds arwren and runs it on the bundled example: creates an archive from the
# sample objects, then lists its contents and symbol index.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh build
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release -j "$(nproc 2>/dev/null || echo 2)" --target arwren >/dev/null
bin=$PWD/build/release/arwren
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp examples/objects/* "$work"/
cd "$work"
echo "\$ arwren as example.a *.o      # create, printing each indexed symbol"
"$bin" as example.a *.o
echo
echo "\$ arwren t example.a           # table of contents"
"$bin" t example.a
echo
echo "\$ arwren rqs example.a         # rewrite quietly, print the symbol index only"
"$bin" rqs example.a
