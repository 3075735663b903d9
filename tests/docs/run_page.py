#!/usr/bin/env python3
"""Runs every block of code of one page as a reader would.

    run_page.py PAGE --source DIR --command FILE --libraries DIR --prefix DIR --module DIR --cxx FILE --scratch DIR

The page's blocks run in their order in one scratch folder, which holds a copy of examples/, the images wafer.png and
street.png, and nothing else. `qvstreet` is in PATH, `python3` is Debian's and finds the module.

    sh       run by bash -e
    python   all of a page in one interpreter
    cpp      a whole program is compiled, linked with the library and run; an excerpt has to stand in the file that the
             comment `<!-- from: FILE -->` above it names
    cmake    as an excerpt
    json, text, and the like: what something prints; not looked at

`<!-- not run: REASON -->` above a block leaves it out, `<!-- needs: NAME... -->` where there is no command of one of the names.
A block that imports a Python module, or runs a script that does, is left out where the module is absent, and so are the
blocks of Python behind it. Exit status 77 says that a page has code, none of which could run here.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import textwrap

PYTHON = "/usr/bin/python3"
SHOWN_ONLY = {"json", "text", "console", "html", "yaml", "diff", "ini"}
EXCERPTS = {"cmake", "cpp", "python"}
SECONDS = 240
SKIPPED = 77


class Block:
    def __init__(self, language, line, notes, text):
        self.language, self.line, self.notes, self.text = language, line, notes, text


def blocks_of(page):
    """The fenced blocks; the comments on the lines straight above one are its notes."""
    found, notes, block = [], {}, None
    for number, line in enumerate(page.splitlines(), 1):
        fence = re.match(r"( *)(```+)\s*([\w+-]*)\s*$", line)
        if block is None and fence:
            block = Block(fence.group(3), number, notes, [])
            closing, indent, notes = fence.group(2), fence.group(1), {}
        elif block is not None and line.strip() == closing:
            block.text = textwrap.dedent("\n".join(text for text in block.text)) + "\n"
            found.append(block)
            block = None
        elif block is not None:
            block.text.append(line[len(indent):] if line.startswith(indent) else line)
        else:
            note = re.match(r" *<!-- (from|not run|needs): (.*?) -->\s*$", line)
            notes = {**notes, note.group(1): note.group(2)} if note else {}
    if block is not None:
        raise ValueError(f"line {block.line}: the block does not end")
    return found


def stands_in(excerpt, text):
    """White space aside, since a page may break its lines elsewhere."""
    return re.sub(r"\s+", "", excerpt) in re.sub(r"\s+", "", text)


def missing(name, environment):
    """Whether there is no command of that name; for `import NAME` no module."""
    kind, _, module = name.rpartition(" ")
    if kind != "import":
        return not shutil.which(name, path=environment["PATH"])
    # A mere folder of that name counts as a module to Python, but has no origin.
    probe = [PYTHON, "-B", "-c", f"import {module} as m; assert m.__spec__.origin"]
    return subprocess.run(probe, env=environment, capture_output=True, timeout=SECONDS).returncode != 0


def imports_of(text):
    return ["import " + name for name in re.findall(r"^(?:import|from) (\w+)", text, re.M)]


def modules_of_scripts(text, folder):
    """The modules that the Python scripts which a shell block runs import at their top level."""
    names = set()
    for script in re.findall(r"python3 (?:-\w+ )*([\w./-]+\.py)", text):
        path = os.path.join(folder, script)
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                names.update(imports_of(file.read()))
    return sorted(names)


class Page:
    def __init__(self, options):
        self.options = options
        self.folder = os.path.join(options.scratch, "folder")
        self.ran = self.left_out = 0
        self.failures = []
        shutil.rmtree(options.scratch, ignore_errors=True)
        programs = os.path.join(options.scratch, "bin")
        os.makedirs(programs)
        os.symlink(options.command, os.path.join(programs, "qvstreet"))
        os.symlink(PYTHON, os.path.join(programs, "python3"))
        examples = os.path.join(options.source, "examples")
        shutil.copytree(examples, os.path.join(self.folder, "examples"), ignore=shutil.ignore_patterns("__pycache__"))
        images = os.path.join(examples, "images")
        shutil.copy(os.path.join(images, "wafer_coarse.png"), os.path.join(self.folder, "wafer.png"))
        shutil.copy(os.path.join(images, "street_strip.png"), os.path.join(self.folder, "street.png"))
        add = lambda name, *paths: os.pathsep.join([*paths, *filter(None, [os.environ.get(name)])])
        self.environment = {
            **os.environ,
            "PATH": add("PATH", programs),
            "PYTHONPATH": add("PYTHONPATH", *options.module),
            "CMAKE_PREFIX_PATH": add("CMAKE_PREFIX_PATH", options.prefix),
            "PKG_CONFIG_PATH": add("PKG_CONFIG_PATH", *(os.path.join(options.prefix, library, "pkgconfig")
                                                        for library in ("lib", "lib/x86_64-linux-gnu", "lib64"))),
            # What is built against the prefix finds its library there, as it would in a place the loader knows.
            "LD_LIBRARY_PATH": add("LD_LIBRARY_PATH", options.libraries),
            "PYTHONDONTWRITEBYTECODE": "1",
            "MPLBACKEND": "Agg",
            # A machine with many cores would start as many compilers for each page.
            "CMAKE_BUILD_PARALLEL_LEVEL": "1",
        }

    def fail(self, block, message):
        self.failures.append(f"{self.options.page}:{block.line}: {message}")

    def call(self, block, command, script=None):
        try:
            result = subprocess.run(command, input=script, cwd=self.folder, env=self.environment, text=True,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=SECONDS, check=False)
        except subprocess.TimeoutExpired:
            self.fail(block, f"took longer than {SECONDS} s:\n{block.text}")
            return False
        self.ran += 1
        if result.returncode != 0:
            self.fail(block, f"ended with {result.returncode}:\n{block.text}\n{result.stdout[-4000:]}")
        return result.returncode == 0

    def is_left_out(self, block, names):
        if "not run" in block.notes:
            print(f"line {block.line}: not run: {block.notes['not run']}")
            return True
        absent = [name for name in names if missing(name, self.environment)]
        if absent:
            print(f"line {block.line}: left out, for there is no {' and no '.join(absent)} here")
            self.left_out += 1
        return bool(absent)

    def check_excerpt(self, block):
        path = os.path.join(self.options.source, block.notes["from"])
        if not os.path.exists(path):
            self.fail(block, f"there is no {block.notes['from']}")
        else:
            with open(path, encoding="utf-8") as file:
                if not stands_in(block.text, file.read()):
                    self.fail(block, f"does not stand in {block.notes['from']} like this:\n{block.text}")
        self.ran += 1

    def run_program(self, block):
        source = os.path.join(self.options.scratch, f"line_{block.line}.cpp")
        program = source[: -len(".cpp")]
        with open(source, "w", encoding="utf-8") as file:
            file.write(block.text)
        compiled = self.call(block, [self.options.cxx, "-std=c++17", "-Wall", "-Wextra", "-I", self.options.source, source,
                                     "-o", program, "-L", self.options.libraries, "-lqvstreet", "-pthread",
                                     f"-Wl,-rpath,{self.options.libraries}"])
        if compiled:
            self.call(block, [program])

    def run(self, blocks):
        python = []
        for block in blocks:
            needs = block.notes.get("needs", "").split()
            if block.language in EXCERPTS and "from" in block.notes:
                self.check_excerpt(block)
            elif block.language == "sh":
                if not self.is_left_out(block, needs + modules_of_scripts(block.text, self.folder)):
                    # By name, so that what the block starts cannot read the rest of it.
                    script = os.path.join(self.options.scratch, f"line_{block.line}.sh")
                    with open(script, "w", encoding="utf-8") as file:
                        file.write(block.text)
                    self.call(block, ["bash", "-e", script])
            elif block.language == "python":
                python.append((block, needs + imports_of(block.text)))
            elif block.language == "cpp" and re.search(r"\bint main\b", block.text):
                if not self.is_left_out(block, needs):
                    self.run_program(block)
            elif "not run" in block.notes:
                self.is_left_out(block, [])
            elif block.language not in SHOWN_ONLY:
                self.fail(block, f"'{block.language}' says neither how to run it nor, by a `from`, where it stands")
        self.run_python(python)

    def run_python(self, blocks):
        kept, needs = [], []
        for block, more in blocks:
            if "not run" not in block.notes:
                needs = list(dict.fromkeys(needs + more))
            if not self.is_left_out(block, needs):
                kept.append(block)
        if not kept:
            return
        lines = []
        for block in kept:
            # Empty lines, so that a traceback tells the line of the page.
            lines += [""] * (block.line - len(lines)) + block.text.splitlines()
        path = os.path.join(self.options.scratch, "page.py")
        with open(path, "w", encoding="utf-8") as file:
            file.write("\n".join(lines) + "\n")
        self.call(kept[0], [PYTHON, path])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("page")
    for option in ("source", "command", "libraries", "prefix", "cxx", "scratch"):
        parser.add_argument("--" + option, required=True)
    parser.add_argument("--module", action="append", default=[])
    options = parser.parse_args()
    with open(os.path.join(options.source, options.page), encoding="utf-8") as file:
        text = file.read()
    blocks = blocks_of(text)
    page = Page(options)
    page.run(blocks)
    for failure in page.failures:
        print(failure)
    print(f"{options.page}: {page.ran} run or compared, {page.left_out} left out, {len(page.failures)} failed")
    if page.failures:
        return 1
    return SKIPPED if page.left_out > 0 and page.ran == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
