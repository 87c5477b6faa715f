#!/usr/bin/env bash
# Takes the project into another one with add_subdirectory and links both of its targets.
set -euo pipefail
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake -S "$here" -B "$work" -G Ninja -DKVUTILITIES_SOURCE="$here/../.." >/dev/null
cmake --build "$work" >/dev/null
"$work/consumer"
"$work/core_consumer"
