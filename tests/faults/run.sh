#!/usr/bin/env bash
# Failing system calls and allocations, and kills, in every command of the everyday build. Usage: tests/faults/run.sh
# [--full] [--every N] [--kills N] [--points N] [--jobs N] [--only CASE]
set -euo pipefail
cd "$(dirname "$0")/../.."
cmake --preset dev >build/faults.log
cmake --build --preset dev --target kvmission faults >>build/faults.log
[ -d /dev/shm ] && export TMPDIR=/dev/shm
exec python3 tests/faults/faults.py build/dev/apps/kvmission/kvmission build/dev/tests/faults/libfaults.so "$@"
