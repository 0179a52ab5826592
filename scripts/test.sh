#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs the test suite.
#   scripts/test.sh          Release build in build/
#   scripts/test.sh asan     AddressSanitizer + UndefinedBehaviorSanitizer build in build-asan/
#   scripts/test.sh m32      32-bit build in build-m32/ (GoogleTest built from /usr/src/googletest)
#   scripts/test.sh tsan     ThreadSanitizer build in build-tsan/, running the concurrency tests
#   scripts/test.sh aarch64  64-bit ARM cross build in build-aarch64/, tests under qemu-aarch64; the
#                            kernel checker also at 128- and 256-bit SVE vectors and with QV_SIMD=neon
#   scripts/test.sh armhf    32-bit ARM cross builds, tests under qemu-arm: the armhf baseline in
#                            build-armhf/ (scalar kernels) and QV_ARM_NEON=ON in build-armhf-neon/
# Every variant but tsan and armhf runs the suite twice: with the kernels the CPU offers, then with
# QV_SIMD=off (the scalar references; the armhf baseline has no others).
# Debian's g++-multilib (m32) and its cross compilers (aarch64, armhf) conflict: installing the
# one removes the other.
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
  aarch64) extra=(g++-aarch64-linux-gnu qemu-user libhwy-dev:arm64) ;;
  armhf)   extra=(g++-arm-linux-gnueabihf qemu-user libhwy-dev:armhf) ;;
  *) echo "unknown variant '$variant' (default, asan, m32, tsan, aarch64, armhf)" >&2; exit 2 ;;
esac
bash scripts/deps.sh "${extra[@]}"

# ---- ARM: cross builds, every test program run under qemu-user by CTest -------------------------
cross_build() {  # directory, toolchain name, extra CMake flags...
  local d="$1" toolchain="$2"
  shift 2
  cmake -S . -B "$d" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQV_GTEST_FROM_SOURCE=ON -DQV_BUILD_GST=OFF \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchain-$toolchain.cmake" "$@" >/dev/null
  cmake --build "$d" -j"$(nproc)"
}
suite() {  # directory, ctest arguments...
  local d="$1"
  shift
  ctest --test-dir "$d" --output-on-failure -j"$(nproc)" "$@"
}
# The kernel checker's report (the set chosen, the sets compared), under the environment given;
# fails unless the report matches `expected`.
kernels() {  # directory, expected, environment assignments...
  local d="$1" expected="$2" out
  shift 2
  out=$(env "$@" ctest --test-dir "$d" -R '^kernel_check$' --output-on-failure -V 2>&1) || { echo "$out"; return 1; }
  echo "${*:-(default)}:"
  grep -E "kernel set chosen|kernel check:" <<<"$out" | sed -E 's/^[0-9]+: /  /'
  grep -qE "$expected" <<<"$out" || { echo "the checker's report does not match: $expected" >&2; return 1; }
}
case "$variant" in
  aarch64)
    d=build-aarch64
    cross_build "$d" aarch64
    suite "$d"
    echo "== the kernel checker: qemu's default CPU, SVE vectors of 128 and 256 bits, QV_SIMD=sve and neon"
    kernels "$d" "vector sets on this CPU:.* SVE2 .*NEON"
    kernels "$d" "chosen for this process: SVE2_128;" QEMU_CPU=max,sve-default-vector-length=16
    kernels "$d" "chosen for this process: SVE_256;" QEMU_CPU=max,sve-default-vector-length=32
    kernels "$d" "chosen for this process: SVE_256;" QEMU_CPU=max,sve-default-vector-length=32 QV_SIMD=sve
    kernels "$d" "chosen for this process: NEON;" QV_SIMD=neon
    echo "== whole-buffer route tests with QV_SIMD=neon"
    QV_SIMD=neon suite "$d" -R '^All/Routes\.'
    echo "== the same tests with QV_SIMD=off (scalar kernels)"
    QV_SIMD=off suite "$d"
    exit 0 ;;
  armhf)
    echo "== armhf baseline (no NEON assumed): scalar kernels"
    cross_build build-armhf armhf
    suite build-armhf
    kernels build-armhf "vector sets on this CPU: none"
    echo "== ARMv7 with NEON (QV_ARM_NEON=ON)"
    cross_build build-armhf-neon armhf -DQV_ARM_NEON=ON
    suite build-armhf-neon
    kernels build-armhf-neon "chosen for this process: NEON;"
    exit 0 ;;
esac

cmake -S . -B "$dir" -G Ninja "${flags[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)" "${targets[@]}"
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)" "${filter[@]}"
# Once more on the scalar kernels: every byte must be the same without the vector ones.
if [ "$variant" != tsan ]; then
  echo "== the same tests with QV_SIMD=off (scalar kernels)"
  QV_SIMD=off ctest --test-dir "$dir" --output-on-failure -j"$(nproc)" "${filter[@]}"
fi
