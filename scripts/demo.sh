#!/usr/bin/env bash
# Installs what is missing, builds the library and runs the example host against it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$(nproc)"
./build/qv_host_example build/libqv_imageproc.so
