#!/usr/bin/python3
"""Runs `qvstreet` over many images on a Dask cluster.

    batch_dask.py IMAGES OUTPUT -- find --mode coarse --width 20

IMAGES is a folder, or a list with one path per line. OUTPUT gets one line of JSON per image, in the order of the list:
the lines that `qvstreet find --files-from LIST` would write. Run the same call again after a stop of any kind, and it
goes on behind the last whole line. OUTPUT.options keeps the options of the first run, and other ones are refused.

Only paths travel to the workers and only JSON comes back: the images have to be found under the same paths everywhere,
and `qvstreet` has to be installed where the workers run. Needs Debian's python3-distributed.
"""

import argparse
import collections
import fcntl
import json
import logging
import os
import re
import signal
import subprocess
import sys
import time
import uuid

IMAGE_ENDINGS = (".png", ".tif", ".tiff", ".bmp", ".pgm", ".ppm", ".jpg", ".jpeg")

# So often may an image take its worker, or the command itself, down before it is given up.
TRIES = 3

# Chunks in the cluster for each thread of it: one at work, one to take next, one that waits for an older one's result.
CHUNKS_PER_THREAD = 3

# Options that change no line of the results, and options whose files may lie elsewhere next time.
WITHOUT_EFFECT = ("--overlay",)
NAMING_FILES = ("--mask", "--grey-weights")

# Exit statuses 0 to 4 are those of the command.
STOPPED = 5


class BatchError(Exception):
    """Ends the batch; the message is for the user."""

    def __init__(self, status, message):
        super().__init__(message)
        self.status = status


# --- on a worker ------------------------------------------------------------------------------------------------------


def run_chunk(command, folder, paths, tries):
    """One line of JSON for each path; with them what the command said, and its status.

    The command writes a line as soon as an image is done. If a signal ends it, the image behind its last whole line is
    the one that did it: that one is tried again, and gets a line with an error in the end.
    """
    lines, said, failures = [], b"", 0
    while True:
        rest = paths[len(lines):]
        ended = subprocess.run(command + ["--files-from", "-"], input=b"".join(path + b"\0" for path in rest),
                               cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        written = [line for line in ended.stdout.splitlines(keepends=True) if line.endswith(b"\n")]
        lines += written
        said += ended.stderr
        if ended.returncode == 2 or len(lines) >= len(paths):
            return lines, said, ended.returncode
        failures = 1 if written else failures + 1
        if failures == tries:
            reason = f"signal {-ended.returncode}" if ended.returncode < 0 else f"status {ended.returncode}"
            lines.append(error_line(paths[len(lines)], f"ended the command {tries} times, at last with {reason}"))
            failures = 0
        if len(lines) >= len(paths):
            return lines, said, 1


def error_line(path, reason):
    """A line for an image that the command itself could not tell about."""
    name = path.decode("utf-8", "replace")
    text = json.dumps({"image": name, "error": reason}, ensure_ascii=False, separators=(",", ":"))
    return text.encode() + b"\n"


# --- images and what is done already ----------------------------------------------------------------------------------


def list_images(source):
    """The paths of all images, as bytes: of a folder and those below it in alphabetical order, or of a list."""
    if os.path.isdir(source):
        paths = [os.path.join(folder, name)
                 for folder, _, names in os.walk(os.fsencode(source)) for name in names
                 if name.lower().endswith(tuple(ending.encode() for ending in IMAGE_ENDINGS))]
        return sorted(paths)
    try:
        with sys.stdin.buffer if source == "-" else open(source, "rb") as file:
            text = file.read()
    except OSError as error:
        raise BatchError(2, f"{source!r}: cannot be read: {error.strerror}; allowed is a folder, a file with the path "
                            "of one image in each line, or - for standard input") from error
    if b"\0" in text:
        return [path for path in text.split(b"\0") if path]
    lines = [line[:-1] if line.endswith(b"\r") else line for line in text.split(b"\n")]
    return [path for path in lines if path]


class Output:
    """The file of results: whole lines, one for each image so far."""

    def __init__(self, path, images):
        self.done = self.failed = self.unreadable = 0
        self._path = path
        try:
            self._file = open(path, "a+b", buffering=0)
            fcntl.flock(self._file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError as error:
            raise BatchError(2, f"{path!r}: another batch is writing it; allowed is another file") from error
        except OSError as error:
            raise BatchError(4, f"{path!r}: cannot be written: {error.strerror}") from error
        self._take_up(images)

    def _take_up(self, images):
        self._file.seek(0)
        whole = 0
        with open(self._file.fileno(), "rb", closefd=False) as reader:
            for line in reader:
                if not line.endswith(b"\n"):
                    break  # torn by a stop
                self._check(line, images)
                self._count(line)
                whole += len(line)
        if self._file.seek(0, os.SEEK_END) > whole:
            self._file.truncate(whole)

    def _check(self, line, images):
        """Refuses a file that was begun with other images."""
        wanted = images[self.done].decode("utf-8", "replace") if self.done < len(images) else None
        found = image_of(line)
        if wanted is None or found is None or one_mark(found) != one_mark(wanted):
            raise BatchError(2, f"{self._path!r}: its line {self.done + 1} is about {found!r}, where the list has "
                                f"{wanted!r}; allowed is the output of an earlier run with the same images, or a new "
                                "file")

    def _count(self, line):
        self.done += 1
        if b'"error":' not in line:
            return
        record = json.loads(line)
        self.failed += "error" in record
        self.unreadable += "error" in record and "width" not in record

    def write(self, lines):
        data = memoryview(b"".join(lines))
        try:
            while data:
                data = data[self._file.write(data):]
        except OSError as error:
            raise BatchError(4, f"{self._path!r}: cannot be written: {error.strerror}; run the same call again when "
                                "there is room") from error
        for line in lines:
            self._count(line)


def options_record(options):
    """The options of the command as one line of JSON: in one order however they were written, without the folders of this
    machine and without what changes no result."""
    record, others, rest = {}, [], list(options[1:])
    while rest:
        name, equals, value = rest.pop(0).partition("=")
        if not name.startswith("--") or name == "--no-seconds":
            others.append(name + equals + value)
            continue
        if not equals and rest:
            value = rest.pop(0)
        if name in NAMING_FILES:
            value = os.path.basename(value)
        if name not in WITHOUT_EFFECT:
            record[name] = value
    return json.dumps({"subcommand": options[0], "options": record, "others": sorted(others)}, sort_keys=True)


def keep_options(path, options, done):
    """Writes the options beside the results, or holds them against those that the first results were found with."""
    if not os.path.isfile(path):
        return  # a device keeps nothing that could go on
    record, file_name = options_record(options), path + ".options"
    try:
        if done == 0:
            with open(file_name + ".tmp", "w", encoding="utf-8", errors="surrogateescape") as file:
                file.write(record + "\n")
            os.replace(file_name + ".tmp", file_name)
            return
        with open(file_name, encoding="utf-8", errors="surrogateescape") as file:
            former = file.read().rstrip("\n")
    except FileNotFoundError:
        return  # results from elsewhere: whoever put them there answers for their options
    except OSError as error:
        raise BatchError(4, f"{file_name!r}: cannot be read or written: {error.strerror}") from error
    if former != record:
        raise BatchError(2, f"{path!r}: has {done} results of other options: {file_name!r} says {former}, this call "
                            f"{record}; allowed are the same options, or a new file")


def image_of(line):
    start = b'{"image":'
    if not line.startswith(start):
        return None
    try:
        name = json.JSONDecoder().raw_decode(line.decode("utf-8", "replace"), len(start))[0]
    except ValueError:
        return None
    return name if isinstance(name, str) else None


def one_mark(name):
    """Bytes that are no UTF-8 become more or fewer replacement marks, depending on who replaces them."""
    return re.sub("\ufffd+", "\ufffd", name)


# --- the batch --------------------------------------------------------------------------------------------------------


class Progress:
    """A line on standard error, if that is a terminal."""

    def __init__(self, done, total):
        self._shown = sys.stderr.isatty()
        self._start, self._first, self._total = time.monotonic(), done, total

    def show(self, done, failed):
        if not self._shown:
            return
        rate = (done - self._first) / max(time.monotonic() - self._start, 1e-3)
        left = f", {(self._total - done) / rate:.0f} s left" if rate > 0 else ""
        bar = "#" * (30 * done // max(self._total, 1))
        sys.stderr.write(f"\r\x1b[K[{bar:30}] {done}/{self._total}, {failed} failed, {rate:.1f}/s{left}")
        sys.stderr.flush()

    def clear(self):
        if self._shown:
            sys.stderr.write("\r\x1b[K")
            sys.stderr.flush()


class Chunk:
    """Neighbours in the list, on their way through the cluster."""

    def __init__(self, paths):
        self.paths = paths
        self.future = None


class Batch:
    def __init__(self, client, command, images, output, chunk_size):
        from distributed.scheduler import KilledWorker  # takes a second: not before a call has proved right
        self._killed_worker = KilledWorker
        self._client, self._command, self._output = client, command, output
        self._images, self._chunk_size = images, chunk_size
        self._folder = os.getcwd()
        self._next = output.done
        self._flying = collections.deque()  # chunks in the order of the list
        self._known = set()                 # what the command says of the whole call
        self.status = 0
        self.progress = Progress(output.done, len(images))

    def run(self):
        # A call without images tells whether the options are right before any work is done.
        self._say(self._result(Chunk([])))
        while self._flying or self._next < len(self._images):
            self._fill()
            chunk = self._flying.popleft()
            lines = self._result(chunk)
            self._output.write(lines[0])
            self._say(lines)
            self.progress.show(self._output.done, self._output.failed)

    def _fill(self):
        threads = sum(worker["nthreads"] for worker in self._client.scheduler_info()["workers"].values())
        while len(self._flying) < CHUNKS_PER_THREAD * max(threads, 1) and self._next < len(self._images):
            chunk = Chunk(self._images[self._next:self._next + self._chunk_size])
            self._next += len(chunk.paths)
            self._submit(chunk)
            self._flying.append(chunk)

    def _submit(self, chunk):
        chunk.future = self._client.submit(run_chunk, self._command, self._folder, chunk.paths, TRIES,
                                           key=f"qvstreet-{uuid.uuid4().hex}")

    def _result(self, chunk):
        if chunk.future is None:
            self._submit(chunk)
        try:
            result = chunk.future.result()
        except self._killed_worker:
            return self._one_by_one(chunk)
        except OSError as error:
            if not isinstance(error, FileNotFoundError | PermissionError | NotADirectoryError):
                raise
            raise BatchError(2, f"{error.filename!r}: cannot be used on a worker: {error.strerror}; allowed is a "
                                "command and a working folder that all workers have") from error
        if result[2] == 2:
            raise BatchError(2, result[1].decode(errors="replace").rstrip())
        if result[2] == 4:
            self.status = 4
        return result

    def _one_by_one(self, chunk):
        """An image took down the workers of this chunk, or of one that was with it. With nothing else in the cluster,
        each image answers for itself."""
        for other in self._flying:
            other.future.exception()  # waits for its end, whatever that is
        lines, said, status = [], b"", 0
        for path in chunk.paths:
            single = Chunk([path])
            self._submit(single)
            try:
                result = single.future.result()
                lines, said, status = lines + result[0], said + result[1], max(status, result[2])
            except self._killed_worker as error:
                lines.append(error_line(path, f"ended its worker {error.allowed_failures + 1} times"))
        if status == 4:
            self.status = 4
        return lines, said, status

    def _say(self, result):
        """Passes on what the command said, but only once what is about the call and not about an image."""
        messages = result[1].splitlines(keepends=True)
        new = [message for message in messages if message not in self._known]
        self._known.update(message for message in messages if not message.startswith(b"qvstreet: '"))
        if new:
            self.progress.clear()
            sys.stderr.buffer.write(b"".join(new))
            sys.stderr.flush()


def parse_call(arguments):
    parser = argparse.ArgumentParser(
        prog="batch_dask.py", usage="%(prog)s [OPTIONS] IMAGES OUTPUT -- SUBCOMMAND [OPTIONS OF QVSTREET]",
        description="Runs qvstreet over many images on a Dask cluster.", allow_abbrev=False,
        epilog="Run the same call again after a stop: it goes on behind the last whole line of OUTPUT.")
    parser.add_argument("images", metavar="IMAGES", help="a folder, or a list with one path per line; - is standard input")
    parser.add_argument("output", metavar="OUTPUT", help="file of one line of JSON per image, in the order of the list")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--scheduler", metavar="ADDRESS", help="a running cluster, such as tcp://host:8786")
    where.add_argument("--workers", metavar="N", type=positive, help="processes on this machine (default: its cores)")
    parser.add_argument("--chunk", metavar="N", type=positive, default=16, help="images per task (default 16)")
    parser.add_argument("--command", metavar="FILE", default="qvstreet", help="the command on the workers")
    parser.add_argument("--scratch", metavar="FOLDER", help="where local workers keep files (default: a temporary one)")
    split = arguments.index("--") if "--" in arguments else len(arguments)
    call = parser.parse_args(arguments[:split])
    call.options = arguments[split + 1:]
    if not call.options or call.options[0].startswith("-"):
        parser.error("behind -- a subcommand of qvstreet is missing; allowed is for example: -- find --mode coarse")
    for option in call.options:
        if option.split("=")[0] in ("--files-from", "--shard", "--json", "--trace", "--report"):
            parser.error(f"{option}: belongs to the batch; allowed are the other options of qvstreet {call.options[0]}")
        if "{n}" in option:
            parser.error(f"{option}: a worker knows no number of an image; allowed is {{name}}")
    return call


def positive(text):
    if not re.fullmatch("[0-9]{1,9}", text) or int(text) < 1:
        raise argparse.ArgumentTypeError(f"{text!r} is not allowed; allowed is a whole number from 1 to 999999999")
    return int(text)


def check_names(options, images):
    """Pictures of different chunks must not go to one file; the command sees one chunk only."""
    if not any("{name}" in option for option in options):
        return
    seen = {}
    for image in images:
        stem = os.path.splitext(os.path.basename(image))[0]
        if stem in seen:
            raise BatchError(2, f"{{name}} would be the same for {os.fsdecode(seen[stem])!r} and "
                                f"{os.fsdecode(image)!r}; allowed are images of different names")
        seen[stem] = image


def connect(call):
    """A client of the cluster, and the cluster if it is our own."""
    try:
        import dask
        import distributed
    except ImportError as error:
        raise BatchError(2, f"{error}; Debian has it in the package python3-distributed") from error
    # An image that takes down its worker has its last try then; a worker is handed one task at a time.
    dask.config.set({"distributed.scheduler.allowed-failures": TRIES - 1, "distributed.scheduler.worker-saturation": 1.0})
    if call.scheduler:
        return distributed.Client(call.scheduler, timeout="20s"), None
    cluster = distributed.LocalCluster(
        host="127.0.0.1", scheduler_port=0, dashboard_address="127.0.0.1:0", n_workers=call.workers or os.cpu_count(),
        threads_per_worker=1, memory_limit=0, local_directory=call.scratch, silence_logs=logging.CRITICAL)
    return distributed.Client(cluster), cluster


def status_of(output, total, status):
    if status:
        return status
    if output.unreadable and output.unreadable == total:
        return 3
    return 1 if output.failed else 0


def run_batch(call):
    images = list_images(call.images)
    check_names(call.options, images)
    output = Output(call.output, images)
    keep_options(call.output, call.options, output.done)
    if output.done:
        print(f"{call.output}: {output.done} of {len(images)} images are done", file=sys.stderr)
    if output.done == len(images):
        return status_of(output, len(images), 0)
    client, cluster = connect(call)
    batch = Batch(client, [call.command] + call.options, images, output, call.chunk)
    try:
        batch.run()
    finally:
        batch.progress.clear()
        client.close()
        if cluster is not None:
            cluster.close()
    return status_of(output, len(images), batch.status)


def stop(number, _frame):
    raise KeyboardInterrupt(number)


def main():
    call = parse_call(sys.argv[1:])
    signal.signal(signal.SIGTERM, stop)
    again = "run the same call again to go on"
    try:
        return run_batch(call)
    except BatchError as error:
        print(error if str(error).startswith("qvstreet:") else f"batch_dask.py: {error}", file=sys.stderr)
        return error.status
    except KeyboardInterrupt:
        print(f"batch_dask.py: stopped; {again}", file=sys.stderr)
        return STOPPED
    except Exception as error:  # whatever the cluster may end with
        print(f"batch_dask.py: the cluster failed: {type(error).__name__}: {error}; {again}", file=sys.stderr)
        return STOPPED


def become_worker():
    """In the processes of our own cluster: an interrupt is for the batch, which ends them, and what Dask says about their
    end is for nobody."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    os.dup2(os.open(os.devnull, os.O_WRONLY), 2)


if __name__ == "__mp_main__":
    become_worker()
elif __name__ == "__main__":
    sys.exit(main())
