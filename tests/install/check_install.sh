#!/usr/bin/env bash
# Installs the build into a fresh prefix and checks what a user of the installed library gets: the
# library under its SONAME with the development link, the header, qv-imageproc.pc and the
# QvImageProc CMake package; a consumer built through each of them runs; qv-convert and the example
# host (dlopen by SONAME) find the installed library; the GStreamer plugin loads from the prefix.
# The consumers are built with $CC and $CFLAGS (cc and none by default). The prefix is a temporary
# directory outside the build tree (a plugin copy there would be found by GST_PLUGIN_PATH=build).
#   check_install.sh BUILD_DIR SOURCE_DIR [HOST_EXAMPLE]
set -euo pipefail
build=$1 source=$2 host=${3:-}
cc=${CC:-cc} cflags=${CFLAGS:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
fail() { echo "FAIL: $*" >&2; exit 1; }
run() { "$@" > "$work/log" 2>&1 || { cat "$work/log"; fail "$*"; }; }
unset LD_LIBRARY_PATH GST_PLUGIN_PATH GST_PLUGIN_PATH_1_0
run cmake --install "$build" --prefix "$prefix"

pc=$(find "$prefix" -name qv-imageproc.pc)
[ -n "$pc" ] || fail "no qv-imageproc.pc under $prefix"
libdir=$(dirname "$(dirname "$pc")")
real=$(find "$libdir" -maxdepth 1 -name 'libqv_imageproc.so.1.*.*')
[ -n "$real" ] || fail "no libqv_imageproc.so.1.x.y in $libdir"
soname=$(readelf -d "$real" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = libqv_imageproc.so.1 ] || fail "SONAME is '$soname'"
for link in libqv_imageproc.so.1 libqv_imageproc.so; do
  [ "$(readlink -f "$libdir/$link")" = "$(readlink -f "$real")" ] || fail "$link does not lead to $real"
done
header=$(find "$prefix" -name qv_imageproc.h)
[ -n "$header" ] || fail "no qv_imageproc.h"
[ -f "$libdir/cmake/QvImageProc/QvImageProcConfig.cmake" ] || fail "no QvImageProc package"
echo "installed: $(basename "$real") (SONAME $soname), $header, $pc, $libdir/cmake/QvImageProc"

# The whole output first: grep -q stops reading at the first match, and under pipefail the
# writer's SIGPIPE would fail the check.
uses_prefix() { grep -q "$libdir/libqv_imageproc.so.1" <<<"$(ldd "$1")" || fail "$1 does not load the installed library"; }

# pkg-config: the library, and Highway as its private dependency.
export PKG_CONFIG_PATH="$(dirname "$pc")"
grep -q -- "-lhwy" <<<"$(pkg-config --static --libs qv-imageproc)" || fail "qv-imageproc.pc names no Highway dependency"
# shellcheck disable=SC2086,SC2046
run "$cc" $cflags "$source/examples/consumer/consumer.c" $(pkg-config --cflags --libs qv-imageproc) -o "$work/pc-consumer"
LD_LIBRARY_PATH="$libdir" uses_prefix "$work/pc-consumer"
echo "pkg-config consumer: $(LD_LIBRARY_PATH="$libdir" "$work/pc-consumer")"

# find_package(QvImageProc)
run cmake -S "$source/examples/consumer" -B "$work/cmake-consumer" -DCMAKE_PREFIX_PATH="$prefix"
run cmake --build "$work/cmake-consumer"
uses_prefix "$work/cmake-consumer/qv_consumer"
echo "find_package consumer: $("$work/cmake-consumer/qv_consumer")"

if [ -n "$host" ]; then
  echo "example host, dlopen by SONAME: $(LD_LIBRARY_PATH="$libdir" "$host")"
fi
if [ -x "$prefix/bin/qv-convert" ]; then
  run "$prefix/bin/qv-convert" --size 64x48 --to rgb565 pattern "$work/pattern.rgb565"
  [ "$(stat -c %s "$work/pattern.rgb565")" = $((64 * 48 * 2)) ] || fail "installed qv-convert wrote no frame"
  echo "installed qv-convert: one 64x48 frame"
fi
plugin="$libdir/gstreamer-1.0/libgstqvconvert.so"
if [ -f "$plugin" ] && command -v gst-inspect-1.0 > /dev/null; then
  GST_PLUGIN_SYSTEM_PATH_1_0="" GST_PLUGIN_PATH_1_0="$libdir/gstreamer-1.0" GST_REGISTRY="$work/registry.bin" \
    run gst-inspect-1.0 qvconvert
  grep -q "$plugin" "$work/log" || fail "gst-inspect-1.0 found another qvconvert"
  echo "GStreamer plugin: qvconvert loads from $plugin"
fi
