"""Builds the Python module with its libraries, the command and the geodetic data in one package."""

import pathlib
import re

from skbuild import setup

VERSION = re.search(r"VERSION (\d+\.\d+\.\d+)", pathlib.Path("CMakeLists.txt").read_text(encoding="utf-8")).group(1)
FOR_CPP = ("include", "pkgconfig", "cmake")  # folders that Python has no use for

setup(
    name="kvutilities",
    version=VERSION,
    description="Field data of a mapping sensor: located, paired, graded photos and tables",
    license="MIT",
    packages=["kvutilities"],
    package_dir={"": "python"},
    package_data={"kvutilities": ["*.pyi", "py.typed"]},
    cmake_install_dir="python/kvutilities",
    cmake_args=["-DKVUTILITIES_PYTHON=ON", "-DKVUTILITIES_PYTHON_ALONE=ON", "-DKVUTILITIES_BUILD_TESTS=OFF"],
    cmake_process_manifest_hook=lambda files: [
        file for file in files if not set(FOR_CPP) & set(pathlib.PurePath(file).parts[:-1])
    ],
    python_requires=">=3.9",
    install_requires=["numpy"],
)
