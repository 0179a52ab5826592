#!/usr/bin/env bash
# The main job: installs what is missing, builds the library and its tools, runs the example host,
# and renders the test pattern through a gallery of conversions with qv-convert.
#   scripts/demo.sh [gallery-directory]      (default out/gallery)
set -euo pipefail
cd "$(dirname "$0")/.."
gallery="${1:-out/gallery}"
bash scripts/deps.sh
# Its own build directory, without the test suite: scripts/test.sh builds and runs every test in build/.
cmake -S . -B build-demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DQV_BUILD_TESTS=OFF >/dev/null
cmake --build build-demo -j"$(nproc)" --target qv_imageproc qv-convert qv_host_example
./build-demo/qv_host_example build-demo/libqv_imageproc.so
./build-demo/qv-convert --demo "$gallery"
echo "Open $(cd "$gallery" && pwd)/index.html in a browser to see the gallery."
