"""`pip install` of what a source distribution holds, without a network, into an environment of its own.

The compiled half comes from the present build tree: compiling it takes minutes. That the sources are complete is asked of
CMake.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tarfile

from skipping import need_modules

need_modules("pip", "venv", "setuptools", "wheel")

# What CMake reads for a build without command, tests and examples.
FOLDERS = ("cmake", "packaging", "python", "qvstreet")

source = pathlib.Path(os.environ["QVSTREET_SOURCE"])
scratch = pathlib.Path(sys.argv[1])
shutil.rmtree(scratch, ignore_errors=True)
scratch.mkdir(parents=True)
environment = {name: value for name, value in os.environ.items() if name != "PYTHONPATH"}


def run(*arguments, **options):
    print("$", *arguments, flush=True)
    return subprocess.run([str(a) for a in arguments], check=True, env=environment, **options)


def expect(holds, what):
    if not holds:
        sys.exit(f"failed: {what}")


# From a copy, so that nothing is left in the sources.
copied = scratch / "copy"
copied.mkdir()
for name in ("CMakeLists.txt", "LICENSE", "MANIFEST.in", "README.md", "pyproject.toml", "setup.py"):
    shutil.copy(source / name, copied)
for name in FOLDERS:
    shutil.copytree(source / name, copied / name)
run(sys.executable, "setup.py", "-q", "sdist", "--dist-dir", scratch / "dist", cwd=copied)
(archive,) = (scratch / "dist").glob("qvstreet-*.tar.gz")
with tarfile.open(archive) as opened:
    opened.extractall(scratch / "unpacked")
(unpacked,) = (scratch / "unpacked").iterdir()


def sources(root):
    kinds = {".cpp", ".h", ".py", ".pyi", ".cmake", ".txt", ".typed", ".in", ".map"}
    return {
        str(path.relative_to(root))
        for folder in FOLDERS
        for path in (root / folder).rglob("*")
        if path.is_file() and path.suffix in kinds and "egg-info" not in str(path)
    }


missing = sources(source) - sources(unpacked)
expect(not missing, f"the source distribution lacks {sorted(missing)}")
configured = scratch / "configured"
run(os.environ["CMAKE_COMMAND"], "-S", unpacked, "-B", configured, "-DQVSTREET_BUILD_TOOLS=OFF",
    "-DQVSTREET_BUILD_TESTS=OFF", "-DQVSTREET_BUILD_EXAMPLES=OFF", f"-DQVSTREET_PYTHON={sys.executable}")

# With the pip of the system: unpacking another one is most of the work.
run(sys.executable, "-m", "venv", "--system-site-packages", "--without-pip", scratch / "venv")
python = scratch / "venv" / "bin" / "python"
run(python, "-m", "pip", "install", "-q", "--no-build-isolation", "--no-index", "--disable-pip-version-check", unpacked)
told = run(
    python, "-B", "-c",
    "import qvstreet, sys, importlib.metadata as m, pathlib\n"
    "package = pathlib.Path(qvstreet.__file__).parent\n"
    "print(package)\n"
    "assert m.version('qvstreet') == qvstreet.__version__\n"
    "assert (package / 'py.typed').exists() and (package / '_qvstreet.pyi').exists()\n"
    "assert qvstreet.find_crossings(memoryview(bytes(2000)).cast('B', (40, 50))) == []\n",
    cwd=scratch, capture_output=True, text=True,
).stdout
expect(str(scratch / "venv") in told, f"the installed package is not in the environment but {told}")
