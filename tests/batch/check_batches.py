"""Batches on a cluster of two processes, held against the serial run byte for byte.

    check_batches.py QVSTREET EXAMPLES CASE

The cluster runs a wrapper around the command, which does what the case is about when it is handed the image of a name.
"""

import glob
import importlib.util
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

try:
    import distributed  # noqa: F401
except ImportError as error:
    print(f"skipped: {error} (Debian: python3-distributed)")
    sys.exit(77)

COMMAND, EXAMPLES = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
OPTIONS = ["find", "--mode", "coarse", "--width", "8", "--max", "3", "--no-seconds"]

# Keeps the list it is handed, notes which images it is about to do, and looks for two names in it.
WRAPPER = """#!/bin/bash
list=$(mktemp -p "$BATCH/lists")
cat >"$list"
tr '\\0' '\\n' <"$list" >>"$BATCH/handed"
echo "$PPID" >>"$BATCH/workers"
if grep -qa kills_once "$list" && mkdir "$BATCH/killed" 2>/dev/null; then kill -9 "$PPID"; exit; fi
if grep -qa kills_always "$list"; then echo >>"$BATCH/kills"; kill -9 "$PPID"; exit; fi
if grep -qa kills_command "$list"; then
    tr '\\0' '\\n' <"$list" | sed '/kills_command/,$d' | "$QVSTREET" "$@"
    kill -9 $$
fi
for name in $BATCH_WAITS; do
    if grep -qa "$name" "$list"; then
        touch "$BATCH/waits_at_$name"
        while kill -0 "$PPID" 2>/dev/null; do sleep 0.05; done
        exit
    fi
done
exec "$QVSTREET" "$@" <"$list"
"""


def lane_image(shift):
    """Bright lanes 8 pels wide on dark ground, two upright and one level, as PGM of 160 by 120."""
    def is_lane(at, centres):
        return any(abs(at - centre) < 4 for centre in centres)
    upright = [30 + shift % 17, 110 + shift % 23]
    dull = bytes(200 if is_lane(x, upright) else 90 + (x * 7 + shift) % 9 for x in range(160))
    return b"P5\n160 120\n255\n" + b"".join(bytes([200]) * 160 if is_lane(y, [60 + shift % 11]) else dull
                                             for y in range(120))


def wait_for(condition, what):
    for _ in range(1200):
        if condition():
            return
        time.sleep(0.05)
    raise AssertionError(f"waited for {what} for a minute")


class Batches(unittest.TestCase):
    maxDiff = 2000

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="qvstreet-batch-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        for name in ("lists", "lot", "scratch"):
            os.mkdir(self.path(name))
        with open(self.path("wrapper"), "w", encoding="ascii") as file:
            file.write(WRAPPER)
        os.chmod(self.path("wrapper"), 0o755)

    def path(self, name):
        return os.path.join(self.folder, name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def lines_found(self):
        return self.read("found.jsonl").count(b"\n") if os.path.exists(self.path("found.jsonl")) else 0

    def make_lot(self, special=()):
        """A list of 60 images with some bad ones among them, and the names given at their places."""
        names = [f"lot/{i:02} lane.pgm".encode() for i in range(60)]
        names[7] = b"lot/07 \xff\xfe no text.pgm"
        for at, name in special:
            names[at] = b"lot/" + name
        for i, name in enumerate(names):
            with open(os.path.join(os.fsencode(self.folder), name), "wb") as file:
                file.write(lane_image(i))
        with open(self.path("lot/20 lane.pgm"), "r+b") as file:
            file.truncate(1000)
        with open(self.path("lot/33 lane.pgm"), "wb") as file:
            file.write(b"no image")
        os.remove(self.path("lot/41 lane.pgm"))
        shutil.copy(os.path.join(EXAMPLES, "images", "wafer_coarse.png"), self.path("lot/50 lane.pgm"))
        with open(self.path("lot.txt"), "wb") as file:
            file.write(b"\n".join(names) + b"\n")
        return names

    def serial(self):
        ended = subprocess.run([COMMAND, *OPTIONS, "--files-from", "lot.txt"], cwd=self.folder, capture_output=True,
                               check=False)
        self.assertEqual(ended.returncode, 1)
        return ended.stdout

    def call(self, *arguments, command=None, options=None, where=("--workers", "2")):
        return ["/usr/bin/python3", os.path.join(EXAMPLES, "batch_dask.py"), *where, "--chunk", "4",
                "--scratch", self.path("scratch"), "--command", command or self.path("wrapper"), *arguments, "--",
                *(options or OPTIONS)]

    def surroundings(self, waits=""):
        return dict(os.environ, BATCH=self.folder, QVSTREET=COMMAND, BATCH_WAITS=waits)

    def batch(self, *arguments, **rest):
        return subprocess.run(self.call(*arguments, **rest), cwd=self.folder, env=self.surroundings(),
                              capture_output=True, timeout=120, check=False)

    def start(self, waits):
        return subprocess.Popen(self.call("lot.txt", "found.jsonl"), cwd=self.folder, env=self.surroundings(waits),
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=True)

    def test_EqualsTheSerialRunThoughAWorkerIsKilled(self):
        self.make_lot([(25, b"25 kills_once.pgm"), (37, b"37 line\r.pgm")])
        ended = self.batch("lot.txt", "found.jsonl")
        self.assertTrue(os.path.isdir(self.path("killed")), "no worker was killed")
        self.assertEqual(ended.returncode, 1, ended.stderr)
        self.assertEqual(self.read("found.jsonl"), self.serial())
        lines = [json.loads(line) for line in self.read("found.jsonl").splitlines()]
        self.assertEqual(len(lines), 60)
        self.assertEqual([i for i, line in enumerate(lines) if "error" in line], [20, 33, 41])
        self.assertTrue(all(line["crossings"] for line in lines if "error" not in line))
        said = ended.stderr.decode(errors="replace").splitlines()
        self.assertEqual(len(said), 3, said)
        self.assertIn("qvstreet: 'lot/33 lane.pgm': is not an image", said[1])
        again = self.batch("lot.txt", "found.jsonl")
        self.assertEqual((again.returncode, again.stderr), (1, b"found.jsonl: 60 of 60 images are done\n"))
        self.assertEqual(self.read("found.jsonl"), self.serial())

    def test_GoesOnAfterAStop(self):
        names = self.make_lot([(22, b"22 waits_first.pgm"), (46, b"46 waits_then.pgm")])
        wanted = self.serial()
        running = self.start("waits_first waits_then")
        self.addCleanup(running.kill)
        wait_for(lambda: self.lines_found() >= 20, "the chunks before the first that waits")
        wait_for(lambda: os.path.exists(self.path("waits_at_waits_first")), "the first that waits")
        os.killpg(running.pid, signal.SIGINT)
        _, said = running.communicate(timeout=60)
        self.assertEqual(running.returncode, 5)
        self.assertTrue(said.endswith(b"batch_dask.py: stopped; run the same call again to go on\n"), said)
        self.assertNotIn(b"Traceback", said)
        self.assertEqual(self.read("found.jsonl"), b"".join(wanted.splitlines(keepends=True)[:20]))

        running = self.start("waits_then")
        self.addCleanup(running.kill)
        wait_for(lambda: self.lines_found() >= 44, "the chunks before the second that waits")
        running.kill()
        _, said = running.communicate(timeout=60)
        self.assertIn(b"found.jsonl: 20 of 60 images are done", said)
        workers = {int(number) for number in self.read("workers").split()}
        wait_for(lambda: not any(os.path.exists(f"/proc/{worker}") for worker in workers), "the end of the workers")
        with open(self.path("found.jsonl"), "ab") as file:
            file.write(wanted.splitlines()[44][:31])  # as a stop in the middle of writing leaves it
        os.remove(self.path("handed"))

        ended = self.batch("lot.txt", "found.jsonl")
        self.assertEqual(ended.returncode, 1, ended.stderr)
        self.assertTrue(ended.stderr.startswith(b"found.jsonl: 44 of 60 images are done\n"), ended.stderr)
        self.assertEqual(self.read("found.jsonl"), wanted)
        self.assertEqual(sorted(self.read("handed").splitlines()), names[44:])

    def test_AnImageThatAlwaysKillsItsWorkerIsMarked(self):
        self.make_lot([(10, b"10 kills_always.pgm"), (29, b"29 kills_command.pgm")])
        ended = self.batch("lot.txt", "found.jsonl")
        self.assertEqual(ended.returncode, 1, ended.stderr)
        wanted = self.serial().splitlines(keepends=True)
        wanted[10] = b'{"image":"lot/10 kills_always.pgm","error":"ended its worker 3 times"}\n'
        wanted[29] = (b'{"image":"lot/29 kills_command.pgm",'
                      b'"error":"ended the command 3 times, at last with signal 9"}\n')
        found = self.read("found.jsonl").splitlines(keepends=True)
        self.assertEqual(len(found), 60)
        self.assertEqual([i for i in range(60) if found[i] != wanted[i]], [])
        self.assertEqual(self.read("kills").count(b"\n"), 6)  # three times with its neighbours, three times alone

    def test_TakesFoldersAndListsOfEveryKind(self):
        spec = importlib.util.spec_from_file_location("batch_dask", os.path.join(EXAMPLES, "batch_dask.py"))
        module = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(module)
        for name in (b"lot/b.PNG", b"lot/a.tiff", b"lot/B.bmp", b"lot/notes.txt", b"lot/\xff.jpeg", b"lot/png"):
            with open(os.path.join(os.fsencode(self.folder), name), "wb"):
                pass
        os.mkdir(self.path("lot/below"))
        shutil.copy(self.path("lot/a.tiff"), self.path("lot/below/z.pgm"))
        lot = os.fsencode(self.path("lot"))
        self.assertEqual(module.list_images(self.path("lot")), [
            lot + b"/B.bmp", lot + b"/a.tiff", lot + b"/b.PNG", lot + b"/below/z.pgm", lot + b"/\xff.jpeg"])
        for text, paths in (
                (b"a.png\r\n\nb c\rd\n", [b"a.png", b"b c\rd"]),
                (b" a \nb", [b" a ", b"b"]),
                (b"\n", []),
                (b"a\nb\r\0\0c\n", [b"a\nb\r", b"c\n"])):
            with open(self.path("list"), "wb") as file:
                file.write(text)
            self.assertEqual(module.list_images(self.path("list")), paths)
        module.check_names(["find", "--overlay", "{name}.svg"], [b"x/a.png", b"x/b.png"])
        module.check_names(["find"], [b"x/a.png", b"y/a.png"])
        with self.assertRaisesRegex(module.BatchError, r"would be the same for 'x/a.png' and 'y/a.tif'"):
            module.check_names(["find", "--overlay", "{name}.svg"], [b"x/a.png", b"y/a.tif"])

    def test_RefusesOtherOptionsThanThoseOfTheResults(self):
        self.make_lot()
        with open(self.path("lot.txt"), "wb") as file:
            file.write(b"lot/00 lane.pgm\nlot/01 lane.pgm\n")
        one = ("--workers", "1")
        # Each chunk is a call of its own; what is about the call is said once.
        narrow = self.batch("--chunk", "1", "lot.txt", "narrow.jsonl", where=one, options=["find", "--width", "8"])
        self.assertEqual(narrow.returncode, 0)
        self.assertEqual(narrow.stderr.count(b"and --width is 8: try --mode ridge or coarse."), 1, narrow.stderr)
        # Options that the command refuses leave no trace that a right call would stumble over.
        self.assertEqual(self.batch("lot.txt", "found.jsonl", options=["find", "--width", "0"], where=one).returncode, 2)
        self.assertEqual(self.batch("lot.txt", "found.jsonl", where=one).returncode, 0)
        found = self.read("found.jsonl")
        self.assertEqual(found.count(b"\n"), 2)
        self.assertEqual(json.loads(self.read("found.jsonl.options")), {
            "subcommand": "find", "options": {"--max": "3", "--mode": "coarse", "--width": "8"},
            "others": ["--no-seconds"]})
        other = self.batch("lot.txt", "found.jsonl", options=["find", "--mode", "coarse", "--width", "9"])
        self.assertEqual(other.returncode, 2)
        self.assertEqual(other.stderr.decode(), (
            "batch_dask.py: 'found.jsonl': has 2 results of other options: 'found.jsonl.options' says "
            '{"options": {"--max": "3", "--mode": "coarse", "--width": "8"}, "others": ["--no-seconds"], '
            '"subcommand": "find"}, this call {"options": {"--mode": "coarse", "--width": "9"}, "others": [], '
            '"subcommand": "find"}; allowed are the same options, or a new file\n'))
        self.assertEqual(self.batch("lot.txt", "found.jsonl", options=["streets"] + OPTIONS[1:]).returncode, 2)
        # Written otherwise they are the same, and where pictures go makes no difference.
        same = ["find", "--no-seconds", "--max=3", "--overlay", "elsewhere/{name}.svg", "--width=8", "--mode=coarse"]
        again = self.batch("lot.txt", "found.jsonl", options=same)
        self.assertEqual((again.returncode, again.stderr), (0, b"found.jsonl: 2 of 2 images are done\n"))
        self.assertEqual(self.read("found.jsonl"), found)
        os.remove(self.path("found.jsonl.options"))
        self.assertEqual(self.batch("lot.txt", "found.jsonl", options=["find", "--width", "9"]).returncode, 0)

    def test_KeepsTheNamesOfFilesWithoutTheirFolders(self):
        spec = importlib.util.spec_from_file_location("batch_dask", os.path.join(EXAMPLES, "batch_dask.py"))
        module = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(module)
        record = module.options_record(["blank", "--mask", "/a/b/m.png", "--street-width=64", "--overlay=o/{name}.png",
                                        "--grey-weights=/c/w.txt"])
        self.assertEqual(json.loads(record), {
            "subcommand": "blank", "others": [],
            "options": {"--mask": "m.png", "--street-width": "64", "--grey-weights": "w.txt"}})

    def test_UsesARunningCluster(self):
        self.make_lot()
        head, worker = (["/usr/bin/python3", "-m", f"distributed.cli.dask_{what}", "--scheduler-file",
                         self.path("scheduler.json"), "--host", "127.0.0.1"] for what in ("scheduler", "worker"))
        for arguments in (head + ["--port", "0", "--no-dashboard", "--dashboard-address", "127.0.0.1:0"],
                          worker + ["--nthreads", "2", "--no-dashboard", "--local-directory", self.path("scratch")]):
            started = subprocess.Popen(arguments, cwd=self.folder, env=self.surroundings(), stderr=subprocess.DEVNULL)
            self.addCleanup(started.wait)
            self.addCleanup(started.terminate)
        wait_for(lambda: os.path.exists(self.path("scheduler.json")) and self.read("scheduler.json").endswith(b"}"),
                 "the scheduler")
        address = json.loads(self.read("scheduler.json"))["address"]
        ended = self.batch("--scheduler", address, "lot.txt", "found.jsonl", where=())
        self.assertEqual(ended.returncode, 1, ended.stderr)
        self.assertEqual(self.read("found.jsonl"), self.serial())

    def test_SaysWhatIsWrongWithACall(self):
        self.make_lot()
        wrong = self.batch("lot.txt", "found.jsonl", command=COMMAND, options=["find", "--width", "0"],
                           where=("--workers", "1"))
        self.assertEqual((wrong.returncode, wrong.stderr.decode()), (
            2, "qvstreet: --width: '0' is not allowed; allowed is X or X,Y, numbers greater than 0\n"))
        missing = self.batch("lot.txt", "found.jsonl", command="/no/qvstreet", where=("--workers", "1"))
        self.assertEqual((missing.returncode, missing.stderr.decode()), (
            2, "batch_dask.py: '/no/qvstreet': cannot be used on a worker: No such file or directory; allowed is a command "
               "and a working folder that all workers have\n"))
        self.assertEqual(self.read("found.jsonl"), b"")
        with open(self.path("found.jsonl"), "wb") as file:
            file.write(b'{"image":"lot/01 lane.pgm","width":3}\n')
        for arguments, options, words in (
                (("lot.txt", "found.jsonl"), OPTIONS, "'found.jsonl': its line 1 is about 'lot/01 lane.pgm', where the "
                                                      "list has 'lot/00 lane.pgm'"),
                (("none.txt", "new.jsonl"), OPTIONS, "'none.txt': cannot be read: No such file or directory"),
                (("lot.txt", "new.jsonl"), ["find", "--json=x"], "--json=x: belongs to the batch"),
                (("lot.txt", "new.jsonl"), ["find", "--overlay", "{n}.svg"], "{n}.svg: a worker knows no number"),
                (("--chunk", "0", "lot.txt", "new.jsonl"), OPTIONS, "argument --chunk: '0' is not allowed; allowed is a "
                                                                    "whole number from 1 to 999999999")):
            ended = self.batch(*arguments, options=options)
            self.assertEqual(ended.returncode, 2)
            self.assertIn(words, ended.stderr.decode())
        self.assertEqual(glob.glob(self.path("new.jsonl")), [])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *(f"Batches.test_{case}" for case in sys.argv[3:])])
