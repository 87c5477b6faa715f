#!/usr/bin/env bash
# Sets up, builds and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset dev
cmake --build --preset dev
ctest --preset dev -j "$(nproc)" "$@"
