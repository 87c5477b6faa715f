#!/usr/bin/env bash
# Installs a build into a folder of its own and uses it as a caller does, through CMake and through pkg-config.
# Usage: check.sh BUILD_FOLDER
set -euo pipefail
build=$(realpath "$1")
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
# What packs the files of the manifest, as pip does, gets the geodetic data too.
grep -qx "$work/prefix/share/Norvane/share/proj/proj.db" "$build/install_manifest.txt"

cmake -S "$here" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer"

export PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name kvutilities.pc)")
build_with() { # PACKAGE SOURCE
  # shellcheck disable=SC2046
  g++ -std=c++17 "$2" $(pkg-config --cflags --libs "$1") -o "$work/$1-consumer"
}
build_with kvutilities "$here/main.cpp"
build_with kvmission "$here/../../examples/run_mission.cpp"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir kvutilities)
export LD_LIBRARY_PATH
"$work/kvutilities-consumer"

"$work/prefix/bin/kvmission" --version
"$work/prefix/bin/kvmission" simulate "$work/mission" --minutes 1 --quiet
# The example of the engine runs the mission, prints findings by severity and stops on a flag.
for program in "$work/cmake/run_mission" "$work/kvmission-consumer"; do
  status=0
  "$program" "$work/mission" "$work/layers" >"$work/out" || status=$?
  photos=$(sed -n '/"name": "photos"/,/records/s/.*"records": //p' "$work/layers/summary.json")
  if [ "$status" != 3 ] || ! grep -q "^$photos of [0-9]* exposures are in the photo layer$" "$work/out"; then
    echo "$program ended with $status: $(cat "$work/out")" >&2
    exit 1
  fi
  [ -s "$work/layers/photos.shp" ] && [ -s "$work/layers/summary.json" ]
  rm -r "$work/layers"
done
