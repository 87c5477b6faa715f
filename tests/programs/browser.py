"""A headless Chromium, spoken to over a pipe with the standard library alone."""
import base64, json, os, select, shutil, subprocess, tempfile, time

PROGRAMS = ("chromium", "chromium-browser", "google-chrome")


def find():
    return next((path for path in map(shutil.which, PROGRAMS) if path), None)


class Browser:
    """A page whose console messages, exceptions and requests are collected."""

    def __init__(self, width=1280, height=900):
        self.profile = tempfile.TemporaryDirectory()
        to_browser, self.output = os.pipe()
        self.input, from_browser = os.pipe()

        def as_three_and_four():
            os.dup2(to_browser, 103), os.dup2(from_browser, 104)
            os.dup2(103, 3), os.dup2(104, 4)

        self.process = subprocess.Popen(
            [find(), "--headless", "--no-sandbox", "--disable-gpu", "--remote-debugging-pipe", "--no-first-run",
             f"--user-data-dir={self.profile.name}", f"--window-size={width},{height}", "about:blank"],
            close_fds=False, preexec_fn=as_three_and_four, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser), os.close(from_browser)
        self.buffer, self.number, self.session = b"", 0, None
        self.complaints, self.requests = [], []
        target = next(t for t in self.call("Target.getTargets")["targetInfos"] if t["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=target["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(10)
        os.close(self.input), os.close(self.output)
        self.profile.cleanup()

    def _message(self, seconds):
        while b"\0" not in self.buffer:
            if not select.select([self.input], [], [], seconds)[0]:
                raise TimeoutError("the browser does not answer")
            read = os.read(self.input, 1 << 20)
            if not read:
                raise EOFError("the browser has ended")
            self.buffer += read
        text, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(text)

    def _take(self, message):
        method, values = message.get("method"), message.get("params", {})
        if method == "Runtime.exceptionThrown":
            self.complaints.append(json.dumps(values["exceptionDetails"]))
        elif method == "Runtime.consoleAPICalled" and values["type"] in ("error", "warning", "assert"):
            self.complaints.append(json.dumps(values["args"]))
        elif method == "Log.entryAdded" and values["entry"]["level"] in ("error", "warning"):
            self.complaints.append(values["entry"]["text"])
        elif method == "Network.requestWillBeSent":
            self.requests.append(values["request"]["url"])

    def call(self, method, seconds=60, **values):
        self.number += 1
        message = {"id": self.number, "method": method, "params": values}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.output, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._message(seconds)
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self._take(answer)

    def open(self, path, seconds=60):
        """Opens a file and waits until the page says that it is ready. @return seconds that took"""
        begin = time.monotonic()
        self.call("Page.navigate", url=path.resolve().as_uri())
        while time.monotonic() - begin < seconds:
            if self.evaluate("document.readyState === 'complete' && 'ready' in document.body.dataset"):
                return time.monotonic() - begin
            time.sleep(0.02)
        raise TimeoutError(f"the page is not ready: {self.complaints}")

    def evaluate(self, expression):
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(json.dumps(answer["exceptionDetails"]))
        return answer["result"].get("value")

    def picture(self, path, whole=False):
        """Writes a screenshot, of the whole page if wanted."""
        shot = self.call("Page.captureScreenshot", format="png", captureBeyondViewport=whole,
                         **({"clip": dict(x=0, y=0, scale=1, width=self.evaluate("innerWidth"),
                                          height=self.evaluate("document.documentElement.scrollHeight"))} if whole else {}))
        with open(path, "wb") as file:
            file.write(base64.b64decode(shot["data"]))
