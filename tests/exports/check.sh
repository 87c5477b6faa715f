#!/usr/bin/env bash
# Compares the names that a shared library exports with the snapshot beside this script.
# Usage: check.sh FILE LIBRARY
set -euo pipefail
nm --dynamic --defined-only --demangle "$1" | cut -d' ' -f3- | sed 's/\[abi:cxx11\]//' | LC_ALL=C sort -u |
  diff -u "$(dirname "$0")/$2.txt" - && echo "the exported names are those of the snapshot"
