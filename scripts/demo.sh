#!/usr/bin/env bash
# The main job: installs what is missing, builds the library, qv-convert, the example host and the
# GStreamer plugin, runs the example host, renders the test pattern through a gallery of conversions
# with qv-convert and runs a pipeline through the plugin.
#   scripts/demo.sh [gallery-directory]      (default out/gallery)
set -euo pipefail
cd "$(dirname "$0")/.."
gallery="${1:-out/gallery}"
bash scripts/deps.sh
# Its own build directory, without the test suite: scripts/test.sh builds and runs every test in build/.
cmake -S . -B build-demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DQV_BUILD_TESTS=OFF >/dev/null
targets=(qv_imageproc qv-convert qv_host_example)
# The GStreamer plugin, when this machine has GStreamer's development files.
if ninja -C build-demo -t query gstqvconvert >/dev/null 2>&1; then targets+=(gstqvconvert); fi
cmake --build build-demo -j"$(nproc)" --target "${targets[@]}"
./build-demo/qv_host_example build-demo/libqv_imageproc.so
./build-demo/qv-convert --demo "$gallery"
if [ -e build-demo/libgstqvconvert.so ] && command -v gst-launch-1.0 >/dev/null; then
  # A pipeline through the plugin: a test frame turned a quarter, shown beside the gallery.
  GST_PLUGIN_PATH=$PWD/build-demo GST_REGISTRY=$PWD/build-demo/gst-registry.bin gst-launch-1.0 -q \
    videotestsrc num-buffers=1 ! video/x-raw,format=I420,width=320,height=240 ! qvconvert video-direction=90r ! \
    video/x-raw,format=RGB16,width=240,height=320 ! filesink location="$gallery/gstreamer.rgb565"
  ./build-demo/qv-convert -q --from rgb565 --size 240x320 "$gallery/gstreamer.rgb565" "$gallery/gstreamer.png"
  rm -f "$gallery/gstreamer.rgb565"
  echo "GStreamer: videotestsrc ! qvconvert video-direction=90r ! RGB16 240x320 -> $gallery/gstreamer.png"
fi
echo "Open $(cd "$gallery" && pwd)/index.html in a browser to see the gallery."
