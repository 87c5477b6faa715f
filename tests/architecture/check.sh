#!/usr/bin/env bash
# Includes point down: each row names a folder and the folders, public headers apart, that it may include. Each third-party
# library has one owning folder.
set -euo pipefail
cd "$(dirname "$0")/../.."
failures=0
fail() {
  echo "$*" >&2
  failures=1
}

while read -r folder allowed; do
  while IFS=: read -r file line; do
    target=$(sed -E 's/.*"([^"]+)".*/\1/' <<<"$line")
    case $target in
      KVUtilities.h | KVRecords.h | KVPlatform.h) continue ;;
    esac
    [[ " $allowed " == *" ${target%%/*} "* ]] || fail "$file includes $target; $folder may include: $allowed"
  done < <(grep -rE '^#include "' "src/$folder" || true)
done <<'ROWS'
platform    platform
conversions conversions platform
scanners    scanners crs conversions platform
georef      georef conversions platform
photos      photos conversions platform
export      export conversions platform
crs         crs conversions platform
ROWS

while read -r owner pattern; do
  while IFS=: read -r file _; do
    [[ $file == $owner/* ]] || fail "$file includes <$pattern>, which belongs to $owner"
  done < <(grep -rE "^#include <($pattern)" include src apps || true)
done <<'ROWS'
src/export     shapefil\.h
src/photos     opencv2/
src/crs        gdal|ogr_|cpl_|proj\.h
apps/kvmission CLI/|nlohmann/|fmt/|toml|libexif/|jpeglib
ROWS

folders='platform|conversions|scanners|georef|photos|export|crs'
! grep -rnE "^#include \"($folders)/" include apps/kvmission || fail "the command and the public headers see include/ alone"
exit "$failures"
