#!/usr/bin/env python3
"""Every output of the command against everything that keeps an output from being written.

    outputs.py COMMAND

Each call has to end with status 4 and a message that names the output, and to leave no file that was not there before and
none changed; the trace alone may be left as far as it came. Where root is needed and not to be had, a check is left out;
the last line says how many. Prints `outputs: FIGURES: ok` and ends with 0, or says what went wrong and ends with 1.
"""

import fcntl
import os
import resource
import select
import shutil
import stat
import subprocess
import sys
import tempfile
import threading

WIDTH, HEIGHT = 220, 160
NOBODY = 65534
SET_PIPE_SIZE = 1031  # F_SETPIPE_SZ, which this Python may not name
SECONDS = 60
PAGE_SPARE = 400


class Failed(Exception):
    """A call did not do what it has to."""


def wafer():
    """Two dark streets of 20 pels across textured dies, as a PGM."""
    pels = bytearray()
    for y in range(HEIGHT):
        for x in range(WIDTH):
            street = 90 <= x < 110 or 60 <= y < 80
            pels.append((60 if street else 170 + (x // 9 + y // 7) % 3 * 12) + (x * 7 + y * 13) % 5)
    return b"P5 %d %d 255\n" % (WIDTH, HEIGHT) + bytes(pels)


def lane():
    """One street along the rows with a structure near its right end."""
    pels = bytearray()
    for y in range(60):
        for x in range(300):
            grey = 150 if 14 <= y < 46 else 60 + (x * 31 + y * 17) % 90
            pels.append((x * 29 + y * 41) % 256 if x > 220 and 14 <= y < 46 else grey)
    return b"P5 300 60 255\n" + bytes(pels)


class Output:
    """One kind of output: the call that writes it, and the suffix of its file."""

    def __init__(self, name, suffix, arguments):
        self.name = name
        self.suffix = suffix
        self.arguments = arguments

    def call(self, path):
        # The option takes the path without the suffix of the trace.
        value = path[: -len(".trace")] if self.suffix == ".trace" else path
        return [argument.replace("TARGET", value) for argument in self.arguments]


def outputs(image, street):
    find = ["find", "--mode", "edge", "--width", "20", "--sharpness", "2", "--no-seconds"]
    blank = ["blank", "--street-width", "32", "--min-length", "40", "--no-seconds"]
    inspect = ["inspect", "--width", "20", "--sharpness", "2"]
    quiet = ["--json", "/dev/null"]
    return [
        Output("json", ".json", find + ["--json", "TARGET", image]),
        Output("json of blank", ".json", blank + ["--json", "TARGET", street]),
        Output("overlay svg", ".svg", find + quiet + ["--overlay", "TARGET", image]),
        Output("overlay png", ".png", find + quiet + ["--overlay", "TARGET", image]),
        Output("overlay of blank", ".png", blank + quiet + ["--overlay", "TARGET", street]),
        Output("overlay measured", ".svg", find + quiet + ["--measure", "--overlay", "TARGET", image]),
        Output("report measured", ".html", inspect + ["--measure", "--report", "TARGET", image]),
        Output("report", ".html", inspect + ["--report", "TARGET", image]),
        Output("report of blank", ".html", blank + quiet + ["--report", "TARGET", street]),
        Output("trace", ".trace", find + quiet + ["--trace", "TARGET", image]),
    ]


class Checks:
    def __init__(self, command, folder):
        self.command = command
        self.folder = folder
        self.calls = 0
        self.left_out = []

    def run(self, arguments, limit=None, user=None, **standards):
        def prepare():
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            if limit is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
            if user is not None:
                os.setgroups([])
                os.setgid(user)
                os.setuid(user)

        self.calls += 1
        standards.setdefault("stdout", subprocess.PIPE)
        standards.setdefault("stderr", subprocess.PIPE)
        return subprocess.run([self.command] + arguments, preexec_fn=prepare, stdin=subprocess.DEVNULL,
                              timeout=SECONDS, restore_signals=True, check=False, **standards)

    def refused(self, what, done, named):
        """Status 4 and the name in the message."""
        error = (done.stderr or b"").decode()
        if done.returncode != 4:
            raise Failed(f"{what}: status {done.returncode} instead of 4; {error}")
        if done.stderr is not None and named not in error:
            raise Failed(f"{what}: the message does not name {named}: {error}")

    def target(self, output, where, what, named=None, before=None, **how):
        """A call that cannot write to `where`/out.suffix leaves the folder as it was."""
        path = os.path.join(where, "out" + output.suffix)
        names = sorted(os.listdir(where)) if os.path.isdir(where) else None
        done = self.run(output.call(path), **how)
        what = f"{output.name}, {what}"
        self.refused(what, done, named or path)
        if output.suffix == ".trace":
            if names is not None and os.path.isfile(path) and not os.path.islink(path) and names != sorted(os.listdir(where)):
                os.remove(path)
            return
        if names is not None and sorted(os.listdir(where)) != names:
            raise Failed(f"{what}: left {sorted(os.listdir(where))} where {names} was")
        if before is not None:
            with open(path, "rb") as file:
                if file.read() != before:
                    raise Failed(f"{what}: the old file was changed")

    def written(self, output, where, **how):
        """The size of the output in a call that can write it; the file is removed."""
        path = os.path.join(where, "out" + output.suffix)
        done = self.run(output.call(path), **how)
        if done.returncode != 0:
            raise Failed(f"{output.name}: status {done.returncode} although nothing is in the way; {done.stderr.decode()}")
        size = os.path.getsize(path)
        os.remove(path)
        return size

    def fresh(self, name):
        where = os.path.join(self.folder, name.replace(" ", "_"))
        os.mkdir(where)
        return where


def full_devices(checks, output):
    where = checks.fresh("device " + output.name)
    os.symlink("/dev/full", os.path.join(where, "out" + output.suffix))
    checks.target(output, where, "/dev/full behind a link")


def size_limits(checks, output, size):
    """Each limit below the size, and the size itself, which is enough. Pages tell times, of more or fewer digits."""
    spare = PAGE_SPARE if output.suffix == ".html" else 0
    where = checks.fresh("limit " + output.name)
    old = b"the former contents"
    # The trace opens its file beforehand, so that it always ends up cut.
    for limit in sorted({0, 1, 100, size // 3, size // 2, size - 1 - spare}):
        if limit < size:
            checks.target(output, where, f"a limit of {limit} bytes of {size}", limit=limit)
    if output.suffix != ".trace":
        with open(os.path.join(where, "out" + output.suffix), "wb") as file:
            file.write(old)
        checks.target(output, where, "a limit, over an old file", limit=size // 2, before=old)
    checks.written(output, where, limit=size + spare)


def wrong_paths(checks, output):
    where = checks.fresh("paths " + output.name)
    path = os.path.join(where, "out" + output.suffix)
    os.mkdir(path)
    checks.target(output, where, "a path that is a folder")
    os.rmdir(path)
    os.symlink(where, path)
    checks.target(output, where, "a link to a folder")
    os.remove(path)
    os.symlink(path, path)
    checks.target(output, where, "a link to itself")
    os.remove(path)
    checks.target(output, os.path.join(where, "missing"), "a folder that is not there")
    with open(os.path.join(where, "file"), "wb"):
        pass
    checks.target(output, os.path.join(where, "file"), "a folder that is a file")
    long_name = os.path.join(where, "n" * 260)
    done = checks.run(output.call(long_name + output.suffix))
    checks.refused(f"{output.name}, a name that is too long", done, long_name)
    if sorted(os.listdir(where)) != ["file"]:
        raise Failed(f"{output.name}: wrong paths left {os.listdir(where)}")


def pipes(checks, output, size):
    """A named pipe whose reader takes one byte and goes."""
    where = checks.fresh("pipe " + output.name)
    path = os.path.join(where, "out" + output.suffix)
    os.mkfifo(path)
    reader = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
    room = fcntl.fcntl(reader, SET_PIPE_SIZE, 4096)

    def read_one():
        # Without a writer a read would end at once.
        select.select([reader], [], [], SECONDS)
        os.read(reader, 1)
        os.close(reader)

    leave = threading.Thread(target=read_one)
    leave.start()
    done = checks.run(output.call(path))
    if not stat.S_ISFIFO(os.stat(path).st_mode):
        raise Failed(f"{output.name}: replaced a pipe")
    # What fits into the pipe may have been written before the reader went.
    if size > 2 * room or done.returncode != 0:
        checks.refused(f"{output.name}, a pipe whose reader goes", done, path)
    leave.join(SECONDS)


def standard_output(checks, image):
    find = ["find", "--mode", "edge", "--width", "20", image]
    for arguments in (find, ["--help"], ["--version"], ["find", "--help"]):
        what = "standard output of " + " ".join(arguments[:2])
        with open("/dev/full", "wb") as full:
            checks.refused(what + ", full", checks.run(arguments, stdout=full), "standard output")
        reading, writing = os.pipe()
        os.close(reading)
        done = checks.run(arguments, stdout=writing)
        os.close(writing)
        checks.refused(what + ", a closed pipe", done, "standard output")
        # Nobody can be told why, but the status stands.
        with open("/dev/full", "wb") as full:
            checks.refused(what + ", both full", checks.run(arguments, stdout=full, stderr=full), "")
    with tempfile.TemporaryFile(dir=checks.folder) as file:
        checks.refused("standard output, a limit", checks.run(find, stdout=file, limit=10), "standard output")


def several_images(checks, image):
    """What fails for one image is that image's alone."""
    where = checks.fresh("several")
    for name in ("a", "b", "c"):
        shutil.copy(image, os.path.join(where, name + ".pgm"))
    os.mkdir(os.path.join(where, "b.svg"))
    done = checks.run(["find", "--mode", "edge", "--width", "20", "--overlay", os.path.join(where, "{name}.svg")]
                      + [os.path.join(where, name + ".pgm") for name in ("a", "b", "c")])
    checks.refused("the second picture of three", done, os.path.join(where, "b.svg"))
    if done.stdout.count(b"\n") != 3:
        raise Failed("the second picture of three: not all three images have their line of JSON")
    if sorted(os.listdir(where)) != ["a.pgm", "a.svg", "b.pgm", "b.svg", "c.pgm", "c.svg"]:
        raise Failed(f"the second picture of three: {os.listdir(where)}")


def full_disks(checks, every, sizes):
    """A file system of a few pages; needs root and a mount of our own."""
    where = checks.fresh("disk")
    pages = resource.getpagesize()
    for output, size in zip(every, sizes):
        # Room for one page, which is more than some outputs need; a filler takes it from those.
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={4 * pages}", "none", where], check=False,
                                 stderr=subprocess.DEVNULL).returncode == 0
        if not mounted:
            checks.left_out.append("full disk")
            checks.left_out.append("read-only disk")
            return
        try:
            free = max(0, min(4, (size - 1) // pages)) * pages
            with open(os.path.join(where, "filler"), "wb", buffering=0) as filler:
                filler.write(b"x" * (4 * pages - free))
            checks.target(output, where, f"a disk with {free} bytes for {size}")
            if output.suffix != ".trace":
                with open(os.path.join(where, "filler"), "r+b") as filler:
                    filler.truncate(0)
                old = b"old"
                with open(os.path.join(where, "out" + output.suffix), "wb") as file:
                    file.write(old)
                with open(os.path.join(where, "filler"), "wb", buffering=0) as filler:
                    filler.write(b"x" * max(0, 3 * pages - free))
                if free < 3 * pages:
                    checks.target(output, where, "a full disk, over an old file", before=old)
                os.remove(os.path.join(where, "out" + output.suffix))
            subprocess.run(["mount", "-o", "remount,ro", where], check=True)
            checks.target(output, where, "a disk that is read-only")
        finally:
            subprocess.run(["umount", where], check=True)


def forbidden_folders(checks, every, root):
    """A folder without the right to write, for somebody who is not root."""
    user = NOBODY if root else None
    for output in every:
        where = checks.fresh("forbidden " + output.name)
        os.chmod(where, 0o555)
        checks.target(output, where, "a read-only folder", user=user)
        os.chmod(where, 0o777)
        path = os.path.join(where, "out" + output.suffix)
        with open(path, "wb") as file:
            file.write(b"old")
        os.chmod(path, 0o444)
        checks.target(output, where, "a read-only file", before=b"old", user=user)


def check(command, folder):
    # Somebody who is not root has to reach the command and the images.
    os.chmod(folder, 0o755)
    own_command = os.path.join(folder, "qvstreet")
    shutil.copy(command, own_command)
    image, street = os.path.join(folder, "wafer.pgm"), os.path.join(folder, "street.pgm")
    for path, content in ((image, wafer()), (street, lane())):
        with open(path, "wb") as file:
            file.write(content)
    checks = Checks(own_command, folder)
    every = outputs(image, street)
    plain = checks.fresh("plain")
    sizes = [checks.written(output, plain) for output in every]
    for output, size in zip(every, sizes):
        full_devices(checks, output)
        size_limits(checks, output, size)
        wrong_paths(checks, output)
        pipes(checks, output, size)
    standard_output(checks, image)
    several_images(checks, image)
    full_disks(checks, every, sizes)
    forbidden_folders(checks, every, os.geteuid() == 0)
    left_out = f"; left out: {', '.join(checks.left_out)}" if checks.left_out else ""
    return f"{len(every)} outputs, {checks.calls} calls{left_out}"


def main():
    command = os.path.abspath(sys.argv[1])
    # A mount has to be gone with us, and nobody else is to see it.
    if os.geteuid() == 0 and "QVSTREET_OWN_MOUNTS" not in os.environ and shutil.which("unshare"):
        if subprocess.run(["unshare", "-m", "true"], check=False, stderr=subprocess.DEVNULL).returncode == 0:
            os.environ["QVSTREET_OWN_MOUNTS"] = "1"
            os.execvp("unshare", ["unshare", "-m", sys.executable, "-B"] + sys.argv)
    with tempfile.TemporaryDirectory(prefix="qvstreet-outputs-") as folder:
        try:
            print(f"outputs: {check(command, folder)}: ok")
        except Failed as failure:
            print(f"outputs: FAILED: {failure}")
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
