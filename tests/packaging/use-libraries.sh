#!/usr/bin/env bash
# In a system with all packages: Python, and programs built with CMake and with pkg-config.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

kvmission simulate flight --minutes 1 --no-faults -q
python3 - <<'PYTHON'
import kvutilities
mission = kvutilities.run_mission("flight")
assert not mission.doubtful, [finding.text for finding in mission.findings]
assert len(mission.exposures.array) > 20 and len(mission.fixes.array) > 500
PYTHON
python3 -m kvutilities info flight/*.* >/dev/null

consumer=/source/tests/consumer
cmake -S "$consumer" -B cmake >/dev/null
cmake --build cmake >/dev/null
build_with() { # PACKAGE SOURCE
  # shellcheck disable=SC2046
  g++ -std=c++17 "$2" $(pkg-config --cflags --libs "$1") -o "$1-consumer"
}
build_with kvutilities "$consumer/main.cpp"
build_with kvmission /source/examples/run_mission.cpp
cmake/consumer
./kvutilities-consumer
for program in cmake/run_mission ./kvmission-consumer; do
  { "$program" flight layers || [ $? = 3 ]; } | grep 'exposures are in the photo layer$'
  [ -s layers/photos.shp ]
  rm -r layers
done
