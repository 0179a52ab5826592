#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs the test suite.
#   scripts/test.sh          Release build in build/
#   scripts/test.sh asan     AddressSanitizer + UndefinedBehaviorSanitizer build in build-asan/
#   scripts/test.sh m32      32-bit build in build-m32/ (GoogleTest built from /usr/src/googletest)
#   scripts/test.sh tsan     ThreadSanitizer build in build-tsan/, running the concurrency tests
# Every variant but tsan runs the suite twice: with the kernels the CPU offers, then with
# QV_SIMD=off (the scalar references).
set -euo pipefail
filter=()
targets=()
cd "$(dirname "$0")/.."
variant="${1:-default}"
case "$variant" in
  default) dir=build;      extra=();  flags=(-DCMAKE_BUILD_TYPE=Release) ;;
  asan)    dir=build-asan; extra=();  flags=(-DCMAKE_BUILD_TYPE=Debug -DQV_SANITIZE=address) ;;
  tsan)    dir=build-tsan; extra=();  flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DQV_SANITIZE=thread)
           targets=(--target qv_tests); filter=(-R Concurrency) ;;
  m32)     dir=build-m32;  extra=(g++-multilib libhwy-dev:i386)
           flags=(-DCMAKE_BUILD_TYPE=Release -DQV_GTEST_FROM_SOURCE=ON -DCMAKE_C_FLAGS=-m32 -DCMAKE_CXX_FLAGS=-m32) ;;
  *) echo "unknown variant '$variant' (default, asan, m32, tsan)" >&2; exit 2 ;;
esac
bash scripts/deps.sh "${extra[@]}"
cmake -S . -B "$dir" -G Ninja "${flags[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)" "${targets[@]}"
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)" "${filter[@]}"
# Once more on the scalar kernels: every byte must be the same without the vector ones.
if [ "$variant" != tsan ]; then
  echo "== the same tests with QV_SIMD=off (scalar kernels)"
  QV_SIMD=off ctest --test-dir "$dir" --output-on-failure -j"$(nproc)" "${filter[@]}"
fi
