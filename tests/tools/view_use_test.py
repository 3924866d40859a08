import csv
import http.server
import io
import math
import re
import shutil
import socket
import socketserver
import threading
import xml.etree.ElementTree

from browser import BrowserTest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

RAMP = "name ramp\ngroup 0 a.x:1 a.y:1\nbegin\n" + "".join(
    f"write 0 {step} {step} {-step}\n" for step in range(1001)) + "end\n"

# Calls a function of a module of the page with JSON.
CALL = """
const [module, name, parameters, done] = arguments;
import(new URL(`page/${module}.js`, location.href)).then(
    (loaded) => done(loaded[name](...parameters)), (error) => done(String(error)));
"""


def forwarder_to(port):
    """What handles the connections of a tunnel to a port of this machine."""

    class Forwarder(socketserver.BaseRequestHandler):
        """Passes bytes on in both directions."""

        def handle(self):
            with socket.create_connection(("127.0.0.1", port)) as other:
                back = threading.Thread(target=self.copy, args=(other, self.request), daemon=True)
                back.start()
                self.copy(self.request, other)
                back.join()

        @staticmethod
        def copy(source, target):
            try:
                while part := source.recv(65536):
                    target.sendall(part)
                target.shutdown(socket.SHUT_WR)
            except OSError:
                pass

    return Forwarder


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

    def test_cookie_is_not_sent_to_other_servers_of_the_machine(self):
        seen = []

        class Other(http.server.BaseHTTPRequestHandler):
            """Remembers the cookies that it gets."""

            def do_GET(self):
                seen.append((self.path, self.headers.get("Cookie")))
                self.send_response(200)
                self.end_headers()

            def log_message(self, *_):
                pass

        other = http.server.HTTPServer(("127.0.0.1", 0), Other)
        self.addCleanup(other.server_close)
        self.addCleanup(other.shutdown)
        threading.Thread(target=other.serve_forever, daemon=True).start()
        self.open(self.ramp, "a.x")
        for path in "/", "/api/runs", "/page/main.js":
            self.browser.get(f"http://127.0.0.1:{other.server_port}{path}")
            self.assertIn((path, None), seen)
        self.assertEqual({cookie for _, cookie in seen}, {None})

    def test_page_works_through_a_tunnel_with_another_port(self):
        address = self.serve(self.ramp)
        port = int(re.search(r":(\d+)/", address)[1])
        tunnel = socketserver.ThreadingTCPServer(("127.0.0.1", 0), forwarder_to(port))
        tunnel.daemon_threads = True
        self.addCleanup(tunnel.server_close)
        self.addCleanup(tunnel.shutdown)
        threading.Thread(target=tunnel.serve_forever, daemon=True).start()
        self.browser.get(address.replace(f":{port}/", f":{tunnel.server_address[1]}/"))
        self.plot("a.x")
        self.wait(lambda: len(self.inked()) > 500)
        self.press("a")
        self.wait_for({"a.x": ["500"]}, self.legend)

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

    def test_requests_for_many_signals_are_split(self):
        self.open(self.ramp)
        short = [{"path": f"s{number}", "element": 0} for number in range(130)]
        self.assertEqual([len(part) for part in self.call("api", "partsOf", short)], [64, 64, 2])
        long = [{"path": "é" * 1000, "element": 0}] * 4
        self.assertEqual(self.call("api", "partsOf", long), [[line] for line in long])
        self.assertEqual(self.call("api", "partsOf", []), [])

    def test_intervals_of_great_times_have_a_length(self):
        self.open(self.ramp)
        first, last = self.call("time_range", "drawable", -1.7e308, 1.7e308)
        self.assertLess(last - first, math.inf)
        self.assertGreater(last, 1e307)
        self.assertLess(first, -1e307)

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
        return self.wait(lambda: [file for file in self.directory.glob(f"*.{suffix}") if file.stat().st_size > 0][0])

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

    def test_pictures_mark_a_single_value_among_nan(self):
        self.open(self.record("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {step} {5 if step == 7777 else 'nan'}\n" for step in range(20000)) + "end\n"), "x")
        picture = xml.etree.ElementTree.parse(self.saved("#save-svg", "svg")).getroot()
        (circle,) = picture.iter("{http://www.w3.org/2000/svg}circle")
        self.assertAlmostEqual(float(circle.get("cx")), len(self.ink()) / 2 + self.at(7777), delta=2)

    def test_visible_data_is_saved_with_every_step(self):
        self.open(self.ramp, "a.y")
        self.show(10, 900)
        rows = list(csv.reader(io.StringIO(self.saved("#save-csv", "csv").read_text())))
        self.assertEqual([(float(row[-2]), float(row[-1])) for row in rows[1:]],
                         [(step, -step) for step in range(10, 901)])

    def test_single_elements_are_saved_alone(self):
        self.open(self.record("name wide\ngroup 0 w:1000 x:1\nbegin\nramp 0 1001 3 0\nend\n"), "x")
        self.one("#filter").send_keys("w[3]", Keys.ENTER)
        self.wait(lambda: "w[3]" in self.legend())
        self.browser.execute_script("document.activeElement.blur()")
        self.assertEqual(self.saved("#save-csv", "csv").read_text().split("\n")[0], "time,w[3],x")

    def test_many_signals_are_saved(self):
        names = [f"s{number}" for number in range(72)]
        self.open(self.record("name many\ngroup 0 " + " ".join(f"{name}:1" for name in names) +
                              "\nbegin\nwrite 0 0 " + "1 " * 72 + "\nend\n"), "s0")
        self.show_plots(names)
        (header, *_) = csv.reader(io.StringIO(self.saved("#save-csv", "csv").read_text()))
        self.assertLessEqual(set(names), set(header))

    def test_download_that_is_refused_is_reported(self):
        self.expected_errors = ("status of 414",)
        names = [letter * 1000 for letter in "abcdefghi"]
        self.open(self.record("name long\ngroup 0 " + " ".join(f"{name}:1" for name in names) +
                              "\nbegin\nwrite 0 0 " + "1 " * 9 + "\nend\n"), names[0])
        self.show_plots(names)
        self.press("s")
        self.wait(lambda: self.one("#save-dialog").is_displayed())
        self.one("#save-csv").click()
        self.wait_for("These are too many signals for one file.", lambda: self.text("#banner"))
        self.press("a")
        self.wait(lambda: not self.one("#banner").is_displayed())

    def test_refusal_of_a_download_says_why(self):
        self.expected_errors = ("status of 400",)
        names = [f"s{number}" for number in range(251)]
        many = self.record("name many\ngroup 0 " + " ".join(f"{name}:1" for name in names) +
                           "\nbegin\nwrite 0 0 " + "1 " * 251 + "\nend\n")
        self.open(many, "s0")
        self.show_plots(names)
        self.refused_csv("These are too many signals for one file.")
        address = re.sub(r"(run=[^&@]*)", r"\1@-1.7e308", self.browser.current_url)
        self.browser.get("about:blank")
        self.browser.get(re.sub(r"&plot=[^&]*", "&plot=s0", address) + "&from=0&to=1e308")
        self.wait_for(["s0"], lambda: list(self.legend()))
        self.refused_csv('The parameter "to" is not a finite number.')

    def refused_csv(self, message):
        self.press("s")
        self.wait(lambda: self.one("#save-dialog").is_displayed())
        self.one("#save-csv").click()
        self.wait_for(message, lambda: self.text("#banner"))

    def test_runs_behind_one_that_is_gone_are_saved(self):
        self.expected_errors = ("status of 404", "status of 410")
        self.record("name kept\ngroup 0 x:1\nbegin\nwrite 0 0 42\nend\n")
        gone = self.record("name gone\ngroup 0 x:1\nbegin\nwrite 0 0 1\nend\n")
        self.show_two_runs("gone", "kept")
        shutil.rmtree(gone)
        self.wait(lambda: self.all(".note.error"))
        self.assertEqual(self.saved("#save-csv", "csv").read_text(), "time,x\n0,42\n")
        self.wait(lambda: self.text("#banner").startswith("The run is gone"))

    def show_two_runs(self, first, second):
        """Plots x of two runs in the directory."""
        self.open(self.directory)
        names = [run.text.splitlines()[0] for run in self.all(".run")]
        self.all(".run-open")[names.index(first)].click()
        self.plot("x")
        self.all(".run input[type=checkbox]")[names.index(second)].click()
        self.wait_until_drawn()

    def test_double_click_that_begins_on_a_dialog_moves_no_cursor(self):
        self.open(self.ramp, "a.x")
        self.press("a")
        self.double_click_on_dialog()
        ActionChains(self.browser).move_to_element_with_offset(self.graph(), self.at(200), 0).click().perform()
        self.wait(lambda: not self.text("#cursor-times").startswith("A 500 "))
        self.press(".")
        self.wait(lambda: re.match(r"A \d+ ·", self.text("#cursor-times")))
        self.double_click_on_dialog()

    def double_click_on_dialog(self):
        """The first press closes the dialog, so that the second one falls on the plot."""
        before = self.text("#cursor-times").split(" ·")[0]
        self.show(100, 900)
        self.press("s")
        self.wait(lambda: self.one("#save-dialog").is_displayed())
        ActionChains(self.browser).double_click(self.one("#save-svg")).perform()
        self.wait_for([0, 1000], self.interval)
        self.assertEqual(self.text("#cursor-times").split(" ·")[0], before)

    def show_plots(self, names):
        """Shows these signals in one plot."""
        self.wait(lambda: "plot=" in self.fragment())
        address = re.sub(r"&plot=[^&]*", "", self.browser.current_url)
        self.browser.execute_script("location.href = arguments[0]", f"{address}&plot={','.join(names)}")
        self.wait(lambda: len(self.legend()) == min(24, len(names)))
        self.wait_until_drawn()

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
            self.resize(width, height)
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
