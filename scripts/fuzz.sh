#!/usr/bin/env bash
# Builds the libFuzzer target with clang (ASan + UBSan) in build-fuzz/ and runs it for a while on a
# copy of the seed corpus, with the operation-code dictionary. A finding stops the run and leaves
# its input as build-fuzz/crash-*; turn it into a regression by copying it to fuzz/regressions/.
#   scripts/fuzz.sh [seconds]     (default 60)
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"
bash scripts/deps.sh clang libclang-rt-dev
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQV_BUILD_FUZZ=ON -DQV_BUILD_TESTS=OFF >/dev/null
cmake --build build-fuzz --target qv_fuzz -j"$(nproc)"
corpus=build-fuzz/corpus
rm -rf "$corpus"
mkdir -p "$corpus"
cp fuzz/corpus/* fuzz/regressions/* "$corpus"/ 2>/dev/null || true
cd build-fuzz
# The driver caps plane blocks at 4 MiB and contexts at 16 MiB, so the limits below only catch a
# runaway; the library's one-line diagnostics on standard output are muted.
./qv_fuzz -max_total_time="$seconds" -max_len=256 -timeout=20 -rss_limit_mb=2048 -close_fd_mask=1 \
  -dict=../fuzz/qv.dict -print_final_stats=1 "${corpus#build-fuzz/}"
