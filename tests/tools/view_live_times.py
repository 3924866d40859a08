"""Measures what it costs a host that its run is followed, and how far the page of `logging2 view` is behind.

    tests/tools/view_live_times.py [BUILD]

BUILD is the build directory, build/release if it is not given. A run grows by 10^5 steps per second. Ends with
status 1 if 20 followers slow the writer by more than 5 %, or if the page is more than a second behind.
"""
import os
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

BUILD = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parents[2] / "build/release").resolve()
os.environ["LOGGING2_COMMAND"] = str(BUILD / "tools/logging2")
os.environ["LOGGING2_WRITE_RECORDING"] = str(BUILD / "tests/tools/tools_write_recording")
os.environ["LOGGING2_SIMULATE"] = ""

from browser import By, WebDriverWait, start_browser  # noqa: E402
from view_server import Events, Server  # noqa: E402

RATE = 100_000  # steps per second
SECONDS = 8
ROUNDS = 3

# The last time in the plots, and when it was seen, for some milliseconds.
WATCH = """
const [milliseconds, done] = arguments;
const seen = [];
const end = Date.now() + milliseconds;
const look = () => {
    seen.push([Date.now() / 1000, Number(document.querySelector("#to").value.replace("−", "-"))]);
    if (Date.now() < end) setTimeout(look, 10);
    else done(seen);
};
look();
"""


class Writer:
    """A host that logs steps at their times. The times of the run begin with start()."""

    def __init__(self, directory):
        self.process = subprocess.Popen([os.environ["LOGGING2_WRITE_RECORDING"], directory], text=True, bufsize=1,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.process.stdin.write("name wave\ngroup 1 wave.x:1\nbegin\n")
        self.location = self.process.stdout.readline().strip()

    def start(self):
        self.process.stdin.write(f"rate {RATE}\nwave 1 {SECONDS * RATE} {1 / RATE}\nend\n")
        return time.time()

    def processor_time(self):
        """Seconds until its end."""
        usage = os.wait4(self.process.pid, 0)[2]
        self.process.returncode = 0
        self.process.stdin.close()
        self.process.stdout.close()
        return usage.ru_utime + usage.ru_stime


class Follower(threading.Thread):
    """Asks for a trace whenever the server tells that the run has grown, as the page does."""

    def __init__(self, server, run):
        super().__init__()
        self.server, self.run_id = server, run
        self.events = Events(server, run)

    def run(self):
        seen = 0
        while True:
            with self.events.changed:
                self.events.changed.wait_for(lambda: len(self.events.seen) > seen, 10)
                seen = len(self.events.seen)
                state = next(data["state"] for event, data in reversed(self.events.seen) if event == "run")
            self.server.open(f"/api/runs/{self.run_id}/trace?signal=wave.x&from=0&to={SECONDS}&pixels=1500")
            if state == "finished":
                break
        self.events.close()


def processor_time(directory, follower_count):
    """That of the writer while so many follow it."""
    writer = Writer(directory)
    server = Server(writer.location)
    followers = [Follower(server, server.run_id()) for _ in range(follower_count)]
    for follower in followers:
        follower.events.wait_for(lambda event, data: event == "run")
        follower.start()
    writer.start()
    result = writer.processor_time()
    for follower in followers:
        follower.join()
    server.end()
    return result


def page_lags(directory):
    """How many seconds the page is behind, again and again."""
    writer = Writer(directory)
    server = Server(writer.location)
    browser = start_browser()
    try:
        browser.get(server.address)
        WebDriverWait(browser, 60).until(lambda _: browser.find_elements(By.CSS_SELECTOR, "[draggable=true]"))[0].click()
        start = writer.start()
        seen = browser.execute_async_script(WATCH, (SECONDS - 1) * 1000)
    finally:
        browser.quit()
        writer.processor_time()
        server.end()
    return [now - start - shown for now, shown in seen if now > start + 2]


def main():
    with tempfile.TemporaryDirectory() as directory:
        counts = (0, 1, 20)
        times = {count: [] for count in counts}
        for _ in range(ROUNDS):
            for count in counts:
                times[count].append(processor_time(directory, count))
        medians = {count: statistics.median(times[count]) for count in counts}
        for count in counts:
            print(f"{count} followers: the writer used {medians[count]:.3f} s of a processor in {SECONDS} s")
        lags = page_lags(directory)
    print(f"page: median {statistics.median(lags):.2f} s behind, at most {max(lags):.2f} s")
    return 1 if medians[20] > 1.05 * medians[0] or max(lags) > 1 else 0


if __name__ == "__main__":
    sys.exit(main())
