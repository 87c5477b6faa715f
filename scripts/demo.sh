#!/usr/bin/env bash
# Sets up, builds, simulates a mission, turns it into GIS layers and a report, and shows what they hold.
# Usage: scripts/demo.sh [FOLDER]   (default: out/demo; its content is replaced)
set -euo pipefail
cd "$(dirname "$0")/.."
folder=${1:-out/demo}
kvmission=build/dev/apps/kvmission/kvmission

scripts/setup.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target kvmission

rm -rf "$folder"
"$kvmission" simulate "$folder/mission" --minutes 5 --seed 1

# The simulated mission has deliberate faults: exit code 3 means that something was left unmatched.
status=0
"$kvmission" run "$folder/mission" -o "$folder/layers" || status=$?
[ "$status" = 0 ] || [ "$status" = 3 ] || exit "$status"

echo
echo "The layers, for any GIS:"
"$kvmission" info "$folder"/layers/*.shp

echo
echo "The report, for any browser: $folder/layers/report.html"
