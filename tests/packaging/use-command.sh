#!/usr/bin/env bash
# In a system with the package kvmission alone: a mission, its layers, and heights from the geodetic data of the package.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

kvmission --version
kvmission simulate flight --minutes 1 --pos llh --no-faults -q
kvmission run flight -o layers -q || [ $? = 3 ]  # a blurred photo is enough for 3
[ -s layers/photos.shp ] && [ -s layers/mission.gpkg ] && [ -s layers/report.html ]
kvmission info | grep -q '/usr/share/Norvane'
kvmission info flight/*.* >/dev/null
# The geoid is 46 m above the ellipsoid there.
kvmission transform flight/rover.pos --target EPSG:4979 -o ellipsoid.csv -q
kvmission transform flight/rover.pos --target EPSG:4326+5773 -o geoid.csv -q
paste -d, ellipsoid.csv geoid.csv | awk -F, 'NR == 2 && ($12 - $34 < 45 || $12 - $34 > 48) { exit 1 } END { exit NR < 50 }'
. /usr/share/bash-completion/completions/kvmission
complete -p kvmission >/dev/null
gzip -dc /usr/share/man/man1/kvmission-run.1.gz | grep -q output
