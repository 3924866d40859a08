import csv
import io
import xml.etree.ElementTree

from browser import BrowserTest
from selenium.webdriver.common.keys import Keys

RAMP = "name ramp\ngroup 0 a.x:1 a.y:1\nbegin\n" + "".join(
    f"write 0 {step} {step} {-step}\n" for step in range(1001)) + "end\n"

# Calls a function of a module of the page with JSON.
CALL = """
const [module, name, parameters, done] = arguments;
import(`/page/${module}.js`).then((loaded) => done(loaded[name](...parameters)), (error) => done(String(error)));
"""


class ViewUseTest(BrowserTest):
    """Sharing, saving, keys and colours of the page."""

    def setUp(self):
        super().setUp()
        self.ramp = self.record(RAMP)
        self.browser.execute_cdp_cmd("Browser.setDownloadBehavior", {
            "behavior": "allow", "downloadPath": str(self.directory)})

    def call(self, module, name, *parameters):
        return self.browser.execute_async_script(CALL, module, name, parameters)

    def fragment(self):
        return self.browser.current_url.partition("#")[2]

    def test_address_restores_the_view_without_the_token(self):
        self.open(self.ramp, "a.x")
        self.plot("a.y", new=True)
        self.show(100, 200)
        self.press("a")
        self.wait(lambda: "from=100" in self.fragment() and "a=150" in self.fragment())
        address = self.browser.current_url
        self.assertNotIn("token", address)
        self.browser.get("about:blank")
        self.browser.get(address)
        self.wait(lambda: len(self.all(".plot")) == 2)
        self.wait_until_drawn()
        self.wait_for([100, 200], self.interval)
        self.assertEqual([list(self.legend(plot)) for plot in (0, 1)], [["a.x"], ["a.y"]])
        self.wait(lambda: self.legend()["a.x"][0] == "150")
        self.assertGreater(len(self.inked()), 500)

    def test_address_may_say_the_newest_part(self):
        self.open(self.ramp, "a.x")
        self.type("#last-length", "60")
        self.wait_for([940, 1000], self.interval)
        self.wait(lambda: "last=60" in self.fragment())
        self.assertNotIn("from=", self.fragment())

    def test_views_survive_the_address(self):
        self.open(self.ramp)
        view = {"runs": [{"id": "a-1", "shift": -0.5}, {"id": "b", "shift": 0}],
                "plots": [{"signals": [{"path": "x,y;z:1&=#é", "element": 2}, {"path": "y", "element": None}],
                           "values": [-1e-300, 2.5]}, {"signals": [{"path": "z", "element": None}], "values": None}],
                "range": {"kind": "fixed", "from": -1, "to": 1e-9}, "marks": {"a": 0, "b": None},
                "compare": {"absolute": "0.1", "relative": "", "time": ""}, "current": 0}
        self.assertEqual(self.call("address", "viewFrom", self.call("address", "addressOf", view)), view)
        for text in "", "#plot=;;&run=&from=2&to=1&a=x&last=-1", "%%%&=&plot=%zz:q;1..0":
            restored = self.call("address", "viewFrom", text)
            self.assertEqual(restored["range"], {"kind": "whole"}, text)

    def test_times_have_round_labels(self):
        self.open(self.ramp)
        for interval, labels in (([0, 10], ["0", "2", "4", "6", "8", "10"]),
                                 ([-0.1, 0.1], ["−0.10", "−0.05", "0", "0.05", "0.10"]),
                                 ([1e9, 1e9 + 2], ["1.000000000e9", "1.000000001e9", "1.000000002e9"])):
            ticks = self.call("numbers", "horizontalTicks", *interval, 330)
            self.assertEqual([tick["label"] for tick in ticks], labels)
        self.assertEqual(self.call("numbers", "horizontalTicks", 1, 1, 300), [])

    def saved(self, button, suffix):
        self.press("s")
        self.wait(lambda: self.one("#save-dialog").is_displayed())
        self.one(button).click()
        return self.wait(lambda: list(self.directory.glob(f"*.{suffix}"))[0])

    def test_pictures_are_complete(self):
        self.open(self.ramp, "a.x")
        picture = xml.etree.ElementTree.parse(self.saved("#save-svg", "svg")).getroot()
        name = "{http://www.w3.org/2000/svg}"
        self.assertEqual(picture.tag, name + "svg")
        self.assertGreater(max(len(path.get("d")) for path in picture.iter(name + "path")), 5000)
        texts = [text.text for text in picture.iter(name + "text")]
        self.assertIn("a.x", texts)
        self.assertIn("400", texts)
        content = self.saved("#save-png", "png").read_bytes()
        self.assertTrue(content.startswith(b"\x89PNG") and b"IEND" in content[-12:])
        self.assertGreater(len(content), 10000)

    def test_visible_data_is_saved_with_every_step(self):
        self.open(self.ramp, "a.y")
        self.show(10, 900)
        rows = list(csv.reader(io.StringIO(self.saved("#save-csv", "csv").read_text())))
        self.assertEqual([(float(row[-2]), float(row[-1])) for row in rows[1:]],
                         [(step, -step) for step in range(10, 901)])

    def test_page_is_usable_with_the_keyboard_alone(self):
        self.open(self.ramp)
        self.row("a.x")
        self.press("/")
        self.press("y", Keys.ENTER)
        self.wait(lambda: list(self.legend()) == ["a.y"])

        def focused():
            return self.browser.switch_to.active_element

        self.press(Keys.ESCAPE, Keys.ARROW_DOWN, Keys.ARROW_DOWN)
        self.wait(lambda: focused().get_attribute("title") == "a.x")
        self.press(Keys.SPACE)
        self.wait(lambda: list(self.legend()) == ["a.y", "a.x"])
        outline = self.browser.execute_script("return getComputedStyle(document.activeElement).outlineStyle")
        self.assertEqual(outline, "solid")
        self.press(Keys.TAB)
        self.assertEqual(focused().get_attribute("aria-label"), "Plot 1")
        self.press(Keys.ARROW_RIGHT)
        self.wait(lambda: self.interval()[0] > 50)
        self.press("?")
        self.wait(lambda: "Move cursor A to the next step" in self.text("#help-dialog"))
        self.press(Keys.ENTER)
        self.wait(lambda: not self.one("#help-dialog").is_displayed())

    def test_everything_can_be_reached_with_tab(self):
        self.open(self.ramp, "a.x")
        reached = set()
        for _ in range(40):
            self.press(Keys.TAB)
            reached.add(self.browser.switch_to.active_element.get_attribute("id"))
        self.assertLessEqual({"whole", "last", "last-length", "from", "to", "zoom-in", "zoom-out", "save", "theme",
                              "help", "filter", "new-plot"}, reached)

    def background(self):
        return self.browser.execute_script("return getComputedStyle(document.body).backgroundColor")

    def test_colors_follow_the_system_and_the_switch(self):
        self.open(self.ramp, "a.x")
        light = self.background()
        self.set_colors("dark")
        self.wait(lambda: self.background() != light)
        dark = self.background()
        self.wait(lambda: len(self.inked()) > 500)
        self.press("t")
        self.wait_for(light, self.background)
        self.browser.refresh()
        self.wait_for(light, self.background)
        self.press("t")
        self.wait_for(dark, self.background)
        self.browser.execute_script("localStorage.clear()")

    def test_layout_fits_small_and_large_screens(self):
        for width, height in (1280, 720), (3840, 2160):
            self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
            self.open(self.ramp, "a.x")
            overflow = self.browser.execute_script(
                "return [...document.querySelectorAll('#toolbar, #status, body, .plot')]"
                ".filter((node) => node.scrollWidth > node.clientWidth).map((node) => node.id || node.tagName)")
            self.assertEqual(overflow, [])
            self.assertGreater(len(self.inked()), width / 3)

    def test_a_stopped_server_is_reported(self):
        self.expected_errors = ("net::ERR_",)
        self.open(self.ramp, "a.x")
        self.servers[0].terminate()
        self.wait(lambda: "does not answer" in self.text("#banner"))
        self.assertGreater(len(self.inked()), 500)
