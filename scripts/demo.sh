#!/usr/bin/env bash
# The main job: installs what is missing, builds the library and its tools, runs the example host,
# and renders the test pattern through a gallery of conversions with qv-convert.
#   scripts/demo.sh [gallery-directory]      (default out/gallery)
set -euo pipefail
cd "$(dirname "$0")/.."
gallery="${1:-out/gallery}"
bash scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$(nproc)"
./build/qv_host_example build/libqv_imageproc.so
./build/qv-convert --demo "$gallery"
echo "Open $(cd "$gallery" && pwd)/index.html in a browser to see the gallery."
