#!/usr/bin/python3
"""How well do the tests see? Plants small faults in the library, one at a time, and counts how many the tests catch.

    scripts/seeded_faults.py                       200 faults, the table and the list of those nobody noticed
    scripts/seeded_faults.py --only 17 23          these again, for example after a test was written for them
    scripts/seeded_faults.py --seed 7 --faults 50  others
    scripts/seeded_faults.py --among 'projection/edge_*' 'projection/street_*'
                                                   in these files alone

A fault is a flipped comparison, a dropped term, a constant that is one too large and the like, in a line of
qvstreet/**/*.cpp that the seed chooses. All faults are compiled at once into a copy of the tree, each as

    (qv_fault == 17 ? (left <= right) : (left < right))

and the environment variable QV_FAULT says which one a run has. First all tests have to pass without a fault. Then each
fault meets the tests of its folder, then the other test programs, the slowest last, until one fails, crashes or takes ten
times as long as it should: then it is caught.

Everything stays in build/seeded_faults/: report.txt is what is printed, faults.json has each fault with what caught it.
tests/soak/seeded_faults/equivalent.json names faults that change nothing, with the reason. They count as not caught.
Exits with 1 if fewer than 80 % were caught. Wants the Debian package python3-clang and Debian's own Python.
"""
import argparse
import concurrent.futures
import fnmatch
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
REPOSITORY = pathlib.Path(__file__).resolve().parent.parent
HELPERS = REPOSITORY / "tests" / "soak" / "seeded_faults"
sys.path.insert(0, str(HELPERS))
try:
    from places import places_of
except ImportError as problem:
    sys.exit(f"{problem}: this wants the Debian package python3-clang and Debian's own Python")

OUTPUT = REPOSITORY / "build" / "seeded_faults"
TREE = OUTPUT / "tree"
BUILD = OUTPUT / "build"
EQUIVALENT = HELPERS / "equivalent.json"

FOLDERS = ["platform", "frontend", "projection", "candidates", "streetfinder", "blankregion"]
# Beside the six that mirror the folders; those of tests/soak/ in their short form, which scripts/test.sh runs too.
FURTHER_PROGRAMS = ["tools/tools_tests", "endtoend/endtoend_tests", "soak/soak_content", "soak/soak_parameters",
                    "soak/soak_properties", "soak/soak_sizes", "soak/soak_measurement"]
LEAST_CAUGHT = 0.8

# Files that only write down what happened: at most this share of the faults goes there.
WRITERS = re.compile(r"(_records|diagnostics|_trace|_drawing|diagnosed_run|stage_watch|/display|/text|/persistent"
                     r"|/caliper_draw)\.cpp$")
WRITERS_SHARE = 0.1
# Most lines are a statement that could be dropped, and few of those would go unnoticed; comparisons are what tests miss.
WEIGHTS = {"drop a statement": 0.3, "comparison": 2.0, "and, or": 2.0, "drop a !": 2.0}

# A run may take this many times as long as without a fault, but not less than this many seconds.
TIMES_AS_LONG = 10
LEAST_SECONDS = 10
# More memory than any test takes; a fault that asks for all there is must not stop the machine.
MOST_BYTES = 12 << 30


# --- Choice -----------------------------------------------------------------------------------------------------------

def with_faults(name, faults):
    """The text of a file with all of its faults; none of them lies within another."""
    text = (REPOSITORY / name).read_bytes()
    for fault in sorted(faults, key=lambda fault: -fault["begin"]):
        replacement = fault["replacement"].replace("@", str(fault.get("number", 1)))
        text = text[:fault["begin"]] + replacement.encode() + text[fault["end"]:]
    return text


def compiles(name, faults):
    compiler = [os.environ.get("CXX", "c++"), "-x", "c++", "-std=c++17", "-fsyntax-only", "-Werror=vla", f"-I{REPOSITORY}",
                "-include", str(TREE / "qv_fault.h")]
    versions = [[]]
    if name.endswith("_kernels.cpp"):
        versions = [["-DQV_KERNELS=qv_kernels_plain", "-DQV_KERNELS_PLAIN=1"], ["-DQV_KERNELS=qv_kernels_baseline"],
                    ["-DQV_KERNELS=qv_kernels_v4", "-march=x86-64-v4"]]
    text = with_faults(name, faults)
    return all(subprocess.run([*compiler, *version, "-"], input=text, capture_output=True).returncode == 0
               for version in versions)


def only_compiling(name, faults):
    """Those that can be compiled. Runs in a process of its own."""
    if not faults or compiles(name, faults):
        return faults
    return [fault for fault in faults if compiles(name, [fault])]


def state_of_sources(*others):
    state = hashlib.sha256(repr(others).encode())
    for path in [HELPERS / "places.py", *sorted((REPOSITORY / "qvstreet").glob("*/*"))]:
        state.update(path.name.encode() + b"\0" + path.read_bytes())
    return state.hexdigest()


def choose(count, seed, among, jobs):
    """The choice is kept, for it takes minutes."""
    record = OUTPUT / "chosen.json"
    state = state_of_sources(count, seed, among)
    if record.exists():
        kept = json.loads(record.read_text())
        if kept["state"] == state:
            return kept["faults"]
    with concurrent.futures.ProcessPoolExecutor(jobs) as pool:
        faults = choose_anew(count, seed, among, pool)
    record.write_text(json.dumps(dict(state=state, faults=faults), indent=1))
    return faults


def choose_anew(count, seed, among, pool):
    names = sorted(str(path.relative_to(REPOSITORY)) for path in (REPOSITORY / "qvstreet").glob("*/*.cpp"))
    names = [name for name in names if any(fnmatch.fnmatch(name, f"qvstreet/{pattern}") for pattern in among)]
    if not names:
        sys.exit(f"no source file of qvstreet/ is among {' '.join(among)}")
    places = dict(zip(names, pool.map(places_of, names)))
    by_line = {}
    for name in names:
        for place in places[name]:
            by_line.setdefault((name, place["line"]), []).append(place)
    print(f"{sum(map(len, places.values()))} possible faults in {len(by_line)} lines of {len(names)} files", flush=True)

    # Each line throws dice of its own, so that an edit elsewhere does not change what is chosen here.
    dice, texts = {}, {}
    for name, line in sorted(by_line):
        if name not in texts:
            texts[name] = (REPOSITORY / name).read_text().splitlines()
        dice[(name, line)] = random.Random(f"{seed} {name} {texts[name][line - 1]}")
    lines = sorted(by_line, key=lambda place: (dice[place].random(), place))
    chosen, refused = [], set()
    while True:
        # Each line has one turn.
        for name, line in lines:
            if len(chosen) == count:
                break
            if (name, line) in refused or any((fault["file"], fault["line"]) == (name, line) for fault in chosen):
                continue
            if WRITERS.search(name) and sum(bool(WRITERS.search(fault["file"])) for fault in chosen) >= int(
                    WRITERS_SHARE * count):
                continue
            here = by_line[(name, line)]
            kinds = sorted({place["kind"] for place in here})
            weights = [WEIGHTS.get(kind, 1.0) for kind in kinds]
            turn = dice[(name, line)]
            if sum(weights) < turn.random():
                continue
            kind = turn.choices(kinds, weights)[0]
            place = turn.choice([place for place in here if place["kind"] == kind])
            if any(fault["file"] == name and place["begin"] < fault["end"] and fault["begin"] < place["end"]
                   for fault in chosen):
                continue
            chosen.append(place)
        touched = sorted({fault["file"] for fault in chosen})
        groups = [[fault for fault in chosen if fault["file"] == name] for name in touched]
        kept = [fault for group in pool.map(only_compiling, touched, groups) for fault in group]
        refused |= {(fault["file"], fault["line"]) for fault in chosen} - {(fault["file"], fault["line"]) for fault in kept}
        if len(kept) in (count, len(chosen) if len(chosen) < count else -1):
            break
        chosen = kept
    kept.sort(key=lambda fault: (FOLDERS.index(fault["file"].split("/")[1]), fault["file"], fault["begin"]))
    for number, fault in enumerate(kept, 1):
        fault["number"] = number
    return kept


# --- Build ------------------------------------------------------------------------------------------------------------

def copy_tree():
    """Files that did not change keep their time, so that they are not compiled again."""
    TREE.mkdir(parents=True, exist_ok=True)
    for folder in ["qvstreet", "tests", "cmake", "tools", "examples", "packaging", "docs"]:
        if (REPOSITORY / folder).is_dir():
            copy_folder(REPOSITORY / folder, TREE / folder)
    for path in REPOSITORY.glob("*"):
        if path.is_file():
            write_if_other(TREE / path.name, path.read_bytes(), path)
    # Constant for the compiler, so that a loop asks once; kernel files need no more than this line.
    write_if_other(TREE / "qv_fault.h", b'extern const int qv_fault __asm__("qv_seeded_fault");\n')
    write_if_other(TREE / "qvstreet" / "platform" / "qv_fault.cpp",
                   b'#include <cstdlib>\nextern "C" int qv_seeded_fault;\nint qv_seeded_fault = 0;\n'
                   b'__attribute__((constructor(101))) static void qv_readFault() {\n'
                   b'    const char* number = std::getenv("QV_FAULT");\n'
                   b'    qv_seeded_fault = number ? std::atoi(number) : 0;\n}\n')


def copy_folder(source, target):
    wanted = {"qv_fault.cpp"}
    target.mkdir(parents=True, exist_ok=True)
    for path in sorted(source.iterdir()):
        if path.name == "__pycache__":
            continue
        wanted.add(path.name)
        if path.is_dir():
            copy_folder(path, target / path.name)
        # Those with faults in them are written later.
        elif not (path.suffix == ".cpp" and "qvstreet" in path.relative_to(REPOSITORY).parts[:1]):
            write_if_other(target / path.name, path.read_bytes(), path)
    for path in target.iterdir():
        if path.name not in wanted:
            shutil.rmtree(path) if path.is_dir() else path.unlink()


def write_if_other(path, data, like=None):
    if path.exists() and path.read_bytes() == data:
        return
    path.write_bytes(data)
    if like is not None:
        shutil.copymode(like, path)


def build(faults, programs, jobs):
    for path in sorted((REPOSITORY / "qvstreet").glob("*/*.cpp")):
        name = str(path.relative_to(REPOSITORY))
        write_if_other(TREE / name, with_faults(name, [fault for fault in faults if fault["file"] == name]))
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
    log = OUTPUT / "build.log"
    commands = [
        ["cmake", "-G", "Ninja", "-S", TREE, "-B", BUILD, "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
         "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1", f"-DCMAKE_CXX_FLAGS=-w -include {TREE}/qv_fault.h",
         "-DQVSTREET_BUILD_EXAMPLES=OFF", "-DQVSTREET_BUILD_PYTHON=OFF", "-DQVSTREET_INSTALL=OFF", *launcher],
        ["cmake", "--build", BUILD, "-j", str(jobs), "--target", *[pathlib.Path(program).name for program in programs]],
    ]
    with open(log, "wb") as out:
        for command in commands:
            if subprocess.run(list(map(str, command)), stdout=out, stderr=subprocess.STDOUT).returncode != 0:
                sys.exit(f"{command[0]} {command[1]} failed, see {log}\n" + log.read_text()[-3000:])


# --- Runs -------------------------------------------------------------------------------------------------------------

def limits():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_AS, (MOST_BYTES, MOST_BYTES))


def run(program, number, seconds):
    """None if all tests passed, otherwise in a few words what went wrong."""
    with tempfile.TemporaryDirectory(prefix="seeded_fault_") as folder:
        environment = dict(os.environ, QV_FAULT=str(number), GTEST_FAIL_FAST="1", TMPDIR=folder)
        with open(os.path.join(folder, "log"), "wb+") as log:
            command = [str(BUILD / "tests" / program), "--short" if "/soak_" in program else "--gtest_brief=1"]
            process = subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=log,
                                       stderr=subprocess.STDOUT, preexec_fn=limits, start_new_session=True)
            try:
                status = process.wait(timeout=seconds)
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
                return f"took over {seconds:.0f} s"
            if status == 0:
                return None
            log.seek(0)
            failed = re.search(rb"\[  FAILED  \] (\S+?),? ", log.read())
            if failed:
                return failed[1].decode()
            return f"signal {-status}" if status < 0 else f"exit status {status}"


def normal_times(programs):
    """Seconds of each without a fault; all of them have to pass."""
    times = {}
    for program in programs:
        begin = time.monotonic()
        problem = run(program, 0, 3600)
        times[program] = time.monotonic() - begin
        if problem:
            sys.exit(f"without a fault, {program} fails: {problem}")
    return times


def judge(fault, programs, times):
    folder = fault["file"].split("/")[1]
    own = f"{folder}_tests"
    order = [own] + sorted((program for program in programs if program != own),
                           key=lambda program: (program in FURTHER_PROGRAMS, times[program]))
    for program in order:
        problem = run(program, fault["number"], max(LEAST_SECONDS, TIMES_AS_LONG * times[program]))
        if problem:
            return f"{program}: {problem}"
    return None


# --- Report -----------------------------------------------------------------------------------------------------------

def identity(fault):
    """The same after an edit elsewhere."""
    return tuple(fault[part] for part in ("file", "source", "column", "original", "mutated"))


def read_equivalent():
    known = json.loads(EQUIVALENT.read_text()) if EQUIVALENT.exists() else []
    return {identity(fault): fault["reason"] for fault in known}


def table(faults, title, key):
    rows = []
    for name in sorted({key(fault) for fault in faults}, key=lambda name: FOLDERS.index(name) if name in FOLDERS else name):
        group = [fault for fault in faults if key(fault) == name]
        caught = sum(fault["caught"] is not None for fault in group)
        rows.append(f"{name:<20}{len(group):>8}{caught:>8}{len(group) - caught:>10}{100 * caught / len(group):>6.0f} %")
    return "\n".join([f"{title:<20}{'planted':>8}{'caught':>8}{'survived':>10}{'share':>8}", *rows])


def report(faults, seed):
    equivalent = read_equivalent()
    judged = [fault for fault in faults if "caught" in fault]
    survivors = [fault for fault in judged if fault["caught"] is None]
    lines = [table(judged, "folder", lambda fault: fault["file"].split("/")[1]), "",
             table(judged, "kind", lambda fault: fault["kind"]), ""]
    same = 0
    for fault in survivors:
        reason = equivalent.get(identity(fault))
        same += reason is not None
        lines.append(f"{fault['number']:>4} {fault['file']}:{fault['line']}: {fault['kind']}\n"
                     f"        {fault['original']}\n     -> {fault['mutated']}" +
                     (f"\n        changes nothing: {reason}" if reason else ""))
    caught = len(judged) - len(survivors)
    share = caught / max(1, len(judged))
    lines += ["", f"seeded faults: {caught} of {len(judged)} caught ({100 * share:.1f} %), {len(survivors)} survived, of "
                  f"which {same} change nothing (seed {seed})"]
    (OUTPUT / "report.txt").write_text("\n".join(lines) + "\n")
    print("\n".join(lines))
    return share >= LEAST_CAUGHT


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--faults", type=int, default=200, help="how many (200)")
    parser.add_argument("--seed", type=int, default=1, help="chooses them (1)")
    parser.add_argument("--among", nargs="+", default=["*"], metavar="PATTERN",
                        help="source files, as seen from qvstreet/ (all)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="runs at a time (one for each processor)")
    parser.add_argument("--only", type=int, nargs="+", metavar="NUMBER", help="runs these and takes the others as they were")
    parser.add_argument("--list", action="store_true", help="shows the faults and runs nothing")
    arguments = parser.parse_args()

    OUTPUT.mkdir(parents=True, exist_ok=True)
    copy_tree()
    faults = choose(arguments.faults, arguments.seed, arguments.among, arguments.jobs)
    if arguments.list:
        for fault in faults:
            print(f"{fault['number']:>4} {fault['file']}:{fault['line']}: {fault['kind']}: {fault['original']} -> "
                  f"{fault['mutated']}")
        return 0

    programs = [f"{folder}_tests" for folder in FOLDERS] + FURTHER_PROGRAMS
    build(faults, programs, arguments.jobs)
    times = normal_times(programs)
    print("without a fault: " + ", ".join(f"{program} {seconds:.1f} s" for program, seconds in times.items()), flush=True)

    record = OUTPUT / "faults.json"
    if arguments.only and record.exists():
        before = {identity(fault): fault["caught"] for fault in json.loads(record.read_text()) if "caught" in fault}
        for fault in faults:
            if identity(fault) in before:
                fault["caught"] = before[identity(fault)]
    to_run = [fault for fault in faults if not arguments.only or fault["number"] in arguments.only]
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as workers:
        running = {workers.submit(judge, fault, programs, times): fault for fault in to_run}
        for done in concurrent.futures.as_completed(running):
            fault = running[done]
            fault["caught"] = done.result()
            print(f"{fault['number']:>4} {fault['file']}:{fault['line']} {fault['kind']}: "
                  f"{fault['caught'] or 'SURVIVED: ' + fault['original'] + ' -> ' + fault['mutated']}", flush=True)
            record.write_text(json.dumps(faults, indent=1))
    return 0 if report(faults, arguments.seed) else 1


if __name__ == "__main__":
    sys.exit(main())
