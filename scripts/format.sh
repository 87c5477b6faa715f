#!/usr/bin/env bash
# Formats the C++ sources; with --check only reports differences.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(-i)
[ "${1:-}" = --check ] && mode=(--dry-run --Werror)
git ls-files -z --cached --others --exclude-standard '*.h' '*.cpp' | xargs -0 clang-format "${mode[@]}"
