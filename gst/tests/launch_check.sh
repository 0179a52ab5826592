#!/usr/bin/env bash
# gst-launch-1.0 with GST_PLUGIN_PATH at the build directory: gst-inspect-1.0 finds qvconvert, and
# two SMPTE frames from videotestsrc come out of each pipeline exactly as qv-convert makes them
# from the same I420 frames with the library.
#   launch_check.sh BUILD_DIR QV_CONVERT WORK_DIR
set -euo pipefail
build=$1 convert=$2 work=$3
rm -rf "$work"
mkdir -p "$work"
export GST_PLUGIN_PATH="$build" GST_REGISTRY="$work/registry.bin"
gst-inspect-1.0 qvconvert > "$work/inspect.log" || { echo "FAIL: gst-inspect-1.0 does not find qvconvert"; exit 1; }
gst-inspect-1.0 videotestsrc > /dev/null || { echo "FAIL: no videotestsrc (gstreamer1.0-plugins-base)"; exit 1; }

source="videotestsrc pattern=smpte num-buffers=2 ! video/x-raw,format=I420,width=640,height=480,framerate=30/1"
# shellcheck disable=SC2086
gst-launch-1.0 -q $source ! filesink location="$work/frames.i420"
failed=0
check() {  # name, qvconvert properties, output caps, output bytes a frame, qv-convert options
  local name=$1 props=$2 caps=$3 bytes=$4
  shift 4
  # shellcheck disable=SC2086
  gst-launch-1.0 -q $source ! qvconvert $props ! "$caps" ! filesink location="$work/$name.gst" > "$work/$name.log" 2>&1 || true
  "$convert" --from i420 --size 640x480 "$@" "$work/frames.i420" "$work/$name.raw" 2>> "$work/$name.log"
  if [ "$(stat -c %s "$work/$name.gst" 2>/dev/null || echo 0)" = $((2 * bytes)) ] && cmp -s "$work/$name.gst" "$work/$name.raw"; then
    echo "ok: qvconvert $props ! $caps"
  else
    echo "FAIL: qvconvert $props ! $caps differs from qv-convert $* (see $work/$name.log)"
    failed=1
  fi
}
check rgb16 "" video/x-raw,format=RGB16,width=640,height=480 $((640 * 480 * 2)) --to rgb565
check bgra-320 "" video/x-raw,format=BGRA,width=320,height=240 $((320 * 240 * 4)) --to argb --scale 320x240
check rgb16-90r video-direction=90r video/x-raw,format=RGB16,width=480,height=640 $((640 * 480 * 2)) --to rgb565 --rotate 90
check rgb16-bright brightness=160 video/x-raw,format=RGB16,width=640,height=480 $((640 * 480 * 2)) --to rgb565 --brightness 160
exit $failed
