#!/usr/bin/env bash
# Installs a build into a folder of its own and uses it as a caller does, through CMake and through pkg-config.
# Usage: check.sh BUILD_FOLDER
set -euo pipefail
build=$(realpath "$1")
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null

cmake -S "$here" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer"

export PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name kvutilities.pc)")
flags=$(pkg-config --define-prefix --cflags --libs kvutilities)
# shellcheck disable=SC2086
g++ -std=c++17 "$here/main.cpp" $flags -o "$work/pkg-config-consumer"
LD_LIBRARY_PATH=$(pkg-config --define-prefix --variable=libdir kvutilities) "$work/pkg-config-consumer"

"$work/prefix/bin/kvmission" --version
