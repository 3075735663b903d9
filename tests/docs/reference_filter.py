#!/usr/bin/env python3
"""Lets Doxygen read our headers as we do: one comment stands for all declarations up to the next empty line.

Doxygen takes a comment for the declaration below it alone. This filter repeats it, on the same line so that the line
numbers stay, before each further declaration of the group. A `///` comment within a group begins a new one. What the
compiler writes by itself (`= default`) is left out, and so is what every archived class has.
"""
import re
import sys

# Their names say it all.
DESTRUCTOR = re.compile(r"\s*(virtual )?~\w+\(\)")
ARCHIVING = re.compile(r"\s*(void (dispatchSerialize|serialize_)\()")
DEFAULTED = re.compile(r"\)\s*(const|noexcept|override|\s)*=\s*default;\s*$")
TEMPLATE = re.compile(r"^\s*template <.*>\s*$")
NO_DECLARATION = re.compile(r"\s*(#|//|\}|public:|private:|protected:|$|friend (struct|class) )")
COMMENT = re.compile(r"\s*///(?!<) ?(.*)")


def filtered(lines):
    out = []
    comment = []
    used = False      # whether a declaration stands below the comment already
    templated = False # whether the line before was the head of a template, which has the comment already
    depth = None      # of open parentheses and braces, where a declaration goes on over several lines
    for line in lines:
        if depth is not None:
            depth += opened(line)
            if depth <= 0 and line.rstrip().endswith((";", "}", ",")):
                depth = None
            out.append(line)
            continue
        found = COMMENT.match(line)
        if found:
            if used:
                comment, used = [], False
            comment.append(found.group(1))
            out.append(line)
            continue
        if not line.strip():
            comment, used = [], False
        if DEFAULTED.search(line) or ARCHIVING.match(line):
            out.append("\n")
            continue
        if NO_DECLARATION.match(line):
            out.append(line)
            continue
        if used and not templated and "///<" not in line and not DESTRUCTOR.match(line):
            indent = line[: len(line) - len(line.lstrip())]
            line = indent + "/** " + repeated(comment) + " */ " + line.lstrip()
        used = bool(comment)
        code = re.sub(r"/\*\*.*?\*/|//.*", "", line)
        templated = bool(TEMPLATE.search(code))
        if templated:
            out.append(line)
            continue
        if opens_scope(code):
            comment, used = [], False
        elif not (opened(code) <= 0 and code.rstrip().endswith((";", "}", ","))):
            depth = opened(code)
        out.append(line)
    return out


def repeated(comment):
    """Without the parameters, which belong to the first declaration of the group alone."""
    text = " ".join(comment)
    parts = re.split(r"(?=@(?:param|returns|throws)\b)", text)
    return "".join(part for part in parts if not part.startswith("@param")).strip()


def opened(line):
    code = re.sub(r"/\*\*.*?\*/|//.*|'.'", "", line)
    return sum(code.count(c) for c in "({[") - sum(code.count(c) for c in ")}]")


def opens_scope(code):
    return re.match(r"\s*(class|struct|enum|namespace|extern)\b", code) and code.rstrip().endswith("{")


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        sys.stdout.write("".join(filtered(header.readlines())))
