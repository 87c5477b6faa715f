#!/usr/bin/env bash
# Makes a zip of what runs on Windows by itself: programs, DLLs, headers, import libraries, geodetic data and licences.
# Usage: scripts/windows/zip.sh BUILD CACHE ZIP
set -euo pipefail
build=$(realpath "$1") cache=$(realpath "$2") zip=$(realpath -m "$3")
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
folder=$work/$(basename "$zip" .zip)

cmake --install "$build" --prefix "$folder" --strip > "$work/log" || { cat "$work/log" >&2; exit 1; }
cp scripts/windows/ReadMe.txt LICENSE "$folder"
mkdir "$folder/licences"
for source in "$cache"/source/*; do
  name=$(basename "$source")
  find "$source" -maxdepth 2 -type f \( -iname 'licen[sc]e*' -o -iname 'copying*' \) -exec cat {} + > "$folder/licences/$name.txt"
  [ -s "$folder/licences/$name.txt" ] || rm "$folder/licences/$name.txt"
done
cp /usr/share/doc/gcc-mingw-w64-base/copyright "$folder/licences/compiler-runtime.txt"
cp /usr/share/doc/mingw-w64-x86-64-dev/copyright "$folder/licences/mingw-w64.txt"
rm -f "$zip"
mkdir -p "$(dirname "$zip")"
(cd "$work" && zip -qr9 "$zip" "$(basename "$folder")")  # links become what they point to
echo "$zip: $(du -h "$zip" | cut -f1)"
