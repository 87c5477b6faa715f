#!/usr/bin/env bash
# Builds for Windows on Linux, runs every test under Wine and makes a zip of what a user of Windows needs.
# Usage: scripts/windows.sh CACHE [ZIP]
#   CACHE  folder for the other libraries and Wine's files; what it has is not built again
#   ZIP    default build/kvutilities-VERSION-windows.zip
set -euo pipefail
cd "$(dirname "$0")/.."
cache=$(realpath -m "${1:?usage: scripts/windows.sh CACHE [ZIP]}")
version=$(sed -n 's/^project(KVUtilities VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
zip=$(realpath -m "${2:-build/kvutilities-$version-windows.zip}")
export KVUTILITIES_WINDOWS_PREFIX=$cache/prefix WINEPREFIX=$cache/wine
step() { printf '\n== %s (%d s)\n' "$*" "$SECONDS"; }

step "set-up"
scripts/setup.sh --windows
step "libraries"
scripts/windows/dependencies.sh "$cache"
step "Wine's own files"
scripts/windows/wine-run "$cache/prefix/bin" wineboot --init

step "build"
cmake --preset windows
cmake --build --preset windows

step "tests under Wine"
ctest --preset windows -j "$(nproc)" --output-junit tests.xml

step "tests of the command in a shell of this system, the command under Wine"
cmake --preset dev
cmake --build --preset dev --target kvmission kvmission_tests engine_tests
tests/windows/shell-tests.sh build/windows build/dev

step "files in use, full disks and Ctrl-C"
tests/windows/trouble.py build/windows/bin/kvmission.exe

step "equal results on both systems"
tests/windows/compare.py build/dev/apps/kvmission/kvmission build/windows/bin/kvmission.exe

step "zip"
scripts/windows/zip.sh build/windows "$cache" "$zip"

step "a program against the zip alone"
tests/windows/check-zip.sh "$zip"
step "done"
