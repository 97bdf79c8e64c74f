#!/usr/bin/env bash
# Installs the Debian packages that building and testing need, or names the
# missing ones when this user cannot install them.
set -euo pipefail

need_cmds=(cmake:cmake g++:g++ clang++:clang make:make ninja:ninja-build
           ar:binutils nm:binutils readelf:binutils llvm-ar:llvm arm-none-eabi-gcc:gcc-arm-none-eabi
           arm-none-eabi-ar:binutils-arm-none-eabi strace:strace)
need_files=(/usr/lib/x86_64-linux-gnu/cmake/GTest/GTestConfig.cmake:libgtest-dev
            /usr/lib/arm-none-eabi/newlib/libc.a:libnewlib-arm-none-eabi
            /usr/lib/arm-none-eabi/newlib/libstdc++.a:libstdc++-arm-none-eabi-newlib)
mode=${1:-all}
if [ "$mode" = build ]; then
  need_cmds=(cmake:cmake g++:g++ make:make)
  need_files=()
fi

missing=()
for pair in "${need_cmds[@]}"; do
  command -v "${pair%%:*}" >/dev/null 2>&1 || missing+=("${pair#*:}")
done
for pair in "${need_files[@]}"; do
  [ -e "${pair%%:*}" ] || missing+=("${pair#*:}")
done
[ ${#missing[@]} -eq 0 ] && exit 0

mapfile -t missing < <(printf '%s\n' "${missing[@]}" | sort -u)
if [ "$(id -u)" = 0 ] && command -v apt-get >/dev/null 2>&1; then
  echo "installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq "${missing[@]}" >/dev/null
else
  echo "missing Debian packages: ${missing[*]}" >&2
  echo "install them with: sudo apt-get install -y ${missing[*]}" >&2
  exit 1
fi
