#!/usr/bin/env bash
# Installs missing Debian packages: those needed to build and test, and those of the options.
# Usage: scripts/setup.sh [--campaigns] [--checks] [--docs] [--fuzz] [--packages] [--peers] [--qgis] [--windows]
#   --campaigns for folders of missions, and the queue that their test starts
#   --checks    for the checks of a change
#   --docs      for scripts/docs.sh
#   --fuzz      for scripts/fuzz.sh
#   --packages  for scripts/package.sh and tests/packaging
#   --peers     the programs that the benchmarks compare with
#   --qgis      QGIS, for the test of its plugin
#   --windows   for scripts/windows.sh
set -euo pipefail

wanted=(g++ cmake ninja-build pkg-config libopencv-dev libshp-dev libcli11-dev nlohmann-json3-dev libfmt-dev
  libtomlplusplus-dev libexif-dev libexpat1-dev libjpeg-dev libgtest-dev libgdal-dev libproj-dev libboost-dev
  libjs-leaflet libjs-dygraphs pybind11-dev python3-dev python3-numpy python3-pytest)
for option in "$@"; do
  case $option in
    --campaigns) wanted+=(snakemake slurm-wlm munge parallel) ;;
    --checks) wanted+=(clang-format clang libclang-rt-dev gdal-bin libimage-exiftool-perl python3-qgis chromium strace util-linux
      man-db zsh fish g++-mingw-w64-x86-64-posix python3-pandas python3-geopandas) ;;
    --docs) wanted+=(doxygen doxygen-awesome-css) ;;
    --fuzz) wanted+=(clang libclang-rt-dev llvm) ;;
    --packages) wanted+=(dpkg-dev fakeroot file lintian debootstrap) ;;
    --qgis) wanted+=(qgis python3-qgis) ;;
    --peers) wanted+=(gpsbabel gpscorrelate gdal-bin proj-bin libimage-exiftool-perl) ;;
    --windows) wanted+=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev nasm sqlite3 wine64 zip unzip) ;;
    *) echo "setup.sh: unknown option: $option" >&2 && exit 2 ;;
  esac
done

if ! command -v apt-get >/dev/null; then
  echo "This is not a Debian system; install the equivalents of: ${wanted[*]}" >&2
  exit 0
fi

missing=()
for package in "${wanted[@]}"; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Run as root: apt-get install ${missing[*]}" >&2; exit 1; }
  root=(sudo)
fi
echo "Installing: ${missing[*]}" >&2
"${root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
