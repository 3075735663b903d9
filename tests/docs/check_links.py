#!/usr/bin/env python3
"""Links of the documents: what they lead to is there, every page is reached, and pictures are small.

    check_links.py SOURCE
"""
import os
import re
import sys

LARGEST_PICTURE = 200_000
ALL_PICTURES = 2_000_000


def without_code(text):
    text = re.sub(r"^( *)(```+).*?^\1\2\s*$", "", text, flags=re.M | re.S)
    return re.sub(r"`[^`\n]*`", "", text)


def anchor_of(heading):
    """The anchor that the usual hosts make of a heading."""
    text = re.sub(r"[`*]|\[|\]\([^)]*\)", "", heading.strip().lower())
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def anchors(path):
    with open(path, encoding="utf-8") as file:
        text = re.sub(r"^( *)(```+).*?^\1\2\s*$", "", file.read(), flags=re.M | re.S)
    found = set()
    for heading in re.findall(r"^#+ +(.*)$", text, re.M):
        anchor, number = anchor_of(heading), 1
        while anchor in found:
            anchor, number = f"{anchor_of(heading)}-{number}", number + 1
        found.add(anchor)
    return found


def main():
    source = os.path.abspath(sys.argv[1])
    docs = os.path.join(source, "docs")
    pages = [os.path.join(source, "README.md")] + sorted(
        os.path.join(docs, name) for name in os.listdir(docs) if name.endswith(".md"))
    faults, reached, pictures = [], set(), set()
    for page in pages:
        name = os.path.relpath(page, source)
        with open(page, encoding="utf-8") as file:
            text = file.read()
        for link in re.findall(r"\]\(([^)\s]+)\)", without_code(text)):
            if re.match(r"[a-z]+:", link):
                faults.append(f"{name}: {link} leads out of the repository")
                continue
            path, _, anchor = link.partition("#")
            target = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
            if not os.path.exists(target):
                faults.append(f"{name}: there is no {link}")
            elif anchor and (not target.endswith(".md") or anchor not in anchors(target)):
                faults.append(f"{name}: {link}: no such heading")
            if target != page:
                reached.add(target)
            if target.endswith(".png"):
                pictures.add(target)
        for script in re.findall(r"(?<![\w/.])\./(scripts/[\w.-]+)", text):
            if not os.access(os.path.join(source, script), os.X_OK):
                faults.append(f"{name}: there is no ./{script} to run")
        for line in re.findall(r"^(?: {4}|\t)((?:qvstreet|cmake|python3|\./|\$) .*)$", without_code(text), re.M):
            faults.append(f"{name}: a command that is not in a fenced block: {line}")
        for gap in re.findall(r"@[A-Z]+@|\b(?:TODO|FIXME|EXCERPT)\b", text):
            faults.append(f"{name}: still to be filled in: {gap}")
    for page in pages[1:]:
        if page not in reached:
            faults.append(f"{os.path.relpath(page, source)}: no page leads there")
    images = os.path.join(docs, "images")
    sizes = {name: os.path.getsize(os.path.join(images, name)) for name in os.listdir(images) if name.endswith(".png")}
    for name, size in sorted(sizes.items()):
        if size > LARGEST_PICTURE and name != "report.png":
            faults.append(f"docs/images/{name}: {size} bytes")
        if os.path.join(images, name) not in pictures:
            faults.append(f"docs/images/{name}: no page shows it")
    if sum(sizes.values()) > ALL_PICTURES:
        faults.append(f"docs/images: {sum(sizes.values())} bytes")
    print("\n".join(faults) if faults else f"{len(pages)} pages, {len(pictures)} pictures")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
