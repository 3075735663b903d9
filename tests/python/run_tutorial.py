"""The tutorial script runs and draws a picture with the results in it."""

import os
import pathlib
import shutil
import subprocess
import sys

from skipping import need_modules

need_modules("numpy", "matplotlib", "PIL")

import numpy as np
import PIL.Image

source = pathlib.Path(os.environ["QVSTREET_SOURCE"])
scratch = pathlib.Path(sys.argv[1])
shutil.rmtree(scratch, ignore_errors=True)
scratch.mkdir(parents=True)
environment = {**os.environ, "MPLCONFIGDIR": str(scratch / "matplotlib")}
environment.pop("DISPLAY", None)
script = source / "examples" / "python" / "tutorial.py"
done = subprocess.run(
    [sys.executable, "-B", str(script), "--out", str(scratch / "tutorial.png")],
    cwd=scratch, env=environment, capture_output=True, text=True,
)
print(done.stdout + done.stderr)
assert done.returncode == 0
assert "wafer_coarse.png" in done.stdout and "crossings" in done.stdout

picture = np.asarray(PIL.Image.open(scratch / "tutorial.png").convert("RGB")).astype(int)
red = (picture[..., 0] - picture[..., 1:].max(axis=2)) > 100
green = (picture[..., 1] - picture[..., 0::2].max(axis=2)) > 60
assert red.sum() > 500 and green.sum() > 500, "results are not to be seen"
