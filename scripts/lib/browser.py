"""A headless Chromium, driven over the WebDriver protocol with nothing but the standard library."""

import base64
import json
import subprocess
import time
import urllib.error
import urllib.request

PATIENCE_S = 30
ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the protocol's name for a reference to an element
# chromedriver prints its port on this line
READY = "ChromeDriver was started successfully on port "


class Driver:
    """A chromedriver on a free port, for several windows one after the other."""

    def __init__(self, environment):
        self.process = subprocess.Popen(["chromedriver", "--port=0"], env=environment, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True)
        for line in self.process.stdout:
            if READY in line:
                self.address = f"http://127.0.0.1:{int(line.split(READY)[1].strip(' .' + chr(10)))}"
                return
        raise RuntimeError("chromedriver does not start")

    def stop(self):
        self.process.terminate()
        self.process.wait(PATIENCE_S)
        self.process.stdout.close()

    def call(self, method, path, body=None):
        data = None if method != "POST" else json.dumps(body or {}).encode()
        request = urllib.request.Request(self.address + path, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=PATIENCE_S) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as failure:
            raise RuntimeError(f"{method} {path}: {json.load(failure)['value']['message']}") from None


class Window:
    """A window of one size with an empty profile."""

    def __init__(self, driver, width, height, names):
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                     "--disable-background-networking", *(["--host-resolver-rules=" + names] if names else [])]
        metrics = {"width": width, "height": height, "pixelRatio": 1}
        options = {"args": arguments, "mobileEmulation": {"deviceMetrics": metrics}}
        # the hosts of tests have certificates of nobody
        wanted = {"acceptInsecureCerts": True, "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
        session = driver.call("POST", "/session", {"capabilities": {"alwaysMatch": wanted}})
        self.driver, self.path = driver, f"/session/{session['sessionId']}"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.call("DELETE", self.path)

    def call(self, method, path, body=None):
        return self.driver.call(method, self.path + path, body)

    def open(self, url):
        self.call("POST", "/url", {"url": url})

    def run(self, script, *arguments):
        """Run a function's body in the page and return its result."""
        return self.call("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def find(self, selector):
        found = self.call("POST", "/element", {"using": "css selector", "value": selector})
        return f"/element/{found[ELEMENT]}"

    def type(self, selector, text):
        self.call("POST", self.find(selector) + "/value", {"text": text})

    def press(self, selector):
        self.call("POST", self.find(selector) + "/click")

    def role(self, selector):
        """The role that assistive technology sees."""
        return self.call("GET", self.find(selector) + "/computedrole")

    def text(self, selector="body"):
        """What a person can read in the element; nothing if it is hidden."""
        return self.run("const found = document.querySelector(arguments[0]);"
                        "return found?.checkVisibility() ? found.innerText : '';", selector)

    def wait_for(self, text, selector="body"):
        deadline = time.monotonic() + PATIENCE_S
        while text not in (shown := self.text(selector)):
            if time.monotonic() > deadline:
                raise AssertionError(f"'{text}' does not come to {selector}, which shows: {shown}")
            time.sleep(0.05)

    def complaints(self):
        """What the browser wrote to its console."""
        return [each["message"] for each in self.call("POST", "/se/log", {"type": "browser"})]

    def command(self, name, **parameters):
        """Send a command of the browser's own protocol."""
        return self.call("POST", "/goog/cdp/execute", {"cmd": name, "params": parameters})

    def replace_answers(self, answers):
        """Let the scripts of pages that are opened from now on get these answers: status and body by path."""
        self.command("Page.addScriptToEvaluateOnNewDocument", source=f"""
            const answers = {json.dumps(answers)};
            window.fetch = async (path) => new Response(JSON.stringify(answers[path][1]), {{status: answers[path][0]}});""")

    def take_picture(self, file):
        """Save the whole page, not only its visible part, as PNG."""
        picture = self.command("Page.captureScreenshot", captureBeyondViewport=True)
        file.write_bytes(base64.b64decode(picture["data"]))
