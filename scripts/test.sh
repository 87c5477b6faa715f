#!/usr/bin/env bash
# Sets up, builds and runs every test. With --full randomised tests run at full size, which takes minutes.
# Usage: scripts/test.sh [--full] [options of ctest]
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --full ]; then
  export KVUTILITIES_FULL_TESTS=1
  shift
fi

scripts/setup.sh
cmake --preset dev
cmake --build --preset dev
ctest --preset dev -j "$(nproc)" "$@"
