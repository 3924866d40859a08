"""Tests of the page of `logging2 view` in a real browser."""
import json
import shutil
import subprocess

from commands import COMMAND, CommandTest
from selenium import webdriver
from selenium.common.exceptions import StaleElementReferenceException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.wait import WebDriverWait

PATIENCE = 60  # seconds; a busy machine is slow

# For each column of pixels of a plot the highest and lowest row in the colour of a line, or null.
INK = """
const [plot, line] = arguments;
const style = getComputedStyle(document.documentElement);
const probe = document.createElement("canvas").getContext("2d", {willReadFrequently: true});
probe.fillStyle = style.getPropertyValue(`--line-${line}`);
probe.fillRect(0, 0, 1, 1);
const wanted = probe.getImageData(0, 0, 1, 1).data;
const columns = [];
for (const canvas of document.querySelectorAll(".plot")[plot]?.querySelectorAll("canvas:not(.overlay)") ?? []) {
    const {data, width, height} = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
    for (let x = 0; x < width; x += 1) {
        columns[x] ??= null;
        for (let y = 0; y < height; y += 1) {
            const at = 4 * (y * width + x);
            const isInk = data[at + 3] > 100 && [0, 1, 2].every((i) => Math.abs(data[at + i] - wanted[i]) < 60);
            if (isInk) columns[x] = columns[x] === null ? [y, y] : [Math.min(columns[x][0], y), Math.max(columns[x][1], y)];
        }
    }
}
return columns;
"""

# The values in the legend of a plot: {name of the line: [value at each cursor]}.
LEGEND = """
const rows = [...document.querySelectorAll(".plot")[arguments[0]]?.querySelectorAll(".legend tbody tr") ?? []];
return rows.map((row) => [row.querySelector(".path").title,
                          [...row.querySelectorAll(".value")].map((cell) => cell.title)]);
"""


def start_browser():
    options = webdriver.ChromeOptions()
    for option in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                   "--disable-background-networking", "--no-first-run"):
        options.add_argument(option)
    options.binary_location = shutil.which("chromium")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)


class BrowserTest(CommandTest):
    """Uses the page as people do. Every test fails if the page logs an error or leaves the machine."""

    @classmethod
    def setUpClass(cls):
        cls.browser = start_browser()
        cls.addClassCleanup(cls.browser.quit)

    def setUp(self):
        super().setUp()
        self.expected_errors = ()
        self.servers = []
        self.set_colors("light")
        self.resize(1280, 720)
        self.addCleanup(self.leave)

    def leave(self):
        """Closes the page and checks what it has logged and asked for."""
        self.browser.get("about:blank")
        for server in self.servers:
            server.terminate()
            server.communicate()
        self.assertEqual([server.returncode for server in self.servers], [0] * len(self.servers))
        errors = [entry["message"] for entry in self.browser.get_log("browser")
                  if entry["level"] == "SEVERE" and not any(text in entry["message"] for text in self.expected_errors)]
        addresses = {self.sent_to(entry) for entry in self.browser.get_log("performance")}
        self.assertEqual(errors, [])
        self.assertEqual({address for address in addresses if not address.startswith(
            ("http://127.0.0.1:", "data:", "blob:", "about:"))}, set())

    @staticmethod
    def sent_to(entry):
        message = json.loads(entry["message"])["message"]
        if message["method"] != "Network.requestWillBeSent":
            return "about:"
        return message["params"]["request"]["url"]

    def set_colors(self, scheme):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def resize(self, width, height, scale=1):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": scale, "mobile": False})

    def serve(self, location):
        """Starts the server. Returns the address that it prints."""
        server = subprocess.Popen([COMMAND, "view", location, "--no-browser"], text=True,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        self.servers.append(server)
        return server.stdout.readline().strip()

    def open(self, location, *signals):
        """Opens the page of a run or a directory, and plots these signals."""
        self.browser.get(self.serve(location))
        self.wait(lambda: self.all(".run"))
        for signal in signals:
            self.plot(signal)

    def wait(self, condition):
        """Waits until the condition holds. Returns what it returns."""
        return WebDriverWait(self.browser, PATIENCE, poll_frequency=0.03, ignored_exceptions=[
            StaleElementReferenceException, IndexError]).until(lambda _: condition())

    def wait_for(self, expected, actual):
        """Waits until actual() is what is expected."""
        try:
            self.wait(lambda: actual() == expected)
        finally:
            self.assertEqual(actual(), expected)

    def wait_until_drawn(self):
        self.wait(lambda: self.one("#plots").get_attribute("aria-busy") == "false")

    def one(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.one(selector).text

    def row(self, path):
        """The row of the tree of signals."""
        return self.wait(lambda: [row for row in self.all(".tree-row") if row.get_attribute("title") == path][0])

    def plot(self, path, new=False):
        """Clicks a signal in the tree."""
        self.wait(lambda: self.click_row(path, new) is None)
        self.wait_until_drawn()

    def click_row(self, path, with_shift):
        chain = ActionChains(self.browser)
        if with_shift:
            chain.key_down(Keys.SHIFT)
        chain.click(self.row(path))
        if with_shift:
            chain.key_up(Keys.SHIFT)
        chain.perform()

    def press(self, *keys):
        ActionChains(self.browser).send_keys(*keys).perform()

    def type(self, selector, text):
        """Replaces the text of a field."""
        field = self.one(selector)
        field.clear()
        field.send_keys(text, Keys.ENTER)
        self.browser.execute_script("document.activeElement.blur()")

    def interval(self):
        """The first and last time that the page shows."""
        texts = self.browser.execute_script(
            "return ['from', 'to'].map((id) => document.getElementById(id).value)")
        return [float(text.replace("−", "-")) for text in texts]

    def show(self, first, last):
        self.browser.execute_script(
            "document.querySelector('#from').value = arguments[0];"
            "document.querySelector('#to').value = arguments[1];"
            "document.querySelector('#to').dispatchEvent(new Event('change'))", str(first), str(last))
        self.wait_until_drawn()

    def ink(self, plot=0, line=0):
        """For each column of pixels the rows with this line, or None."""
        return self.browser.execute_script(INK, plot, line)

    def inked(self, plot=0, line=0):
        """The columns with this line."""
        return [x for x, rows in enumerate(self.ink(plot, line)) if rows is not None]

    def legend(self, plot=0):
        """The full values at the cursors by the names of the lines."""
        return dict(self.browser.execute_script(LEGEND, plot))

    def graph(self, plot=0):
        return self.all(".overlay")[plot]

    def at(self, time, plot=0):
        """The offset of a time from the middle of a plot's canvas, in pixels."""
        left, right = 74, self.graph(plot).size["width"] - 40
        first, last = self.interval()
        return round(left + (time - first) / (last - first) * (right - left) - self.graph(plot).size["width"] / 2)

    def drag(self, first, last, shift=False):
        """Drags from one time to another."""
        chain = ActionChains(self.browser)
        if shift:
            chain.key_down(Keys.SHIFT)
        chain.move_to_element_with_offset(self.graph(), self.at(first), 0).click_and_hold()
        chain.move_to_element_with_offset(self.graph(), self.at((first + last) / 2), 0)
        chain.move_to_element_with_offset(self.graph(), self.at(last), 0).release()
        if shift:
            chain.key_up(Keys.SHIFT)
        chain.perform()
