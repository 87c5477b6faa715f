#!/usr/bin/env bash
# Installs the Debian packages that are missing: those that build and test need, with --checks also those of the checks.
# Does nothing when all are there.
set -euo pipefail

build=(g++ cmake ninja-build pkg-config libopencv-dev libshp-dev libcli11-dev nlohmann-json3-dev libfmt-dev libtomlplusplus-dev
  libexif-dev libjpeg-dev libgtest-dev libgdal-dev libproj-dev)
checks=(clang-format clang libclang-rt-dev libbenchmark-dev gdal-bin)

wanted=("${build[@]}")
[ "${1:-}" = --checks ] && wanted+=("${checks[@]}")

if ! command -v apt-get >/dev/null; then
  echo "This is no Debian system; install what corresponds to: ${wanted[*]}" >&2
  exit 0
fi

missing=()
for package in "${wanted[@]}"; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "As root, please: apt-get install ${missing[*]}" >&2; exit 1; }
  root=(sudo)
fi
echo "Installing: ${missing[*]}" >&2
"${root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
