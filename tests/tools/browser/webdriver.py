"""A browser without a window, driven by plain HTTP. Python's standard library is all it needs."""

import base64
import json
import re
import shutil
import subprocess
import tempfile
import threading
import urllib.error
import urllib.request

CONTROL = "\ue009"
HOME = "\ue011"
ARROW_RIGHT = "\ue014"
TAB = "\ue004"

# Nothing that a browser does at its start may reach a network.
ARGUMENTS = [
    "--headless",
    "--no-sandbox",
    "--disable-gpu",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    # A pipe to the driver instead of a port: works where nothing resolves "localhost".
    "--remote-debugging-pipe",
    # Containers often have next to no shared memory.
    "--disable-dev-shm-usage",
    "--window-size=1400,1000",
]


def missing_programs():
    """The names of the programs that are not installed."""
    return [name for name in ("chromium", "chromedriver") if shutil.which(name) is None]


class Browser:
    """One browser with an empty profile of its own; a context manager that ends it."""

    def __init__(self, timeout=90):
        self._timeout = timeout
        self._profile = tempfile.TemporaryDirectory(prefix="qvstreet-browser-")
        self._driver = None
        self._session = None

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self._end()
            raise
        return self

    def __exit__(self, *_):
        self._end()

    def _start(self):
        self._driver = subprocess.Popen(
            [shutil.which("chromedriver"), "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True
        )
        self._base = "http://127.0.0.1:%d" % self._port()
        chrome = {
            "binary": shutil.which("chromium"),
            "args": ARGUMENTS + ["--user-data-dir=" + self._profile.name],
        }
        capabilities = {
            "browserName": "chrome",
            "goog:chromeOptions": chrome,
            "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"},
        }
        made = self._call("POST", "/session", {"capabilities": {"alwaysMatch": capabilities}})
        self._session = "/session/" + made["sessionId"]

    def _port(self):
        """Reads the driver's words up to its port; a timer ends a driver that says nothing."""
        timer = threading.Timer(self._timeout, self._driver.kill)
        timer.start()
        try:
            for line in self._driver.stdout:
                found = re.search(r"started successfully on port (\d+)", line)
                if found:
                    return int(found.group(1))
        finally:
            timer.cancel()
        raise RuntimeError("chromedriver did not start")

    def _end(self):
        if self._session:
            try:
                self._call("DELETE", self._session)
            except (OSError, RuntimeError):
                pass
        if self._driver:
            self._driver.terminate()
            try:
                self._driver.wait(5)
            except subprocess.TimeoutExpired:
                self._driver.kill()
                self._driver.wait()
            self._driver.stdout.close()
        try:
            self._profile.cleanup()
        except OSError:
            pass  # the browser may still be writing its last file

    def _call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self._base + path, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=self._timeout) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError("%s %s: %s" % (method, path, error.read().decode(errors="replace"))) from error

    def open(self, url):
        self._call("POST", self._session + "/url", {"url": url})

    def run(self, script, *arguments):
        """The value that the script returns."""
        return self._call("POST", self._session + "/execute/sync", {"script": script, "args": list(arguments)})

    def log(self, kind):
        """What was logged since the last call."""
        return self._call("POST", self._session + "/se/log", {"type": kind})

    def element(self, selector):
        found = self._call("POST", self._session + "/element", {"using": "css selector", "value": selector})
        return next(iter(found.values()))

    def click(self, selector):
        self._call("POST", self._session + "/element/" + self.element(selector) + "/click", {})

    def keys(self, text):
        actions = [{"type": kind, "value": key} for key in text for kind in ("keyDown", "keyUp")]
        self._act({"type": "key", "id": "keyboard", "actions": actions})

    def _move(self, x, y):
        return {"type": "pointerMove", "duration": 0, "x": int(x), "y": int(y), "origin": "viewport"}

    def point(self, x, y):
        """Moves the pointer to a place in the window."""
        self._act({"type": "pointer", "id": "mouse", "actions": [self._move(x, y)]})

    def drag(self, x, y, to_x, to_y):
        down = {"type": "pointerDown", "button": 0}
        up = {"type": "pointerUp", "button": 0}
        moves = [self._move(x, y), down, self._move((x + to_x) / 2, (y + to_y) / 2), self._move(to_x, to_y), up]
        self._act({"type": "pointer", "id": "mouse", "actions": moves})

    def wheel(self, x, y, delta):
        scroll = {"type": "scroll", "x": int(x), "y": int(y), "deltaX": 0, "deltaY": delta, "origin": "viewport"}
        self._act({"type": "wheel", "id": "wheel", "actions": [scroll]})

    def _act(self, source):
        self._call("POST", self._session + "/actions", {"actions": [source]})

    def screenshot(self, path):
        with open(path, "wb") as file:
            file.write(base64.b64decode(self._call("GET", self._session + "/screenshot")))
