"""Draws the pictures of the page of `logging2 view` for the documents.

    tests/tools/view_pictures.py [BUILD]

BUILD is the build directory, build/release if it is not given. Needs Pillow (Debian: python3-pil).
"""
import io
import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/release").resolve()
os.environ["LOGGING2_COMMAND"] = str(BUILD / "tools/logging2")
os.environ["LOGGING2_SIMULATE"] = str(BUILD / "examples/simulate/simulate")
os.environ["LOGGING2_WRITE_RECORDING"] = ""

from browser import WebDriverWait, start_browser  # noqa: E402
from PIL import Image  # noqa: E402

# Name of the picture, colours, and the view behind `#`; {0} and so on are the ids of the runs.
VIEWS = [
    ("view", "light", "run={2}&plot=ball.height&plot=ball.velocity&a=0.8&b=1.45"),
    ("view-compare", "light", "run={0}&run={1}&plot=motor.state:1&plot=motor.state:0&from=0&to=0.1&compare=,0.03,"),
    ("view-steps", "dark", "run={2}&plot=ball.height&plot=ball.velocity&from=1.1&to=1.26"),
]
RUNS = [("dc-motor", "1e-6"), ("dc-motor", "1e-2"), ("bouncing-ball", "1e-6")]
SIZE = (1280, 640)
COLOR_COUNT = 128


def record(directory):
    """Makes the runs. Returns their directories."""
    locations = []
    for model, tolerance in RUNS:
        subprocess.run([os.environ["LOGGING2_SIMULATE"], model, "--tolerance", tolerance, "--backend", "recording",
                        "--directory", directory, "--no-plots", "--out", directory / "out"],
                       check=True, capture_output=True)
        locations.append(next(path for path in directory.glob("*.recording") if path not in locations))
    return locations


def ids_of(locations):
    return [json.loads(subprocess.run([os.environ["LOGGING2_COMMAND"], "info", location, "--json"], check=True,
                                      capture_output=True).stdout)["id"] for location in locations]


def draw(browser, page, name, colors, view):
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
        "features": [{"name": "prefers-color-scheme", "value": colors}]})
    browser.get("about:blank")
    browser.get(f"{page}#{view}")
    WebDriverWait(browser, 60).until(lambda _: browser.execute_script(
        "return document.querySelector('#plots')?.getAttribute('aria-busy') === 'false'"
        " && document.querySelectorAll('.legend .value[title]').length > 0"
        " && (!location.hash.includes('compare') || document.querySelector('.note') !== null)"))
    picture = Image.open(io.BytesIO(browser.get_screenshot_as_png())).convert("RGB")
    picture.quantize(COLOR_COUNT, dither=Image.Dither.NONE).save(ROOT / f"docs/pictures/{name}.png", optimize=True)


def main():
    with tempfile.TemporaryDirectory() as directory:
        ids = ids_of(record(Path(directory)))
        browser = start_browser()
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": SIZE[0], "height": SIZE[1], "deviceScaleFactor": 1, "mobile": False})
        with subprocess.Popen([os.environ["LOGGING2_COMMAND"], "view", directory, "--no-browser"],
                              stdout=subprocess.PIPE, text=True) as server:
            try:
                browser.get(server.stdout.readline().strip())
                WebDriverWait(browser, 60).until(lambda _: "token" not in browser.current_url)
                for name, colors, view in VIEWS:
                    draw(browser, browser.current_url.partition("#")[0], name, colors, view.format(*ids))
            finally:
                browser.quit()
                server.terminate()


if __name__ == "__main__":
    main()
