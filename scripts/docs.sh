#!/usr/bin/env bash
# Makes pages of the interfaces and docs/ in build/docs/html. A warning of doxygen is an error.
# Usage: scripts/docs.sh
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh --docs
rm -rf build/docs/new
mkdir -p build/docs/new
doxygen docs/api/Doxyfile
rm -rf build/docs/html
mv build/docs/new/html build/docs/html
echo "$PWD/build/docs/html/index.html"
