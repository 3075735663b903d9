#!/usr/bin/env python3
"""Opens pages of the command in a browser without a window, works them as a person would, and checks what happens.

    check_report.py COMMAND EXAMPLES

Ends with 0 if all is well, with 77 and a message if there is no browser here, else with 1.
"""

import json
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import tempfile

from webdriver import ARROW_RIGHT, HOME, Browser, missing_programs

SKIPPED = 77
MOST_SECONDS = 55
MOST_BYTES = 5000000

failures = []


def expect(condition, what):
    if not condition:
        failures.append(what)
        print("FAILED: " + what)


def lane_image(width, height):
    """Two upright lanes and two level ones, bright on a dull, slightly noisy ground."""
    noise = random.Random(7)
    rows = []
    for y in range(height):
        level = abs(y - height * 3 // 10) < 5 or abs(y - height * 7 // 10) < 5
        rows.append(
            bytes(
                (200 if level or abs(x - width // 3) < 5 or abs(x - width * 3 // 4) < 5 else 100) + noise.randrange(8)
                for x in range(width)
            )
        )
    return b"P5\n%d %d\n255\n" % (width, height) + b"".join(rows)


def make_page(command, folder, arguments, image, page):
    """Runs the command; it is part of what is tested, so its failure is one."""
    call = [command] + arguments + ["--report", str(folder / page), "--", image]
    done = subprocess.run(call, cwd=folder, capture_output=True, timeout=60)
    expect(done.returncode == 0, "%s ends with %d: %s" % (call, done.returncode, done.stderr))
    expect((folder / page).stat().st_size < MOST_BYTES, page + " is below 5 MB")


def requests_of(browser, page):
    """All that the page asked for, but for what it holds itself. The browser's own first page may still be loading."""
    urls = []
    for entry in browser.log("performance"):
        message = json.loads(entry["message"])["message"]
        if message["method"] == "Network.requestWillBeSent" and message["params"]["documentURL"] == page:
            urls.append(message["params"]["request"]["url"])
    return [url for url in urls if not url.startswith("data:")]


def open_page(browser, path):
    browser.log("performance")
    browser.log("browser")
    browser.open(path.as_uri())
    urls = requests_of(browser, path.as_uri())
    expect(urls == [path.as_uri()], "%s asks for nothing but itself: %s" % (path.name, urls))
    expect(browser.run("return document.querySelectorAll('.view').length") > 0, path.name + " has views")
    broken = "return Array.from(document.querySelectorAll('use')).filter(u => !u.getBBox().width).length"
    expect(browser.run(broken) == 0, path.name + " has no picture that is missing")


def stays_silent(browser, path):
    messages = browser.log("browser")
    expect(messages == [], "%s says nothing on the console: %s" % (path.name, messages))


def pressed(browser, selector):
    return browser.run("return document.querySelector(arguments[0]).getAttribute('aria-pressed')", selector)


def visible(browser, selector):
    script = (
        "const b = document.querySelector(arguments[0]);"
        "return getComputedStyle(document.getElementById(b.dataset.layer)).display !== 'none'"
    )
    return browser.run(script, selector)


def where(browser):
    return browser.run("return document.querySelector('.main .where').textContent")


def view_box(browser):
    return [float(n) for n in browser.run("return document.querySelector('.main > svg').getAttribute('viewBox')").split()]


def place(browser):
    """Left, top, width and height of the main drawing in the window."""
    script = "const r = document.querySelector('.main > svg').getBoundingClientRect(); return [r.x, r.y, r.width, r.height]"
    return browser.run(script)


def check_layers(browser):
    first = ".main button[data-layer]"
    expect(visible(browser, first) and pressed(browser, first) == "true", "layers are shown at first")
    browser.click(first)
    expect(not visible(browser, first) and pressed(browser, first) == "false", "a click hides a layer")
    browser.click(first)
    expect(visible(browser, first) and pressed(browser, first) == "true", "a second click shows it again")
    browser.keys("1")
    expect(not visible(browser, first) and pressed(browser, first) == "false", "the key 1 hides it")
    browser.keys("0")
    expect(visible(browser, first), "the key 0 shows all layers where one is hidden")
    browser.keys("0")
    expect(not visible(browser, first), "and hides all where none is")
    browser.keys("0")
    second = ".record button[data-layer]"
    browser.run("document.querySelector(arguments[0]).scrollIntoView({block: 'center'})", second)
    browser.click(second)
    expect(not visible(browser, second) and visible(browser, first), "a layer below leaves those above alone")
    browser.keys("1")
    expect(visible(browser, second) and visible(browser, first), "a key works on the view that was used last")
    browser.run("window.scrollTo(0, 0)")


def check_view(browser):
    left, top, width, height = place(browser)
    whole = view_box(browser)
    browser.point(left + width / 2, top + height / 2)
    middle = where(browser)
    told = re.search(r"client x ([-0-9.]+), y ([-0-9.]+) . pel column (\d+), row (\d+)", middle)
    expect(told is not None, "the read-out tells client coordinates and pel: " + middle)
    if told:
        x, y, column, row = (float(part) for part in told.groups())
        # Pel (200, 150) of the frame that the page was made with; the pointer stands on whole display pels.
        expect(abs(x - 50.0) < 0.6 and abs(y - 975.0) < 0.6, "client coordinates of the middle: " + middle)
        expect(abs(column - 200) < 2 and abs(row - 150) < 2, "pel of the middle: " + middle)
    browser.point(left + width / 2 + 40, top + height / 2)
    expect(where(browser) not in ("", middle), "the read-out follows the pointer")
    browser.wheel(left + width / 2, top + height / 2, -400)
    expect(view_box(browser) == whole, "the wheel moves the page until the picture is clicked")
    browser.run("window.scrollTo(0, 0)")
    browser.drag(left + width / 2, top + height / 2, left + width / 2, top + height / 2)
    browser.wheel(left + width / 2, top + height / 2, -400)
    near = view_box(browser)
    expect(near[2] < whole[2] and near[0] > whole[0], "then it zooms about the pointer")
    browser.drag(left + width / 2, top + height / 2, left + width / 2 - 60, top + height / 2)
    expect(view_box(browser)[0] > near[0], "dragging to the left shows what lies on the right")
    browser.keys(HOME)
    expect(view_box(browser) == whole, "Home shows all")
    browser.keys("++")
    expect(view_box(browser)[2] < whole[2], "the key + zooms")
    before = view_box(browser)
    browser.keys(ARROW_RIGHT)
    expect(view_box(browser)[0] > before[0], "an arrow key moves")
    expect("middle of the view" in where(browser), "and the read-out tells the middle")
    browser.keys("-" + HOME)
    expect(view_box(browser) == whole, "and all is as before")


def give_up(*_):
    raise TimeoutError("not done after %d seconds" % MOST_SECONDS)


def main(command, examples):
    missing = missing_programs()
    if missing:
        print("skipped: not installed: " + ", ".join(missing))
        return SKIPPED
    signal.signal(signal.SIGALRM, give_up)
    signal.alarm(MOST_SECONDS)
    with tempfile.TemporaryDirectory(prefix="qvstreet-pages-") as name, Browser() as browser:
        folder = pathlib.Path(name)
        strange = "a<b>&\"c\"'d</script><script>alert(1).pgm"
        strange = strange.replace("/", "")
        (folder / strange).write_bytes(lane_image(400, 300))
        client = "0.5,0,0,-0.5,-50,1050"
        make_page(
            command, folder, ["inspect", "--mode", "coarse", "--width", "5", "--client", client], strange, "strange.html"
        )
        page = folder / "strange.html"
        open_page(browser, page)
        title = browser.run("return document.querySelector('h1').textContent + '|' + document.title")
        expect(title == strange + "|" + strange + " - qvstreet", "names come through as they are: " + title)
        check_layers(browser)
        check_view(browser)
        stays_silent(browser, page)

        undecodable = b"\xff\xfe.pgm"
        (folder / os.fsdecode(undecodable)).write_bytes(lane_image(64, 48))
        make_page(command, folder, ["inspect"], os.fsdecode(undecodable), "bytes.html")
        open_page(browser, folder / "bytes.html")
        title = browser.run("return document.querySelector('h1').textContent")
        expect(title == "\ufffd\ufffd.pgm", "bytes that are no text are replaced: " + title)

        noise = random.Random(1).randbytes(4096 * 4096)
        (folder / "noise.pgm").write_bytes(b"P5\n4096 4096\n255\n" + noise)
        for mode in ("edge", "coarse"):
            name = "noise_%s.html" % mode
            make_page(command, folder, ["inspect", "--mode", mode], "noise.pgm", name)
            open_page(browser, folder / name)
            stays_silent(browser, folder / name)

        strip = str(pathlib.Path(examples).resolve() / "street_strip.png")
        make_page(command, folder, ["blank", "--street-width", "64", "--min-length", "110"], strip, "blank.html")
        open_page(browser, folder / "blank.html")
        expect("3 blank regions found." in browser.run("return document.body.textContent"), "the strip's regions are told")
        stays_silent(browser, folder / "blank.html")
    print("%d failures" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:3]))
