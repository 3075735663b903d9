#!/usr/bin/env python3
"""Every message that the library throws stands in the table of docs/errors.md, and the table has no other.

    check_errors.py SOURCE

A row of the table is `| class | "message" | when | afterwards |`. Broken promises of the library's own (`qf_assert`) are one
row without their texts. Classes that are thrown without a message stand in the table with `-` for it.
"""
import os
import re
import sys

STRING = r'L?"((?:[^"\\]|\\.)*)"'
# In a row, what a caller's own value or a class name fills in.
FILLED_IN = "…"


def sources(folder):
    for path, _, names in sorted(os.walk(folder)):
        for name in sorted(names):
            if name.endswith((".cpp", ".h")):
                with open(os.path.join(path, name), encoding="utf-8") as file:
                    yield os.path.relpath(os.path.join(path, name), folder), file.read()


def statement(text, start):
    """From `start` to the semicolon that ends it."""
    depth = 0
    quoted = False
    for end in range(start, len(text)):
        c = text[end]
        if c == '"' and text[end - 1] != "\\":
            quoted = not quoted
        elif not quoted:
            depth += (c in "({[") - (c in ")}]")
            if c == ";" and depth <= 0:
                return text[start:end]
    return text[start:]


def message_of(arguments):
    """The texts put together; what is no text becomes a sign that stands for anything. None for none at all."""
    if not re.search(STRING, arguments):
        return None
    parts = re.split(r"\s*\+\s*", re.sub(STRING + r"\s*" + STRING, r'"\1\2"', arguments))
    return "".join(m.group(1) if (m := re.fullmatch(STRING, p.strip())) else FILLED_IN for p in parts)


def thrown(folder):
    """Pairs of the last part of the class's name and the message, each with where it stands."""
    found = {}
    for name, text in sources(folder):
        code = re.sub(r"^\s*//.*$", "", text, flags=re.M)
        constants = dict(re.findall(r"constexpr wchar_t (\w+)\[\] = " + STRING, code))
        for match in re.finditer(r"\bthrow\s+((?:\w+::)*)(\w+)\(", code):
            whole = statement(code, match.end())
            arguments = whole[: whole.rindex(")")].strip()
            kind = match.group(2)
            if match.group(1) == "std::":
                continue  # a paragraph of the page tells of those
            if kind == "Class" or arguments == "local":
                continue  # the body that all classes share
            if re.search(r'#Class|className|kOnlyVersion', arguments):
                continue  # the class puts the text together itself, below
            if arguments in constants:
                found.setdefault((kind, constants[arguments]), name)
            elif arguments == "":
                found.setdefault((kind, "-"), name)
            elif message_of(arguments) is not None:
                found.setdefault((kind, message_of(arguments)), name)
            elif arguments == "message":
                # A helper that throws what its callers say: every text handed to it in this file.
                helper = re.findall(r"\b(\w+)\([^()]*const wchar_t\* message\)", code[: match.start()])[-1]
                for call in re.finditer(r"\b" + helper + r"\(([^;]*?)" + STRING + r"\)", code):
                    found.setdefault((kind, call.group(2)), name)
            elif arguments == "what":
                continue  # qf_assert
            else:
                raise ValueError(f"{name}: cannot tell what this throws: throw {kind}({arguments})")
        for text_of_class in re.findall(r"return (L\"The archive holds another version[^;]*);", code):
            found.setdefault(("UnknownVersion", message_of(text_of_class)), name)
    return found


def table(page):
    with open(page, encoding="utf-8") as file:
        lines = file.read().splitlines()
    rows = {}
    for number, line in enumerate(lines, 1):
        cells = [cell.strip() for cell in line.strip().strip("|").split(" | ")]
        if not line.startswith("| `") or len(cells) != 4 or "std::" in cells[0]:
            continue
        message = re.fullmatch(r'`"(.*)"`', cells[1])
        for kind in re.findall(r"`([\w:]+)`", cells[0]):
            if message:
                rows[(kind.split("::")[-1], message.group(1))] = number
            elif cells[1] == "-":
                rows[(kind.split("::")[-1], "-")] = number
    return rows


def main():
    source = sys.argv[1]
    code, rows = thrown(os.path.join(source, "qvstreet")), table(os.path.join(source, "docs", "errors.md"))
    faults = [f'not in the table: {kind} "{message}" ({code[kind, message]})' for kind, message in code
              if (kind, message) not in rows]
    faults += [f'docs/errors.md:{rows[row]}: nothing throws {row[0]} "{row[1]}"' for row in rows if row not in code]
    print("\n".join(faults) if faults else f"{len(code)} messages")
    return 1 if faults or not code else 0


if __name__ == "__main__":
    sys.exit(main())
