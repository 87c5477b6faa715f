#!/usr/bin/env bash
# Measures the library against its peers, in turn in one run: prints the table of docs/performance.md and writes every
# round as build/release/benchmarks.json. Peers that are not installed are skipped by name.
# Usage: scripts/bench.sh [--install-peers] [--quick] [--rows 1,3] [--rounds 7] [--json FILE]
#   --quick  two minutes, for developers: fewer rounds, smaller missions, no slow peers
# Fails if a goal is not met. Cases that are too noisy to decide are counted, but do not fail.
set -euo pipefail
cd "$(dirname "$0")/.."

groups=()
if [ "${1:-}" = --install-peers ]; then
  groups+=(--peers)
  shift
fi
scripts/setup.sh "${groups[@]}"
for peer in gpsbabel gpscorrelate ogr2ogr cct cs2cs exiftool; do
  command -v "$peer" >/dev/null || echo "$peer is not installed: scripts/bench.sh --install-peers gets it" >&2
done

cmake --preset release >/dev/null
cmake --build --preset release
# The cases' files, about 5 GB, go even when the program is stopped.
TMPDIR=$(mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
build/release/benchmarks/benchmarks --json build/release/benchmarks.json "$@"
