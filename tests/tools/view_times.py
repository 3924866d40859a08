"""Measures how fast the page of `logging2 view` shows a long run.

Ends with status 1 if the first plot takes more than 300 ms, or 95 % of the zoom steps more than 100 ms.

    tests/tools/view_times.py RUN [BUILD]

BUILD is the build directory, build/release if it is not given. A run of 10^8 steps takes 3 GB:

    build/release/examples/simulate/simulate lorenz --stop-time 582000 --backend recording --no-plots
"""
import os
import random
import statistics
import subprocess
import sys
import time
from pathlib import Path

BUILD = Path(sys.argv[2] if len(sys.argv) > 2 else Path(__file__).parents[2] / "build/release").resolve()
os.environ["LOGGING2_COMMAND"] = str(BUILD / "tools/logging2")
os.environ["LOGGING2_SIMULATE"] = os.environ["LOGGING2_WRITE_RECORDING"] = ""

from browser import By, WebDriverWait, start_browser  # noqa: E402

STEP_COUNT = 300
FIRST_PLOT_LIMIT = 300  # milliseconds
ZOOM_LIMIT = 100

# From the user's input until everything was drawn.
LISTEN = """
globalThis.inputAt = null;
for (const kind of ["click", "wheel"]) {
    addEventListener(kind, (event) => (globalThis.inputAt = event.timeStamp), {capture: true});
}
"""
SHOWN = """
const [shown] = performance.getEntriesByName("shown");
return shown === undefined ? null : shown.startTime + shown.duration - globalThis.inputAt;
"""


class Page:
    """A browser that shows a run."""

    def __init__(self, browser, address):
        self.browser = browser
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": 1920, "height": 1080, "deviceScaleFactor": 1, "mobile": False})
        browser.get(address)

    def wait(self, condition):
        return WebDriverWait(self.browser, 60, poll_frequency=0.05).until(lambda _: condition())

    def time_of(self, action):
        """Milliseconds from an input until everything is drawn."""
        self.browser.execute_script("performance.clearMeasures()")
        action()
        time.sleep(0.1)  # Polling slows the page down.
        return self.wait(lambda: self.browser.execute_script(SHOWN) or False)

    def scroll(self, distance):
        self.browser.execute_cdp_cmd("Input.dispatchMouseEvent", {
            "type": "mouseWheel", "x": random.randint(460, 1400), "y": 500, "deltaX": 0, "deltaY": distance})


def measure(page):
    """Prints the times. Returns whether they are within the limits."""
    signal = page.wait(lambda: page.browser.find_elements(By.CSS_SELECTOR, ".tree-row[draggable=true]"))[0]
    page.browser.execute_script(LISTEN)
    first = page.time_of(signal.click)
    print(f"first plot: {first:.0f} ms after the click")
    # Twenty steps lead from 10^8 steps to single ones.
    directions = [-1 if step % 40 < 20 else 1 for step in range(STEP_COUNT)]
    times = sorted(page.time_of(lambda: page.scroll(450 * direction)) for direction in directions)
    most = times[len(times) * 95 // 100]
    print(f"zoom steps: median {statistics.median(times):.0f} ms, 95 % within {most:.0f} ms, at most {times[-1]:.0f} ms")
    return first <= FIRST_PLOT_LIMIT and most <= ZOOM_LIMIT


def main():
    random.seed(1)
    browser = start_browser()
    with subprocess.Popen([os.environ["LOGGING2_COMMAND"], "view", sys.argv[1], "--no-browser"],
                          stdout=subprocess.PIPE, text=True) as server:
        try:
            is_fast = measure(Page(browser, server.stdout.readline().strip()))
        finally:
            browser.quit()
            server.terminate()
    return 0 if is_fast else 1


if __name__ == "__main__":
    sys.exit(main())
