#!/usr/bin/env bash
# Measures the library against its peers, in turn in one run: prints the table of docs/performance.md and writes it as
# build/release/benchmarks.json. Peers that are not installed are skipped by name.
# Usage: scripts/bench.sh [--install-peers] [--rows 1,3] [--rounds 3] [--json FILE]
set -euo pipefail
cd "$(dirname "$0")/.."

groups=(--benchmarks)
if [ "${1:-}" = --install-peers ]; then
  groups+=(--peers)
  shift
fi
scripts/setup.sh "${groups[@]}"
for peer in gpsbabel ogr2ogr cct cs2cs exiftool; do
  command -v "$peer" >/dev/null || echo "$peer is not installed: scripts/bench.sh --install-peers gets it" >&2
done

cmake --preset release >/dev/null
cmake --build --preset release
build/release/benchmarks/benchmarks --json build/release/benchmarks.json "$@"
