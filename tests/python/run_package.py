"""Runs the tests of the package."""

import pathlib
import sys

from skipping import need_modules

need_modules("pytest", "numpy", "PIL")

import pytest

here = pathlib.Path(__file__).parent
sys.exit(pytest.main([str(here), "-q", "-p", "no:cacheprovider", "--rootdir", str(here), "--basetemp", sys.argv[1]]))
