import math
import re

from browser import BrowserTest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

STEP_COUNT = 20000
WAVE = ("name wave\ngroup 0 plant.wave:1 plant.vector:3 other.name:1\nbegin\n" + "".join(
    f"write 0 {step} {math.sin(step / 1000) + (50 if step == 7777 else 0)} 1 2 {3 + step % 2} {step}\n"
    for step in range(STEP_COUNT)) + "end\n")


class ViewPageTest(BrowserTest):
    """The page of a finished run."""

    def test_runs_are_listed_with_their_state(self):
        self.record(WAVE)
        self.recorder("name second\ngroup 0 x:1\nbegin\nwrite 0 0 1\nshow\n")
        damaged = self.record("name third\ngroup 0 x:1\nbegin\nend\n")
        (damaged / "index.sqlite").write_bytes(b"no database")
        self.open(self.directory)
        texts = [run.text for run in self.all(".run")]
        self.assertEqual(len(texts), 3)
        self.assertRegex("\n".join(texts), r"wave\n\w{8}\nfinished\n")
        self.assertRegex("\n".join(texts), r"second\n\w{8}\nrunning\n")
        self.assertEqual(len(self.all(".run.damaged .error")), 1)

    def test_filter_narrows_the_tree_while_typing(self):
        self.open(self.record(WAVE))
        self.row("plant.wave")

        def names():
            return [row.get_attribute("title") for row in self.all(".tree-row")]

        self.assertEqual(names(), ["plant", "plant.wave", "plant.vector", "other", "other.name"])
        self.one("#filter").send_keys("VEC")
        self.wait_for(["plant", "plant.vector"], names)
        self.one("#filter").send_keys("x")
        self.wait_for("No signal fits the filter.", lambda: self.text("#signals"))
        self.one("#filter").send_keys(Keys.ESCAPE)
        self.wait(lambda: len(names()) == 5)

    def test_every_element_is_found_by_its_number(self):
        self.open(self.record("group 0 w:1000 x:1\nbegin\nramp 0 1001 3 0\nend\n"))
        self.row("w")
        self.one("#filter").send_keys("W[99")
        expected = ["w", "w[99]", *[f"w[{element}]" for element in range(990, 1000)]]
        self.wait_for(expected, lambda: [row.get_attribute("title") for row in self.all(".tree-row")])
        self.one("#filter").send_keys("9]", Keys.ENTER)
        self.wait_for({"w[999]": ["2"]}, self.legend)

    def test_branches_close_while_the_filter_asks_for_elements(self):
        self.open(self.record("group 0 w:50 p.x:1\nbegin\nramp 0 51 3 0\nend\n"))
        self.row("w")
        self.one("#filter").send_keys("w[")
        self.wait(lambda: len(self.all(".tree-row")) == 51)
        self.one(".tree-row .arrow").click()
        self.wait(lambda: len(self.all(".tree-row")) == 1)
        self.one(".tree-row .arrow").click()
        self.wait(lambda: len(self.all(".tree-row")) == 51)

    def test_aggregate_shows_the_spike_of_one_step(self):
        self.open(self.record(WAVE), "plant.wave")
        self.assertRegex(self.text("#detail"), r"Aggregate: .* of \d\d steps\.")
        ink = self.ink()
        top = min(rows[0] for rows in ink if rows is not None)
        spike = [x for x, rows in enumerate(ink) if rows is not None and rows[0] < top + 5]
        first, last = self.inked()[0], self.inked()[-1]
        self.assertAlmostEqual((sum(spike) / len(spike) - first) / (last - first), 7777 / STEP_COUNT, delta=0.004)
        self.assertGreater(len(self.inked()), 500)

    def test_line_crosses_a_gap_between_dense_steps(self):
        self.open(self.record("group 0 x:1\nbegin\nramp 0 1 20000 0\nramp 0 1 20000 40000\nramp 0 1 9 140000\nend\n"),
                  "x")
        for first, last in (20500, 39500), (60500, 100500):
            self.show(first, last)
            self.assertIn("Aggregate", self.text("#detail"))
            self.assertGreater(len(self.inked()), 500)

    def test_single_value_among_nan_is_marked_in_an_aggregate(self):
        self.open(self.record("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {step} {5 if step == 7777 else 'nan'}\n" for step in range(STEP_COUNT)) + "end\n"), "x")
        self.assertIn("Aggregate", self.text("#detail"))
        ink = self.ink()
        bottom = max(rows[1] for rows in ink if rows is not None)
        marked = [x for x, rows in enumerate(ink) if rows is not None and rows[0] < bottom - 50]
        expected = len(ink) / 2 + self.at(7777)
        self.assertTrue(marked)
        self.assertLess(max(abs(x - expected) for x in marked), 5)

    def test_keys_zoom_to_single_steps_with_markers(self):
        self.open(self.record(WAVE), "plant.wave")
        self.press(".")
        self.wait(lambda: "A " in self.text("#cursor-times"))
        for _ in range(10):
            self.press("+")
            self.wait_until_drawn()
        self.wait_for("Every step is shown.", lambda: self.text("#detail"))
        first, last = self.interval()
        self.assertAlmostEqual(last - first, (STEP_COUNT - 1) / 1024, places=2)
        step = math.ceil(first)
        heights = [rows and rows[1] - rows[0] for rows in self.ink()]
        middle = len(heights) / 2
        self.assertGreaterEqual(heights[round(middle + self.at(step + 1))], 4)
        self.assertLessEqual(heights[round(middle + self.at(step + 1.5))], 3)
        self.press(Keys.HOME)
        self.wait_for([0, STEP_COUNT - 1], self.interval)

    def test_whole_run_shows_all_finite_times(self):
        for times, expected in (((0, 10, 5), [0, 10]), ((0, 10, "nan"), [0, 10]), ((7, "inf", 3), [3, 7])):
            run = self.record("group 0 x:1\nbegin\n" + "".join(f"write 0 {time} 1\n" for time in times) + "end\n")
            self.open(run, "x")
            self.wait_for(expected, self.interval)

    def test_wheel_zooms_at_the_pointer(self):
        self.open(self.record(WAVE), "plant.wave")
        ActionChains(self.browser).move_to_element_with_offset(self.graph(), self.at(5000), 0).perform()
        self.wait(lambda: "pointer" in self.text(".legend thead"))
        self.scroll(-500)
        self.wait(lambda: self.interval()[1] < 15000)
        first, last = self.interval()
        self.assertAlmostEqual((5000 - first) / (last - first), 0.25, delta=0.01)
        self.scroll(5000)
        self.wait(lambda: self.interval()[1] > 15000)

    def scroll(self, distance):
        self.browser.execute_cdp_cmd("Input.dispatchMouseEvent", {
            "type": "mouseWheel", "deltaX": 0, "deltaY": distance, **self.place_of(5000)})

    def place_of(self, time):
        box = self.graph().rect
        return {"x": box["x"] + box["width"] / 2 + self.at(time), "y": box["y"] + box["height"] / 2}

    def test_drag_zooms_and_drag_with_shift_pans(self):
        self.open(self.record(WAVE), "plant.wave")
        self.drag(5000, 10000)
        self.wait(lambda: self.interval()[0] > 1000)
        first, last = self.interval()
        self.assertAlmostEqual(first, 5000, delta=50)
        self.assertAlmostEqual(last, 10000, delta=50)
        self.drag(6000, 7000, shift=True)
        self.wait(lambda: self.interval()[0] < 4500)
        self.assertAlmostEqual(self.interval()[0], first - 1000, delta=50)
        self.assertAlmostEqual(self.interval()[1], last - 1000, delta=50)

    def test_double_click_shows_the_whole_run_and_moves_no_cursor(self):
        self.open(self.record(WAVE), "plant.wave")
        self.show(5000, 10000)
        self.press("a")
        self.wait_for("A 7500", lambda: self.text("#cursor-times").split(" ·")[0])
        ActionChains(self.browser).move_to_element_with_offset(self.graph(), self.at(6000), 0).double_click().perform()
        self.wait_for([0, STEP_COUNT - 1], self.interval)
        self.wait_for("A 7500", lambda: self.text("#cursor-times").split(" ·")[0])

    def test_signals_without_elements_are_told(self):
        self.open(self.record("group 0 none:0 x:1\nbegin\nwrite 0 0 1\nend\n"), "none")
        self.wait_for("none has no elements.", lambda: self.text(".notes"))

    def test_each_element_has_a_line(self):
        self.open(self.record(WAVE), "plant.vector")
        self.wait_for({"plant.vector[0]": ["1"], "plant.vector[1]": ["2"], "plant.vector[2]": ["4"]}, self.legend)
        for line in range(3):
            self.assertGreater(len(self.inked(line=line)), 500)

    def test_plots_share_the_time_axis(self):
        self.open(self.record(WAVE), "plant.wave")
        self.plot("other.name", new=True)
        self.assertEqual([list(self.legend(plot)) for plot in (0, 1)], [["plant.wave"], ["other.name"]])
        self.show(1000, 2000)
        self.assertEqual(self.inked(0)[0], self.inked(1)[0])
        self.assertEqual(self.inked(0)[-1], self.inked(1)[-1])
        self.press(Keys.DELETE)
        self.wait(lambda: len(self.all(".plot")) == 1)

    def test_signals_are_dragged_into_plots(self):
        self.open(self.record(WAVE), "plant.wave")
        chain = ActionChains(self.browser)
        chain.drag_and_drop(self.row("other.name"), self.graph()).perform()
        self.wait(lambda: list(self.legend()) == ["plant.wave", "other.name"])
        chain.drag_and_drop(self.row("plant.vector"), self.one("#new-plot")).perform()
        self.wait(lambda: len(self.all(".plot")) == 2)
        self.assertEqual(len(self.legend(1)), 3)

    def test_cursors_show_what_print_prints(self):
        run = self.record(WAVE)
        self.open(run, "plant.wave", "other.name")
        self.show(7770, 7790)
        chain = ActionChains(self.browser)
        chain.move_to_element_with_offset(self.graph(), self.at(7777.5), 0).click().perform()
        chain.key_down(Keys.SHIFT).move_to_element_with_offset(self.graph(), self.at(7780.5), 0).click()
        chain.key_up(Keys.SHIFT).perform()
        rows = {line.split(",")[0]: line.split(",")[1:] for line in self.output_of(
            "print", run, "plant.wave", "other.name", "--from", "7770", "--to", "7790", "--csv").splitlines()}
        values = [[float(rows[time][i]) for time in ("7777", "7780")] for i in (0, 1)]
        expected = {name: [first, second, second - first]
                    for name, (first, second) in zip(("plant.wave", "other.name"), values)}
        self.wait_for(expected, lambda: {name: [float(text.replace("−", "-")) for text in texts if text]
                                         for name, texts in self.legend().items()})
        self.assertRegex(self.text("#cursor-times"), r"A 7777\.\d+ · B 7780\.\d+ · difference (2\.9|3)")
        self.press(Keys.ESCAPE)
        self.wait(lambda: len(self.legend()["other.name"]) == 1)

    def test_keys_move_the_cursor_from_step_to_step(self):
        self.open(self.record("group 0 x:1\nbegin\nwrite 0 0 5\nwrite 0 0.1 6\nwrite 0 7 7\nend\n"), "x")
        self.press("a", ".")

        def times():
            return re.sub(" ·.*", "", self.text("#cursor-times"))

        self.wait_for("A 7", times)
        for key, time in (",", "A 0.1"), (",", "A 0"), (",", "A 0"), (".", "A 0.1"):
            self.press(key)
            self.wait_for(time, times)
        self.wait(lambda: self.legend()["x"][0] == "6")

    def test_keys_pass_infinite_times(self):
        self.open(self.record("group 0 x:1\nbegin\nwrite 0 0 5\nwrite 0 inf 6\nwrite 0 1 7\nwrite 0 -inf 8\n"
                              "write 0 2 9\nend\n"), "x")
        self.show(-1, 3)
        self.press("a")
        for key, time in (".", "A 2"), (",", "A 1"), (",", "A 0"), (".", "A 1"), (".", "A 2"):
            self.press(key)
            self.wait_for(time, lambda: self.text("#cursor-times").split(" ·")[0])

    def test_times_are_labelled_at_their_places(self):
        self.open(self.record(WAVE), "plant.wave")
        labels = self.browser.execute_script("""
            const {left, width} = document.querySelector(".overlay").getBoundingClientRect();
            return [...document.querySelectorAll(".dygraph-axis-label-x")].map((label) => {
                const box = label.getBoundingClientRect();
                return [Number(label.textContent), (box.left + box.right) / 2 - left - width / 2];
            });""")
        self.assertGreater(len(labels), 3)
        for time, place in labels:
            self.assertAlmostEqual(place, self.at(time), delta=1.5)

    def test_gaps_jumps_and_infinities_are_drawn(self):
        self.open(self.record("group 0 x:1\nbegin\nwrite 0 0 1\nwrite 0 2 1\nwrite 0 2 3\nwrite 0 4 3\nwrite 0 5 nan\n"
                              "write 0 6 3\nwrite 0 8 3\nwrite 0 9 inf\nwrite 0 10 2\nend\n"), "x")
        ink = self.ink()

        def rows(time):
            middle = round(len(ink) / 2 + self.at(time))
            near = [row for column in ink[middle - 2:middle + 3] if column is not None for row in column]
            return (min(near), max(near)) if near else None

        self.assertEqual([rows(time) for time in (4.5, 5.5, 8.5, 9.5)], [None] * 4)
        self.assertGreater(rows(5)[0], rows(1)[1])
        self.assertLess(rows(9)[0], rows(7)[0])
        self.assertGreater(rows(2)[1] - rows(2)[0], 300)
        self.assertIsNotNone(rows(10))

    def test_signals_with_odd_paths_are_plotted(self):
        self.open(self.record("group 0 a\x07b:1 c\udcffd:1\nbegin\nwrite 0 0 1 2\nwrite 0 1 1 2\nend\n"),
                  "a\\x07b", "c\\xFFd")
        self.wait_for({"a\\x07b": ["1"], "c\\xFFd": ["2"]}, self.legend)
        self.assertGreater(len(self.inked(line=1)), 500)

    def test_infinite_times_are_left_out(self):
        self.open(self.record("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {time} {value}\n" for value, time in enumerate(("-inf", -1.7e308, 0, 1.7e308, "inf"))) +
            "end\n"), "x")
        self.press("a", ".")
        self.wait_for("1.7e+308", lambda: self.text("#cursor-times").split()[1])
        self.press(".", ",")
        self.wait_for("0", lambda: self.text("#cursor-times").split()[1])
        path = self.browser.execute_async_script("""
            const done = arguments[0];
            import(new URL("page/drawing.js", location.href)).then(({drawLine}) => {
                const numbers = [];
                const pen = {moveTo: (...place) => numbers.push(...place), lineTo: (...place) => numbers.push(...place)};
                const scale = {from: -1e308, to: 1e308, low: 0, high: 4, left: 0, top: 0, width: 9, height: 9, shift: 0};
                const trace = {count: 3, times: [-1.7e308, 0, 1.7e308], values: [1, 2, 3],
                               before: {time: -Infinity, value: 0}, after: {time: Infinity, value: 4}};
                drawLine(trace, scale, pen);
                done(numbers.map(Number.isFinite));
            });""")
        self.assertEqual(set(path), {True})
        self.assertGreater(len(path), 5)

    def test_names_are_no_html(self):
        name = "<img/src=x/onerror=alert(1)>"
        self.open(self.record(f"name {name}\ngroup 0 {name}:1\nbegin\nwrite 0 0 1\nend\n"), name)
        self.assertEqual(list(self.legend()), [name])
        self.assertEqual(self.all("img"), [])
        self.assertIn(name, self.text("#runs"))

    def test_lines_that_are_not_drawn_are_counted(self):
        self.open(self.record(f"group 0 wide:30 x:1\nbegin\nwrite 0 0 {'1 ' * 31}\nend\n"), "wide")
        self.assertEqual(len(self.legend()), 24)
        self.assertIn("6 more lines are not drawn", self.text(".notes"))

    def test_second_dozen_of_lines_is_dashed(self):
        numbers = " ".join(map(str, range(13)))
        self.open(self.record(f"group 0 x:13\nbegin\nwrite 0 0 {numbers}\nwrite 0 10 {numbers}\nend\n"), "x")
        self.assertEqual(len(self.all(".swatch.dashed")), 1)
        # The 13th line, which is the uppermost one, has the colour of the first one.
        rows = [rows[0] for rows in self.ink() if rows is not None]
        share = sum(row < min(rows) + 5 for row in rows) / len(rows)
        self.assertGreater(share, 0.4)
        self.assertLess(share, 0.9)

    def test_wide_plots_show_each_pixel_and_step(self):
        self.resize(4500, 800)
        self.open(self.record("group 0 x:1\nbegin\nwave 0 100000 0.1\nend\n"), "x")
        self.show(2000, 8000)
        pixels = self.graph().size["width"] - 114
        self.assertGreater(pixels, 3000)
        self.assertGreater(len(self.inked()), pixels - 5)
        steps = int(re.search(r"of ([\d,]+) steps", self.text("#detail"))[1].replace(",", ""))
        self.assertLessEqual(steps, 60000 / pixels + 2)
        self.assertEqual({size < 200000 for size in self.answer_sizes()}, {True})
        length = 3.8 * pixels / 10 / 1.5
        self.show(5000, 5000 + length)
        self.assertEqual(self.text("#detail"), "Every step is shown.")
        self.assertGreater(len(self.inked()), pixels - 5)

    def test_each_line_is_asked_for_once(self):
        self.open(self.record(WAVE), "plant.vector")
        self.browser.execute_script("""
            const own = fetch;
            globalThis.asked = 0;
            globalThis.fetch = async (address, options) => {
                const element = /trace.*element=(\\d)/.exec(address)?.[1];
                if (element !== undefined) globalThis.asked += 1;
                await new Promise((go) => setTimeout(go, 100 * (element ?? 0)));
                return own(address, options);
            };""")
        self.show(1000, 4000)
        asked = self.browser.execute_async_script("setTimeout(() => arguments[0](asked), 500)")
        self.assertEqual(asked, 3)

    def answer_sizes(self):
        return self.browser.execute_script(
            "return performance.getEntriesByType('resource').filter(({name}) => name.includes('/trace?'))"
            ".map(({encodedBodySize}) => encodedBodySize)")

    def test_plots_are_drawn_for_each_pixel_of_the_device(self):
        self.resize(1280, 720, scale=2)
        self.open(self.record(WAVE), "plant.wave")
        ink, pixels = self.ink(), (self.graph().size["width"] - 114) * 2
        self.assertGreater(len([rows for rows in ink if rows is not None]), pixels - 5)
        steps = int(re.search(r"of ([\d,]+) steps", self.text("#detail"))[1])
        self.assertLessEqual(steps, STEP_COUNT / pixels + 2)
        top = min(rows[0] for rows in ink if rows is not None)
        spike = [x for x, rows in enumerate(ink) if rows is not None and rows[0] < top + 10]
        self.assertAlmostEqual(spike[0], len(ink) / 2 + 2 * self.at(7777), delta=6)

    def test_aggregates_mark_nan_and_infinities(self):
        odd = {5000: "nan", 10000: "inf", 15000: "-inf"}
        self.open(self.record("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {step} {odd.get(step, 1 + step % 2)}\n" for step in range(STEP_COUNT)) + "end\n"), "x")
        self.assertIn("Aggregate", self.text("#detail"))
        ink = self.ink()
        top = min(rows[0] for rows in ink if rows is not None)
        bottom = max(rows[1] for rows in ink if rows is not None)

        def rows_at(step):
            middle = round(len(ink) / 2 + self.at(step))
            near = [rows for rows in ink[middle - 2:middle + 3] if rows is not None]
            return min(rows[0] for rows in near), max(rows[1] for rows in near)

        plain = rows_at(2500)
        self.assertGreater(plain[0], top + 5)
        self.assertLess(plain[1], bottom - 5)
        self.assertGreater(rows_at(5000)[1], bottom - 2)
        self.assertLess(rows_at(10000)[0], top + 2)
        self.assertGreater(rows_at(15000)[1], bottom - 2)

    def test_cursor_shows_values_in_all_plots(self):
        self.open(self.record(WAVE), "plant.vector")
        self.plot("other.name", new=True)
        self.show(7000, 7010)
        ActionChains(self.browser).move_to_element_with_offset(self.graph(), self.at(7004.5), 0).click().perform()
        self.wait_for(({"plant.vector[0]": "1", "plant.vector[1]": "2", "plant.vector[2]": "3"}, {"other.name": "7004"}),
                      lambda: tuple({name: values[0] for name, values in self.legend(plot).items()} for plot in (0, 1)))

    def test_list_shows_start_and_duration(self):
        run = self.record(WAVE)
        facts = self.json_of("info", run)
        self.recorder("name growing\ngroup 0 x:1\nbegin\nwrite 0 0 1\nshow\n")
        killed, _ = self.recorder("name killed\ngroup 0 x:1\nbegin\nwrite 0 0 1\nshow\n")
        killed.kill()
        killed.wait()
        self.open(self.directory)
        # The clocks of the browser and of the server differ by a day.
        self.browser.execute_script("const now = Date.now; Date.now = () => now() - 86400000")

        def row(name):
            return next(node.text for node in self.all(".run") if node.text.startswith(name + "\n"))

        start = self.browser.execute_script("return new Date(arguments[0]).toLocaleTimeString('en-GB')", facts["start"])
        self.assertRegex(row("wave"), start)
        self.assertRegex(row("wave"), r"\d+ ms · 20K steps|\d+(\.\d)? s · 20K steps")
        self.assertIn("unknown duration · 1 steps", row("killed"))
        self.wait(lambda: re.search(r"\n.*[1-9]\d*(\.\d)? s · 1 steps", row("growing")))
