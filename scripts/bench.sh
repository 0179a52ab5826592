#!/usr/bin/env bash
# Builds and runs the benchmarks beside libyuv, swscale and a memcpy floor, in two processes alike
# but for the kernels: one with the scalar kernels (QV_SIMD=off), then one with the kernel set the
# CPU chooses, or the cap given by --simd LEVEL (or QV_SIMD). The second prints the merged table and
# writes it to bench-results.md (or the .md file given); the ours/libyuv ratios of both are drawn
# beside it (bench-results.png). Other --name=value options go to both qv_bench runs.
#   scripts/bench.sh [--simd off|sse4|avx2|avx512|...] [--routes=TEXT] [--rounds=N] [table.md]
set -euo pipefail
cd "$(dirname "$0")/.."
simd="${QV_SIMD:-}"
table=bench-results.md
extra=()
while [ $# -gt 0 ]; do
  case "$1" in
    --simd) simd="${2:?--simd needs a level: off, sse4, avx2, avx512, ...}"; shift 2 ;;
    --simd=*) simd="${1#--simd=}"; shift ;;
    -h|--help) sed -n '2,7p' "$0" | cut -c3-; exit 0 ;;
    --*) extra+=("$1"); shift ;;
    *) table="$1"; shift ;;
  esac
done
chart="${table%.md}.png"
bash scripts/deps.sh libyuv-dev libswscale-dev libavutil-dev gnuplot-nox fonts-dejavu-core
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DQV_BUILD_BENCH=ON -DQV_BUILD_TESTS=OFF >/dev/null
cmake --build build-bench -j"$(nproc)" --target qv_bench
bench=./build-bench/bench/qv_bench
work=build-bench/results
mkdir -p "$work"

# The same contenders in both runs: what else a process allocates and runs moves our times by
# up to 10-15% on some routes.
echo "== scalar kernels (QV_SIMD=off), beside libyuv, swscale and the floor"
QV_SIMD=off "$bench" --table= --results="$work/scalar.tsv" ${extra[@]+"${extra[@]}"}
echo "== default kernel set${simd:+ (QV_SIMD=$simd)}, beside libyuv, swscale and the floor"
if [ -n "$simd" ]; then export QV_SIMD="$simd"; else unset QV_SIMD; fi
"$bench" --second="$work/scalar.tsv" --results="$work/default.tsv" --plot="$work/ratios.dat" --table="$table" \
  ${extra[@]+"${extra[@]}"}

field() { sed -n "s/^# $1\t//p" "$2" | tr -d "'"; }
if grep -q "^\"[^\"]*\"$(printf '\t')[0-9]" "$work/ratios.dat"; then
  gnuplot -e "data='$work/ratios.dat'; out='$chart'; kernels='$(field kernels "$work/default.tsv")'; \
second='$(field kernels "$work/scalar.tsv")'; cpu='$(field cpu "$work/default.tsv")'" scripts/bench-chart.gp
  echo "Chart written to $chart"
else
  echo "No ours/libyuv ratios (libyuv missing, or no such route run): no chart"
fi
