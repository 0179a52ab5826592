#!/usr/bin/env bash
# Builds and runs the benchmarks beside libyuv, swscale and a memcpy floor; the table is printed
# and written to bench-results.md (or the file given as the first argument).
set -euo pipefail
cd "$(dirname "$0")/.."
table="${1:-bench-results.md}"
bash scripts/deps.sh libyuv-dev libswscale-dev libavutil-dev
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DQV_BUILD_BENCH=ON -DQV_BUILD_TESTS=OFF >/dev/null
cmake --build build-bench -j"$(nproc)" --target qv_bench
./build-bench/bench/qv_bench --table="$table"
