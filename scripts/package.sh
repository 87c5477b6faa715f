#!/usr/bin/env bash
# Makes the Debian packages of a release in build/package/packages, once lintian has nothing to complain about.
# Usage: scripts/package.sh
set -euo pipefail
cd "$(dirname "$0")/.."
umask 022

scripts/setup.sh --packages
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || date +%s)
export SOURCE_DATE_EPOCH
cmake --preset package
cmake --build --preset package

cd build/package
rm -rf made
cpack -B made >cpack.log || { cat cpack.log >&2 && exit 1; }
lintian --fail-on error,warning --allow-root made/*.deb
rm -rf packages made/_CPack_Packages
mv made packages
ls -l "$PWD"/packages/*.deb
