"""The stubs say what the compiled half is, and the package passes the type checker at its strictest."""

import os
import pathlib
import subprocess
import sys

from skipping import need_modules

need_modules("mypy")

scratch = pathlib.Path(sys.argv[1])
scratch.mkdir(parents=True, exist_ok=True)
environment = {**os.environ, "MYPYPATH": os.environ["PYTHONPATH"], "MYPY_CACHE_DIR": str(scratch / "cache")}
package = pathlib.Path(os.environ["PYTHONPATH"]) / "qvstreet"
assert (package / "py.typed").exists() and (package / "_qvstreet.pyi").exists()


def run(*arguments):
    done = subprocess.run([sys.executable, "-m", *arguments], cwd=scratch, env=environment, capture_output=True, text=True)
    print("$", *arguments)
    print(done.stdout + done.stderr)
    return done


# The metaclass of classes made by pybind11 has no name in Python; what a class has is still compared. Iterable is Python's
# own, which the type checker knows a little differently from what it is.
(scratch / "allowed").write_text("qvstreet._qvstreet.Finder\nqvstreet._finder.Iterable.*\n")
assert run("mypy.stubtest", "qvstreet", "--allowlist", "allowed").returncode == 0

# What a caller's own checker makes of the package.
(scratch / "caller.py").write_text(
    "import qvstreet\n"
    "reveal_type(qvstreet.find_crossings(b'')[0].corners.ul)\n"
    "reveal_type(qvstreet.StreetFinder(width=20).find_single_streets())\n"
    "reveal_type(qvstreet.StreetFinderParams().mode)\n"
    "qvstreet.StreetFinder(qvstreet.StreetFinderParams(width=(20, 30)))\n"
    "qvstreet.find_crossings(b'', widht=20)\n"
    "qvstreet.StreetFinder(widht=20)\n"
    "reveal_type(qvstreet.find_single_streets(b'', measure=True)[0].measured)\n"
)
assert run("mypy", "--strict", "-p", "qvstreet").returncode == 0
told = run("mypy", "--strict", "caller.py").stdout
assert 'Revealed type is "Tuple[builtins.float, builtins.float]"' in told
assert 'Revealed type is "builtins.list[qvstreet._results.SingleStreet]"' in told
assert 'Revealed type is "qvstreet._params.RunMode"' in told
assert 'Revealed type is "Union[qvstreet._results.StreetMeasurement, None]"' in told
assert ":6: error" in told and ":7: error" in told and told.count(" error: ") == 2
