#!/bin/bash
# Builds one libFuzzer target per drawing reader (SFC, P21, DXF) with clang, address and
# undefined-behaviour sanitizers, and runs each for RUNS executions (default 1,000,000) from the
# seeds in seeds/. Usage: bench/fuzz/run-fuzzers.sh [RUNS] [WORK-DIR]
# Needs clang and libclang-rt-14-dev besides the project's own packages.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
runs=${1:-1000000}
work=${2:-$(mktemp -d)}
mkdir -p "$work"
flags=(-std=c++20 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined -fPIC -I"$root")
read -r -a cflags <<<"$(pkg-config --cflags Qt6Core Qt6Gui dxflib libzip)"
read -r -a libs <<<"$(pkg-config --libs Qt6Core Qt6Gui dxflib libzip)"
sources=("$root"/viewer/drawing/*.cpp "$root"/viewer/drawing/internal/*.cpp)
for reader in sfc p21 dxf; do
  upper=$(echo "$reader" | tr a-z A-Z)
  clang++ "${flags[@]}" "${cflags[@]}" -DFUZZ_"$upper" "${sources[@]}" "$here/fuzz_drawing.cpp" "${libs[@]}" \
    -o "$work/fuzz_$reader"
  mkdir -p "$work/corpus_$reader"
  cp "$here/seeds/sample.$reader" "$work/corpus_$reader/"
  echo "== $reader: $runs runs"
  "$work/fuzz_$reader" -runs="$runs" -max_len=65536 -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    "$work/corpus_$reader" 2>&1 | grep -E '^(stat::|Done|==[0-9]+==ERROR|SUMMARY|INFO: Seed)' || true
done
