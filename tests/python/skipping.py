"""Tests that need what is not there are skipped, with a word about it."""

import importlib.util
import shutil
import sys


def skip(reason):
    print("skipped:", reason)
    sys.exit(77)


def need_modules(*names):
    missing = [name for name in names if importlib.util.find_spec(name) is None]
    if missing:
        skip(f"{sys.executable} lacks {', '.join(missing)}")


def need_programs(*names):
    missing = [name for name in names if shutil.which(name) is None]
    if missing:
        skip(f"not found: {', '.join(missing)}")
