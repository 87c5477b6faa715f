#!/usr/bin/env bash
# Runs the tests that the Windows build left out for want of a POSIX shell: here, with its command under Wine. Each has three minutes.
# Those of not-under-wine.txt are left out by name.
# Usage: shell-tests.sh WINDOWS_BUILD BUILD_OF_THIS_SYSTEM
set -euo pipefail
windows=$(realpath "$1") own=$(realpath "$2")
here=$(realpath "$(dirname "$0")")
export KVMISSION_PROGRAM="$here/../../scripts/windows/wine-run $KVUTILITIES_WINDOWS_PREFIX/bin $windows/bin/kvmission.exe"
left_out=$(python3 - "$windows/tests.xml" <<'PYTHON'
import sys, xml.etree.ElementTree as tree
print(*[case.get("name") for case in tree.parse(sys.argv[1]).iter("testcase") if case.get("status") == "notrun"])
PYTHON
)
passed=0 failed=0 skipped=0
for name in $left_out; do
  if grep -q "^$name " "$here/not-under-wine.txt"; then
    skipped=$((skipped + 1))
    continue
  fi
  for tests in apps/kvmission_tests engine_tests; do
    "$own/tests/$tests" --gtest_list_tests --gtest_filter="$name" | grep -q "^  " || continue
    if timeout 180 "$own/tests/$tests" --gtest_filter="$name" > "$windows/shell-test.log" 2>&1; then
      passed=$((passed + 1))
    else
      failed=$((failed + 1))
      cat "$windows/shell-test.log"
    fi
  done
done
echo "$passed tests passed, $failed failed, $skipped left out by name"
[ "$failed" = 0 ]
