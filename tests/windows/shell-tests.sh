#!/usr/bin/env bash
# Runs the tests that the Windows build left out for want of a POSIX shell: here, with its command under Wine.
# Usage: shell-tests.sh WINDOWS_BUILD BUILD_OF_THIS_SYSTEM
set -euo pipefail
windows=$(realpath "$1") own=$(realpath "$2")
left_out=$(python3 - "$windows/tests.xml" <<'PYTHON'
import sys, xml.etree.ElementTree as tree
names = [case.get("name") for case in tree.parse(sys.argv[1]).iter("testcase") if case.get("status") == "notrun"]
print(":".join(names))
PYTHON
)
export KVMISSION_PROGRAM="$(realpath "$(dirname "$0")/../../scripts/windows/wine-run") $KVUTILITIES_WINDOWS_PREFIX/bin $windows/bin/kvmission.exe"
failed=0
for tests in apps/kvmission_tests engine_tests; do
  "$own/tests/$tests" --gtest_filter="$left_out" --gtest_brief=1 || failed=1
done
exit $failed
