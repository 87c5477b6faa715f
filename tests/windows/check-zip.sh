#!/usr/bin/env bash
# Builds programs against the zip for Windows, with nothing else installed, and runs them and its command under Wine.
# Usage: check-zip.sh ZIP
set -euo pipefail
zip=$(realpath "$1")
here=$(realpath "$(dirname "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unzip -q "$zip" -d "$work"
folder=$(echo "$work"/*/bin/..)
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" WINEARCH=win64 WINESERVER=/usr/lib/wine/wineserver64
unset WINEPATH
wine() { /usr/lib/wine/wine64 "$@"; }

cd "$work"
for source in "$here"/../consumer/main.cpp "$here"/../../examples/run_mission.cpp; do
  x86_64-w64-mingw32-g++-posix -std=c++17 "$source" -I"$folder/include" -L"$folder/lib" -lKVMission -lKVUtilities \
    -o "$folder/bin/$(basename "$source" .cpp).exe"
done
MAPHUB_CONFIG_FILES_PATH=$folder/share wine "$folder/bin/main.exe"
wine "$folder/bin/kvmission.exe" --version
wine "$folder/bin/kvmission.exe" simulate mission --minutes 1 --pos llh --quiet
status=0
MAPHUB_CONFIG_FILES_PATH=$folder/share wine "$folder/bin/run_mission.exe" mission layers > out || status=$?
photos=$(sed -n '/"name": "photos"/,/records/s/.*"records": //p' layers/summary.json)
if [ "$status" != 3 ] || ! grep -q "^$photos of [0-9]* exposures are in the photo layer" out; then
  echo "run_mission ended with $status: $(cat out)" >&2
  exit 1
fi
# The command needs no variable.
wine "$folder/bin/kvmission.exe" transform mission/rover.pos --target EPSG:32633+5773 -o moved.csv --quiet
[ -s moved.csv ]
