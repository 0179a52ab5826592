#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those that are missing.
#   scripts/deps.sh [extra-package ...]
set -euo pipefail
packages=(cmake ninja-build g++ make pkg-config libgtest-dev googletest libbenchmark-dev libpng-dev libhwy-dev "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
