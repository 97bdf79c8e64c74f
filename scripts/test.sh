#!/usr/bin/env bash
# Builds arwren three times and runs the tests of each build: a plain g++
# build and an AddressSanitizer + UBSan build run every test; a clang build
# runs the unit and end-to-end tests, since both compilers must build the
# project. Warnings are errors in all three.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh all
jobs=$(nproc 2>/dev/null || echo 2)

for cfg in release asan clang; do
  dir=build/$cfg
  labels=()
  case $cfg in
    release) extra=(-DCMAKE_BUILD_TYPE=Release) ;;
    asan) extra=(-DARWREN_SANITIZE=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
    clang) extra=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=clang++)
           labels=(-L 'unit|e2e') ;;
  esac
  echo "== $cfg build =="
  cmake -S . -B "$dir" -DARWREN_WERROR=ON "${extra[@]}" >/dev/null
  cmake --build "$dir" -j "$jobs"
  echo "== $cfg tests =="
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir "$dir" --output-on-failure -j "$jobs" "${labels[@]}"
done
