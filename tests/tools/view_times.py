"""Measures how fast the page of `logging2 view` shows a long run.

    tests/tools/view_times.py RUN [BUILD]

BUILD is the build directory, build/release if it is not given. A run of 10^8 steps takes 3 GB:

    build/release/examples/simulate/simulate lorenz --stop-time 582000 --backend recording --no-plots
"""
import os
import random
import statistics
import subprocess
import sys
from pathlib import Path

BUILD = Path(sys.argv[2] if len(sys.argv) > 2 else Path(__file__).parents[2] / "build/release").resolve()
os.environ["LOGGING2_COMMAND"] = str(BUILD / "tools/logging2")
os.environ["LOGGING2_SIMULATE"] = os.environ["LOGGING2_WRITE_RECORDING"] = ""

from browser import By, WebDriverWait, start_browser  # noqa: E402

STEP_COUNT = 300
SHOWN = "return performance.getEntriesByName('shown')[0]?.duration"


class Page:
    """A browser that shows a run."""

    def __init__(self, browser, address):
        self.browser = browser
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": 1920, "height": 1080, "deviceScaleFactor": 1, "mobile": False})
        browser.get(address)

    def wait(self, condition):
        return WebDriverWait(self.browser, 60, poll_frequency=0.005).until(lambda _: condition())

    def time_of(self, action):
        """Milliseconds from a change of the view until everything is drawn."""
        self.browser.execute_script("performance.clearMeasures()")
        action()
        return self.wait(lambda: self.browser.execute_script(SHOWN))

    def scroll(self, distance):
        self.browser.execute_cdp_cmd("Input.dispatchMouseEvent", {
            "type": "mouseWheel", "x": random.randint(460, 1400), "y": 500, "deltaX": 0, "deltaY": distance})


def print_times(name, times):
    times = sorted(times)
    print(f"{name}: median {statistics.median(times):.0f} ms, 95 % within {times[len(times) * 95 // 100]:.0f} ms, "
          f"at most {times[-1]:.0f} ms")


def measure(page):
    signal = page.wait(lambda: page.browser.find_elements(By.CSS_SELECTOR, ".tree-row[draggable=true]"))[0]
    print(f"first plot: {page.time_of(signal.click):.0f} ms after the click")
    # Twenty steps lead from 10^8 steps to single ones.
    directions = [-1 if step % 40 < 20 else 1 for step in range(STEP_COUNT)]
    print_times("zoom steps", [page.time_of(lambda: page.scroll(450 * direction)) for direction in directions])


def main():
    random.seed(1)
    browser = start_browser()
    with subprocess.Popen([os.environ["LOGGING2_COMMAND"], "view", sys.argv[1], "--no-browser"],
                          stdout=subprocess.PIPE, text=True) as server:
        try:
            measure(Page(browser, server.stdout.readline().strip()))
        finally:
            browser.quit()
            server.terminate()


if __name__ == "__main__":
    main()
