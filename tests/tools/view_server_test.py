import json
import math
import os
import shutil
import signal
import socket
import subprocess
import time
import unittest
import urllib.parse

from commands import COMMAND
from view_server import Events, ViewTest

SCRIPT = ("name demo\ngroup 1 wave.x:1 pair:2\nbegin\n" +
          "".join(f"write 1 {step} {step} {-step} {2 * step}\n" for step in range(10)))


class ViewAnswersTest(ViewTest):
    """What the server answers."""

    def test_runs_of_a_directory_are_listed(self):
        self.simulate("bouncing-ball")
        self.simulate("dc-motor")
        server = self.serve(self.directory / "runs")
        runs = server.json("/api/runs")["runs"]
        self.assertEqual([run["name"] for run in runs], ["dc-motor", "bouncing-ball"])
        listed = self.json_of("list", self.directory / "runs")["runs"]
        for run, expected in zip(runs, listed):
            self.assertEqual({key: run[key] for key in expected}, expected)

    def test_damaged_run_is_listed_with_its_error(self):
        run = self.simulate()
        (run / "index.sqlite").write_bytes(b"no database")
        (entry,) = self.serve(run.parent).json("/api/runs")["runs"]
        self.assertEqual(entry["location"], str(run))
        self.assertIn("index.sqlite", entry["error"])

    def test_steps_are_those_that_print_shows(self):
        run = self.simulate()
        server = self.serve(run)
        printed = self.json_of("print", run, "ball.height")["tables"][0]["rows"]
        kind, _, (times, values) = server.trace(server.run_id(), signal="ball.height", **{"from": 0, "to": 10})
        self.assertEqual(kind, 0)
        self.assertEqual([list(row) for row in zip(times, values)], printed)

    def test_aggregate_hides_no_spike(self):
        server = self.serve(self.wave(2_000_000))
        run = server.run_id()
        kind, _, columns = server.trace(run, **{"from": 0, "to": 2000})
        self.assertEqual(kind, 1)
        spikes = [i for i, greatest in enumerate(columns[4]) if greatest == 2]
        self.assertEqual(len(spikes), 2)
        self.assertLessEqual(columns[0][spikes[0]], 500)
        self.assertGreaterEqual(columns[1][spikes[0]], 500)
        _, _, (times, values) = server.trace(run, **{"from": 499.99, "to": 500.01})
        self.assertIn((500.0, 2.0), zip(times, values))
        for time_, first in zip(columns[0], columns[2]):
            if first != 2:
                self.assertAlmostEqual(first, math.sin(time_), places=12)

    def test_csv_is_what_print_prints(self):
        run = self.record(SCRIPT + "end\n")
        server = self.serve(run)
        status, headers, body = server.open(f"/api/runs/{server.run_id()}/csv?signal=pair&signal=wave.x&from=2&to=7")
        self.assertEqual(status, 200)
        self.assertRegex(headers["Content-Disposition"], r'attachment; filename="logging2-[0-9a-f]{8}\.csv"')
        self.assertEqual(body.decode(), self.output_of("print", run, "--csv", "--from", 2, "--to", 7))

    def test_csv_has_the_elements_that_were_asked_for(self):
        server = self.serve(self.record("group 1 a:4 b:2 c:1\nbegin\nwrite 1 0 1 2 3 4 5 6 7\nend\n"))
        for query, expected in (("signal=a&element=2&signal=a&element=0", "time,a[0],a[2]\n0,1,3\n"),
                                ("signal=b&element=all&signal=a&element=3", "time,a[3],b[0],b[1]\n0,4,5,6\n"),
                                ("signal=a&element=1&signal=a&element=all", "time,a[0],a[1],a[2],a[3]\n0,1,2,3,4\n")):
            _, _, body = server.open(f"/api/runs/{server.run_id()}/csv?{query}")
            self.assertEqual(body.decode(), expected)

    def test_many_signals_fit_one_csv(self):
        names = [f"s{number}" for number in range(200)]
        server = self.serve(self.record("group 0 " + " ".join(f"{name}:1" for name in names) +
                                        "\nbegin\nwrite 0 0 " + "1 " * 200 + "\nend\n"))
        query = urllib.parse.urlencode([("signal", name) for name in names])
        status, _, body = server.open(f"/api/runs/{server.run_id()}/csv?{query}")
        self.assertEqual((status, body.decode().split("\n")[0]), (200, ",".join(["time", *names])))

    def test_signals_with_odd_paths_can_be_asked_for(self):
        server = self.serve(self.record("group 0 a\x07b:1 c\udcffd:1\nbegin\nwrite 0 0 1 2\nend\n"))
        run = "/api/runs/" + server.run_id()
        names = [signal["path"] for signal in server.json(run)["signals"]]
        self.assertEqual(names, ["a\\x07b", "c\\xFFd"])
        for value, name in enumerate(names, 1):
            (found,) = server.json(run + "/values", signal=name, element=0, time=0)["values"]
            self.assertEqual((found["signal"], found["before"]["value"]), (name, value))
            _, _, columns = server.trace(server.run_id(), signal=name, **{"from": 0, "to": 1})
            self.assertEqual(columns, [(0,), (value,)])
            self.assertEqual(server.status(f"{run}/csv?" + urllib.parse.urlencode({"signal": name})), 200)

    def test_values_of_wide_signals_are_few(self):
        width = 20_000
        server = self.serve(self.record(f"group 0 wide:{width}\nbegin\nramp 0 {width} 2 0\nend\n"))
        run = "/api/runs/" + server.run_id()
        query = urllib.parse.urlencode([("time", 0), *[("signal", "wide"), ("element", width - 1)] * 64])
        status, _, body = server.open(f"{run}/values?{query}")
        self.assertEqual((status, len(json.loads(body)["values"])), (200, 64))
        self.assertLess(len(body), 20_000)

    def test_long_csv_is_complete(self):
        server = self.serve(self.wave(200_000))
        _, _, body = server.open(f"/api/runs/{server.run_id()}/csv?signal=wave.x")
        self.assertEqual(body.count(b"\n"), 200_001)

    def test_difference_is_what_diff_finds(self):
        lines = SCRIPT.replace("write 1 5 5", "write 1 5 5.5")
        a, b = self.record(SCRIPT + "end\n"), self.record(lines + "end\n")
        server = self.serve(self.directory)
        ids = {run["location"]: run["id"] for run in server.json("/api/runs")["runs"]}
        found = server.json("/api/diff", a=ids[str(a)], b=ids[str(b)], signal="wave.x", element=0,
                            pixels=10, absolute=0.1, **{"from": 0, "to": 9})
        expected = next(signal for signal in self.json_of("diff", a, b, "--absolute", 0.1, status=1)["signals"]
                        if signal["path"] == "wave.x")
        self.assertEqual((found["same"], found["maximum"], found["at"]), (False, 0.5, 5))
        self.assertEqual(found["intervals"], [[4.2, 5.8]])
        self.assertTrue(expected["differs"])

    def test_undone_steps_disappear(self):
        writer, location = self.recorder(SCRIPT + "show\n")
        server = self.serve(location)
        run = server.run_id()
        events = Events(server, run)
        self.addCleanup(events.close)
        self.assertEqual(events.wait_for(lambda event, data: event == "run")["steps"], 10)
        writer.stdin.write("rollback 1 5\nwrite 1 6 100 0 0\nshow\n")
        shown = events.wait_for(lambda event, data: data.get("revision") == 1 and data["steps"] == 7)
        self.assertEqual(shown["groups"], [{"id": 1, "steps": 7, "firstTime": 0, "lastTime": 6,
                                            "leastTime": 0, "greatestTime": 6}])
        _, revision, (times, values) = server.trace(run, **{"from": 4.5, "to": 20})
        self.assertEqual((revision, times, values), (1, (5, 6), (5, 100)))
        writer.stdin.write("end\n")
        self.assertIsNotNone(events.wait_for(lambda event, data: data.get("state") == "finished"))

    def test_events_tell_of_the_groups_that_have_changed(self):
        count = 2000
        writer, location = self.recorder("".join(f"group {group} s{group}:1\n" for group in range(count)) + "begin\n" +
                                         "".join(f"write {group} 0.1 1\n" for group in range(count)) + "show\n")
        server = self.serve(location)
        events = Events(server, server.run_id())
        self.addCleanup(events.close)

        def groups_with(steps):
            return [group["id"] for event, data in events.seen if event == "run"
                    for group in data.get("groups", []) if group["steps"] == steps]

        events.wait_for(lambda event, data: len(groups_with(1)) == count)
        self.assertEqual(sorted(groups_with(1)), list(range(count)))
        writer.stdin.write("write 7 0.2 1\nshow\n")
        events.wait_for(lambda event, data: groups_with(2))
        writer.stdin.write("end\n")
        self.assertNotIn("groups", events.wait_for(lambda event, data: data.get("state") == "finished"))
        self.assertEqual((len(groups_with(1)), groups_with(2)), (count, [7]))
        self.assertLess(max(len(json.dumps(data)) for _, data in events.seen), 200_000)

    def test_new_runs_are_announced(self):
        run = self.simulate()
        server = self.serve(run.parent)
        events = Events(server)
        self.addCleanup(events.close)
        self.simulate()
        self.assertEqual(events.wait_for(lambda event, data: event == "runs"), {})

    def test_end_of_a_killed_writer_is_announced(self):
        writer, run = self.recorder(SCRIPT + "show\n")
        server = self.serve(run.parent)
        self.assertEqual(server.json("/api/runs")["runs"][0]["state"], "running")
        events = Events(server)
        self.addCleanup(events.close)
        writer.kill()
        writer.wait()
        self.assertEqual(events.wait_for(lambda event, data: event == "runs"), {})
        self.assertEqual(server.json("/api/runs")["runs"][0]["state"], "interrupted")

    def test_run_that_disappears_is_gone(self):
        run = self.simulate()
        server = self.serve(run.parent)
        path = "/api/runs/" + server.run_id()
        self.assertEqual(server.status(path), 200)
        shutil.rmtree(run)
        status, _, body = server.open(path)
        self.assertEqual((status, json.loads(body)["error"]), (410, f"The run is gone: {run} is no recording any more."))
        self.assertEqual(server.json("/api/runs")["runs"], [])
        status, _, body = server.open(path)
        self.assertEqual((status, json.loads(body)["error"]),
                         (410, "The run is gone: its recording was removed or renamed."))

    def test_file_that_is_truncated_is_an_error(self):
        run = self.wave(100_000)
        server = self.serve(run)
        path = f"/api/runs/{server.run_id()}/trace?signal=wave.x&from=0&to=100&pixels="
        self.assertEqual(server.status(path + "100"), 200)
        os.truncate(run / "samples.bin", 5000)
        # The same question may be answered from what is kept.
        for question in path + "200", path + "3000", path.replace("to=100", "to=0.1") + "1000":
            status, _, body = server.open(question)
            self.assertEqual(status, 422)
            self.assertIn("samples.bin", json.loads(body)["error"])


class ViewProcessTest(ViewTest):
    """How the server begins and ends."""

    def test_signals_end_it_in_spite_of_open_streams(self):
        run = self.record(SCRIPT + "end\n")
        for number in signal.SIGINT, signal.SIGTERM, signal.SIGHUP:
            server = self.serve(run)
            events = Events(server, server.run_id())
            self.assertIsNotNone(events.wait_for(lambda event, data: event == "run"))
            start = time.monotonic()
            self.assertEqual(server.end(number), (0, ""))
            self.assertLess(time.monotonic() - start, 10)
            events.close()

    def test_idle_time_ends_it_in_spite_of_open_streams(self):
        server = self.serve(self.record(SCRIPT + "end\n"), "--idle-time", "1")
        events = Events(server, server.run_id())
        self.addCleanup(events.close)
        self.assertEqual(server.process.wait(60), 0)

    def test_requests_keep_it_from_being_idle(self):
        server = self.serve(self.record(SCRIPT + "end\n"), "--idle-time", "2")
        end = time.monotonic() + 4
        while time.monotonic() < end:
            self.assertEqual(server.status("/api/runs"), 200)
            time.sleep(0.2)
        self.assertEqual(server.process.wait(60), 0)

    def test_port_can_be_chosen(self):
        run = self.record(SCRIPT + "end\n")
        first = self.serve(run)
        result = subprocess.run([COMMAND, "view", run, "--no-browser", "--port", str(first.port)],
                                capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn(f"port {first.port} of 127.0.0.1 cannot be used", result.stderr)
        first.end()
        self.assertEqual(self.serve(run, "--port", str(first.port)).port, first.port)

    def test_location_without_runs_is_refused(self):
        self.assert_refused("missing", "view", self.directory / "missing", "--no-browser")
        self.assert_refused("--port", "view", self.directory, "--port", 70000)

    def test_idle_time_that_is_no_time_is_refused(self):
        for seconds in "nan", "inf", "0", "-1":
            self.assert_refused("--idle-time", "view", self.directory, "--no-browser", "--idle-time", seconds)

    def test_only_this_machine_is_served(self):
        server = self.serve(self.record(SCRIPT + "end\n"))
        with open("/proc/net/tcp", encoding="utf-8") as file:
            bound = [line.split()[1] for line in file if f":{server.port:04X} " in line and " 0A " in line]
        self.assertEqual(bound, [f"0100007F:{server.port:04X}"])
        with open("/proc/net/tcp6", encoding="utf-8") as file:
            self.assertNotIn(f":{server.port:04X} 0", file.read())

    def desktop(self):
        """The environment of a desktop, and the file that tells what was opened in its browser."""
        programs = self.directory / "bin"
        programs.mkdir()
        (programs / "xdg-open").write_text('#!/bin/sh\necho "$1" >"$OPENED.part"; cat "$1" >>"$OPENED.part"\n'
                                           'mv "$OPENED.part" "$OPENED"\n')
        (programs / "xdg-open").chmod(0o755)
        opened = self.directory / "opened"
        return {**os.environ, "PATH": f"{programs}:{os.environ['PATH']}", "DISPLAY": ":0",
                "OPENED": str(opened), "XDG_RUNTIME_DIR": str(self.directory)}, opened

    def test_no_browser_is_opened_with_no_browser(self):
        environment, opened = self.desktop()
        server = self.serve(self.record(SCRIPT + "end\n"), environment=environment)
        self.assertEqual(server.status("/api/runs"), 200)
        self.assertEqual(list(self.directory.glob("logging2-view-*")), [])
        server.end()
        self.assertEqual(list(opened.parent.glob("opened*")), [])

    def test_server_changes_no_file(self):
        finished = self.record(SCRIPT + "end\n")
        killed, left = self.recorder(SCRIPT + "show\n")
        killed.kill()
        killed.wait()

        def files():
            return {(str(path), entry.st_ino, entry.st_size, entry.st_mtime_ns, entry.st_mode)
                    for path in [self.directory, *self.directory.rglob("*")] for entry in [path.lstat()]}

        before = files()
        server = self.serve(self.directory)
        runs = server.json("/api/runs")["runs"]
        self.assertEqual({run["location"] for run in runs}, {str(finished), str(left)})
        ids = [run["id"] for run in runs]
        for run in ids:
            self.assertEqual(server.trace(run, **{"from": 0, "to": 9})[2][0][-1], 9)
            for question in "", "/values?signal=pair&element=1&time=3", "/csv?signal=pair":
                self.assertEqual(server.status(f"/api/runs/{run}{question}"), 200)
        found = server.json("/api/diff", a=ids[0], b=ids[1], signal="pair", pixels=9, **{"from": 0, "to": 9})
        self.assertTrue(found["same"])
        events = Events(server, *ids)
        self.assertIsNotNone(events.wait_for(lambda event, data: event == "look"))
        events.close()
        server.end()
        self.assertEqual(files(), before)

    def test_browser_is_not_given_the_token_as_an_argument(self):
        run = self.record(SCRIPT + "end\n")
        environment, opened = self.desktop()
        with subprocess.Popen([COMMAND, "view", run], stdout=subprocess.PIPE, text=True,
                              env=environment) as process:
            address = process.stdout.readline().strip()
            end = time.monotonic() + 60
            while not opened.exists() and time.monotonic() < end:
                time.sleep(0.05)
            name, content = opened.read_text().split("\n", 1)
            self.assertNotIn("token", name)
            self.assertIn(address, content)
            self.assertEqual(os.stat(name).st_mode & 0o777, 0o600)
            process.terminate()
            self.assertEqual(process.wait(60), 0)
        self.assertFalse(os.path.exists(name))

    def test_address_is_printed_at_once(self):
        server = self.serve(self.record(SCRIPT + "end\n"))
        self.assertIsNone(server.process.poll())
        with socket.create_connection(("localhost", server.port)):
            pass


if __name__ == "__main__":
    unittest.main()
