#!/usr/bin/env bash
# Fuzzes arwren's parsers with libFuzzer (clang, AddressSanitizer, UBSan).
#
#   scripts/fuzz.sh build                 configure and build build/fuzz
#   scripts/fuzz.sh run TARGET SECONDS    one campaign of one target on one core
#   scripts/fuzz.sh campaign SECONDS      every target in turn, SECONDS each
#   scripts/fuzz.sh ci [SECONDS]          every target for SECONDS (default 60),
#                                         two at a time; fails on any finding
#   scripts/fuzz.sh seeds                 rebuilds the committed corpora from the
#                                         test builders and newlib members, minimised
#
# Targets: archive_reader object_file cmdfile rewrite. Every campaign starts
# from the committed corpus fuzz/corpus/TARGET; what it finds new goes to
# build/fuzz/corpus/TARGET (not committed; "scripts/fuzz.sh seeds" folds it
# in). A finding (crash, leak, timeout, out-of-memory, sanitizer report)
# is written to build/fuzz/findings/TARGET/; once fixed, copy it into
# fuzz/regressions/TARGET/, which every test build replays.
set -euo pipefail
cd "$(dirname "$0")/.."

targets=(archive_reader object_file cmdfile rewrite)
build=build/fuzz
newlib=/usr/lib/arm-none-eabi/newlib

need_clang() {
  local missing=()
  command -v clang++ >/dev/null 2>&1 || missing+=(clang)
  if [ ${#missing[@]} -eq 0 ]; then
    local rt
    rt="$(clang++ -print-resource-dir)/lib/linux/libclang_rt.fuzzer-$(uname -m).a"
    [ -e "$rt" ] || missing+=("libclang-rt-$(clang++ -dumpversion | cut -d. -f1)-dev")
  fi
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" = 0 ] && command -v apt-get >/dev/null 2>&1; then
    echo "installing: ${missing[*]}"
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
  else
    echo "missing Debian packages: ${missing[*]}" >&2
    exit 1
  fi
}

do_build() {
  need_clang
  cmake -S . -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DARWREN_SANITIZE=ON -DARWREN_FUZZ=ON -DARWREN_TESTS=OFF -DARWREN_WERROR=ON >/dev/null
  cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" \
        --target fuzz_seeds "${targets[@]/#/fuzz_}"
}

check_target() {
  case " ${targets[*]} " in
    *" $1 "*) ;;
    *) echo "unknown target '$1' (one of: ${targets[*]})" >&2; exit 1 ;;
  esac
}

# Runs one target for $2 seconds; extra libFuzzer options follow. The exit
# status is libFuzzer's: non-zero on a finding. Inputs are a few kilobytes,
# so one allocation of more than 64 MB is a finding too: it means a size
# read from the input was trusted beyond the bytes that hold it.
fuzz() {
  local target=$1 seconds=$2
  shift 2
  mkdir -p "$build/corpus/$target" "$build/findings/$target"
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    "$build/fuzz/fuzz_$target" "$build/corpus/$target" "fuzz/corpus/$target" \
      -dict=fuzz/arwren.dict -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=64 \
      -print_final_stats=1 -artifact_prefix="$build/findings/$target/" "$@"
}

do_ci() {
  local seconds=${1:-60} failed=0 pids=() names=()
  do_build
  for target in "${targets[@]}"; do
    fuzz "$target" "$seconds" >"$build/ci-$target.log" 2>&1 &
    pids+=($!)
    names+=("$target")
    if [ ${#pids[@]} -eq 2 ]; then
      for i in 0 1; do
        wait "${pids[$i]}" || { failed=1; echo "== fuzz_${names[$i]}: finding"; tail -40 "$build/ci-${names[$i]}.log"; }
      done
      pids=(); names=()
    fi
  done
  for i in "${!pids[@]}"; do
    wait "${pids[$i]}" || { failed=1; echo "== fuzz_${names[$i]}: finding"; tail -40 "$build/ci-${names[$i]}.log"; }
  done
  for target in "${targets[@]}"; do
    grep -h -E "stat::number_of_executed_units|stat::average_exec_per_sec" "$build/ci-$target.log" |
      tr '\n' ' ' | sed "s/^/fuzz_$target: /"
    echo
  done
  return $failed
}

seeds_dir=
do_seeds() {
  do_build
  seeds_dir=$(mktemp -d)
  trap 'rm -rf "$seeds_dir"' EXIT
  local members=(lib_a-_Exit.o lib_a-abs.o lib_a-memset.o lib_a-wcswidth.o lib_a-__atexit.o)
  mkdir -p "$seeds_dir/members" "$seeds_dir/thumb"
  (cd "$seeds_dir/members" && ar x "$newlib/libc.a" "${members[@]}")
  (cd "$seeds_dir/thumb" && ar x "$newlib/thumb/v7-m/nofp/libc.a" lib_a-abs.o &&
   mv lib_a-abs.o ../members/thumb_abs.o)
  "$build/fuzz/fuzz_seeds" "$seeds_dir/out" "$seeds_dir"/members/*.o
  # GNU ar's own archive of the members, its index included.
  (cd "$seeds_dir/members" && ar rcs ../gnu.a ./*.o)
  cp "$seeds_dir/gnu.a" "$seeds_dir/out/archive_reader/gnu_ar"
  { printf '\013'; cat "$seeds_dir/gnu.a"; } > "$seeds_dir/out/rewrite/gnu_ar_11"
  for target in "${targets[@]}"; do
    mkdir -p "fuzz/corpus/$target" "$build/corpus/$target"
    local merged="$seeds_dir/merged/$target"
    mkdir -p "$merged"
    "$build/fuzz/fuzz_$target" -merge=1 -dict=fuzz/arwren.dict "$merged" "$seeds_dir/out/$target" \
        "fuzz/corpus/$target" "$build/corpus/$target" >/dev/null 2>&1
    rm -rf "fuzz/corpus/$target"
    mv "$merged" "fuzz/corpus/$target"
    echo "fuzz/corpus/$target: $(ls "fuzz/corpus/$target" | wc -l) inputs, $(cat "fuzz/corpus/$target"/* | wc -c) bytes"
  done
}

case "${1:-}" in
  build) do_build ;;
  run)
    [ $# -ge 3 ] || { echo "usage: $0 run TARGET SECONDS" >&2; exit 1; }
    check_target "$2"
    do_build
    fuzz "$2" "$3" ;;
  campaign)
    [ $# -ge 2 ] || { echo "usage: $0 campaign SECONDS" >&2; exit 1; }
    do_build
    for target in "${targets[@]}"; do
      echo "== fuzz_$target for $2 s (log: $build/campaign-$target.log)"
      status=0
      fuzz "$target" "$2" >"$build/campaign-$target.log" 2>&1 || status=$?
      grep -E "DONE|stat::number_of_executed_units|stat::average_exec_per_sec|stat::peak_rss_mb" \
        "$build/campaign-$target.log" || true
      [ $status -eq 0 ] || { tail -40 "$build/campaign-$target.log"; echo "finding in $build/findings/$target/"; exit 1; }
    done ;;
  ci) do_ci "${2:-60}" ;;
  seeds) do_seeds ;;
  *) sed -n '2,20p' "$0" | sed 's/^# \{0,1\}//'; exit 1 ;;
esac
