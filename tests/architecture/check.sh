#!/usr/bin/env bash
# Includes point down: each row names a folder and the folders, public headers apart, that it may include. Each third-party
# library has its owning folders.
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
      KVUtilities.h | KVRecords.h | KVPlatform.h | KVMission/*) continue ;;
    esac
    [[ " $allowed " == *" ${target%%/*} "* ]] || fail "$file includes $target; $folder may include: $allowed"
  done < <(grep -rE '^#include "' "src/$folder" || true)
done <<'ROWS'
platform platform
base     base time text platform
text     text platform
time     time text platform
georef   georef time text base platform
readers  readers crs georef time text base platform
photos   photos georef time text base platform readers
crs      crs time text base platform
export   export georef time text base platform
outputs  outputs photos crs georef time text base platform
mission  mission outputs export readers photos crs georef time text base platform report
report   report mission outputs photos readers georef time text base platform
ROWS

while read -r owner pattern; do
  while IFS=: read -r file _; do
    [[ $file =~ ^$owner(/|$) ]] || fail "$file includes <$pattern>, which belongs to $owner"
  done < <(grep -rE "^#include <($pattern)" include src apps simulation || true)
done <<'ROWS'
src/export     shapefil\.h
src/photos     opencv2/
src/(photos|readers) expat\.h
(src/photos|simulation) j(peglib|error)\.h
src/crs        proj\.h
src/(crs|outputs) ogr_[^a]|cpl_
src/outputs    ogr_api
src/(crs|outputs) gdal
src/mission    toml
src/report     nlohmann/
apps/kvmission CLI/
ROWS

# The simulation is an independent witness: it shares no code with what reads its files.
while IFS=: read -r file _ line; do
  fail "$file: $line; simulation may include its own headers, the standard library, fmt, libjpeg and libexif"
done < <(grep -rnE '^ *# *include' simulation | grep -vE 'include ("simulation/|<([a-z_]+|fmt/.*|jpeglib\.h|libexif/.*)>)' || true)
while IFS=: read -r file _ line; do
  fail "$file: $line; simulation belongs to the command and to tests"
done < <(grep -rnE '^ *# *include ["<]([^">]*/)?simulation/' include src || true)

# Findings: each code stands once, on the page of checks and, except for notes, in the schema of the summary.
codes=$(grep -oE '"[a-z]+(-[a-z]+)+"' src/base/Findings.h | tr -d '"' | sort)
[ -z "$(uniq -d <<<"$codes")" ] || fail "finding codes that stand twice: $(uniq -d <<<"$codes" | tr '\n' ' ')"
for code in $codes; do
  grep -q "\"$code\", Note" src/base/Findings.h || grep -q "\"$code\"" docs/kvmission/summary.schema.json ||
    fail "summary.schema.json does not know the finding $code"
  grep -q "\`$code\`" docs/kvmission/checks.md || fail "checks.md does not explain the finding $code"
done
exit "$failures"
