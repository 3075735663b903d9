"""Builds the Python package: `pip install .`

The compiled half is built by CMake, with the library inside. QVSTREET_BUILD_DIR names a CMake build tree that has it
already; it is taken from there then.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent
# Where presets build, too; nothing is left beside the sources.
BUILD = pathlib.Path("build") / "pip"


def version():
    return re.search(r"project\(qvstreet VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text()).group(1)


class BuildByCMake(build_ext):
    def build_extension(self, extension):
        # setuptools asks for the file that Python will look for.
        target = pathlib.Path(self.get_ext_fullpath(extension.name)).resolve()
        target.parent.mkdir(parents=True, exist_ok=True)
        tree = os.environ.get("QVSTREET_BUILD_DIR")
        if not tree:
            tree = pathlib.Path(self.build_temp).resolve()
            self.build_tree(tree)
        built = pathlib.Path(tree) / "python" / "qvstreet" / target.name
        if not built.exists():
            sys.exit(
                f"{built} was not built; wanted are CMake 3.25, a C++17 compiler, pybind11 2.10 and the headers of this "
                "Python (Debian: cmake g++ pybind11-dev python3-dev)"
            )
        shutil.copy(built, target)

    def build_tree(self, tree):
        options = [
            "-DCMAKE_BUILD_TYPE=Release",
            f"-DQVSTREET_PYTHON={sys.executable}",
            "-DQVSTREET_BUILD_PYTHON=ON",
            *(f"-DQVSTREET_BUILD_{part}=OFF" for part in ("TOOLS", "TESTS", "EXAMPLES", "BENCH")),
        ]
        if shutil.which("ninja"):
            options.append("-GNinja")
        try:
            import pybind11

            options.append(f"-Dpybind11_DIR={pybind11.get_cmake_dir()}")
        except ImportError:
            pass  # CMake finds the one of the system.
        subprocess.run(["cmake", "-S", str(ROOT), "-B", str(tree), *options], check=True)
        jobs = self.parallel or len(os.sched_getaffinity(0))
        subprocess.run(
            ["cmake", "--build", str(tree), "--target", "qvstreet_python_package", "--parallel", str(jobs)], check=True
        )


(ROOT / BUILD).mkdir(parents=True, exist_ok=True)
setup(
    version=version(),
    ext_modules=[Extension("qvstreet._qvstreet", sources=[])],
    cmdclass={"build_ext": BuildByCMake},
    options={"egg_info": {"egg_base": str(BUILD)}, "build": {"build_base": str(BUILD)}},
    zip_safe=False,
)
