"""Runs the command: python3 -m kvutilities run flight12 -o results"""

import os
import shutil
import sys


def main():
    beside = os.path.join(os.path.dirname(__file__), "bin", "kvmission")
    program = beside if os.path.exists(beside) else shutil.which("kvmission")
    if program is None:
        sys.exit("kvmission is not installed")
    os.execv(program, [program, *sys.argv[1:]])


if __name__ == "__main__":
    main()
