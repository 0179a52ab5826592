#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those that are missing.
#   scripts/deps.sh [extra-package ...]
# A package named with an architecture (libhwy-dev:i386) adds that architecture to dpkg first.
set -euo pipefail
packages=(cmake ninja-build g++ make pkg-config libgtest-dev googletest libbenchmark-dev libpng-dev libhwy-dev
          libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools gstreamer1.0-plugins-base "$@")
missing=()
for p in "${packages[@]}"; do
  grep -q "install ok installed" <<<"$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null)" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  for p in "${missing[@]}"; do
    case "$p" in
      *:*) arch="${p##*:}"
           grep -qx "$arch" <<<"$(dpkg --print-foreign-architectures)" || $SUDO dpkg --add-architecture "$arch" ;;
    esac
  done
  # One index that fails to load must not stop the rest: the install below says what is missing.
  $SUDO apt-get update -qq || echo "apt-get update reported errors; installing from the lists it has" >&2
  # A line a package (fetched, unpacked, set up) rather than a long silence.
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}" |
    { grep --line-buffered -E '^(Get:|Unpacking|Setting up)' || true; }
fi
