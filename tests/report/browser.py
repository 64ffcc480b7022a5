# SPDX-License-Identifier: GPL-2.0
"""A headless Chromium, which is driven over a pipe with the protocol of its developer tools."""
import base64
import json
import os
import subprocess
import tempfile


class Browser:
    """Opens one page. Collects what the page writes to the console and which addresses it requests."""

    def __init__(self, width, height):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        to_browser, self.out = os.pipe()
        self.into, from_browser = os.pipe()

        def connect():
            # The browser reads descriptor 3 and writes descriptor 4.
            commands, answers = os.dup(to_browser), os.dup(from_browser)
            os.dup2(commands, 3)
            os.dup2(answers, 4)

        self.process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             "--no-first-run", "--hide-scrollbars", "--force-color-profile=srgb", "--remote-debugging-pipe",
             f"--user-data-dir={self.profile.name}", f"--window-size={width},{height}", "about:blank"],
            preexec_fn=connect, close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.pending = b""
        self.number = 0
        self.session = None
        self.console = []
        self.requests = []
        self.events = []
        page = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=page, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def receive(self):
        while b"\0" not in self.pending:
            more = os.read(self.into, 65536)
            if not more:
                raise RuntimeError("chromium has ended")
            self.pending += more
        message, _, self.pending = self.pending.partition(b"\0")
        return json.loads(message)

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.out, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.receive()
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.note(answer)

    def note(self, event):
        method, parameters = event.get("method"), event.get("params", {})
        if method == "Runtime.consoleAPICalled":
            self.console.append(" ".join(str(argument.get("value")) for argument in parameters["args"]))
        elif method == "Runtime.exceptionThrown":
            self.console.append(str(parameters["exceptionDetails"].get("exception", {}).get("description")))
        elif method == "Log.entryAdded":
            self.console.append(parameters["entry"]["text"])
        elif method == "Network.requestWillBeSent":
            self.requests.append(parameters["request"]["url"])
        else:
            self.events.append(method)

    def open(self, address):
        self.events.clear()
        self.call("Page.navigate", url=address)
        while "Page.loadEventFired" not in self.events:
            self.note(self.receive())
        self.settle()

    def settle(self):
        """Wait until what was changed is drawn."""
        self.run("new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => done())))")

    def run(self, script):
        result = self.call("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(f"{script}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def mouse(self, kind, x, y):
        self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left",
                  buttons=1 if kind != "mouseReleased" else 0, clickCount=1)

    def click(self, selector):
        x, y, width, height = self.box(selector)
        self.mouse("mousePressed", x + width / 2, y + height / 2)
        self.mouse("mouseReleased", x + width / 2, y + height / 2)
        self.settle()

    def drag(self, selector, begin, end):
        """Drag from one part of an element's width to another."""
        x, y, width, height = self.box(selector)
        self.mouse("mouseMoved", x + width * begin, y + height / 2)
        self.mouse("mousePressed", x + width * begin, y + height / 2)
        self.mouse("mouseMoved", x + width * (begin + end) / 2, y + height / 2)
        self.mouse("mouseMoved", x + width * end, y + height / 2)
        self.mouse("mouseReleased", x + width * end, y + height / 2)
        self.settle()

    def box(self, selector):
        return self.run(
            f"(() => {{ const e = document.querySelector({json.dumps(selector)}); "
            "e.scrollIntoView({block: 'center'}); const b = e.getBoundingClientRect(); "
            "return [b.x, b.y, b.width, b.height]; })()")

    def type(self, selector, text):
        self.run(f"(() => {{ const e = document.querySelector({json.dumps(selector)}); e.focus(); e.select(); }})()")
        self.call("Input.insertText", text=text)
        self.settle()

    def screenshot(self, path, height=None):
        parameters = {}
        if height:
            width = self.run("innerWidth")
            parameters = {"clip": {"x": 0, "y": 0, "width": width, "height": height, "scale": 1},
                          "captureBeyondViewport": True}
        picture = self.call("Page.captureScreenshot", format="png", **parameters)["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(picture))

    def close(self):
        os.close(self.out)
        os.close(self.into)
        try:
            self.process.wait(timeout=30)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.profile.cleanup()
