#!/usr/bin/env bash
# Builds arwren twice (plain, and with AddressSanitizer + UBSan) and runs every
# test in both builds.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh all
jobs=$(nproc 2>/dev/null || echo 2)

for cfg in release asan; do
  dir=build/$cfg
  extra=()
  [ "$cfg" = asan ] && extra=(-DARWREN_SANITIZE=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo)
  [ "$cfg" = release ] && extra=(-DCMAKE_BUILD_TYPE=Release)
  echo "== $cfg build =="
  cmake -S . -B "$dir" "${extra[@]}" >/dev/null
  cmake --build "$dir" -j "$jobs"
  echo "== $cfg tests =="
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir "$dir" --output-on-failure -j "$jobs"
done
