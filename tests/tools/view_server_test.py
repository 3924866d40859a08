import json
import math
import os
import shutil
import signal
import socket
import subprocess
import time
import unittest

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
        self.assertEqual(found["intervals"], [[4, 6]])
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
        self.assertEqual(shown["groups"], [{"id": 1, "steps": 7, "firstTime": 0, "lastTime": 6}])
        _, revision, (times, values) = server.trace(run, **{"from": 4.5, "to": 20})
        self.assertEqual((revision, times, values), (1, (5, 6), (5, 100)))
        writer.stdin.write("end\n")
        self.assertIsNotNone(events.wait_for(lambda event, data: data.get("state") == "finished"))

    def test_new_runs_are_announced(self):
        run = self.simulate()
        server = self.serve(run.parent)
        events = Events(server)
        self.addCleanup(events.close)
        self.simulate()
        self.assertEqual(events.wait_for(lambda event, data: event == "runs"), {})

    def test_run_that_disappears_is_gone(self):
        run = self.simulate()
        server = self.serve(run.parent)
        path = "/api/runs/" + server.run_id()
        self.assertEqual(server.status(path), 200)
        shutil.rmtree(run)
        status, _, body = server.open(path)
        self.assertEqual((status, json.loads(body)["error"]), (410, f"The run is gone: {run} is no recording any more."))

    def test_file_that_is_truncated_is_an_error(self):
        run = self.wave(100_000)
        server = self.serve(run)
        path = f"/api/runs/{server.run_id()}/trace?signal=wave.x&from=0&to=100&pixels="
        self.assertEqual(server.status(path + "100"), 200)
        os.truncate(run / "samples.bin", 5000)
        for question in path + "100", path + "4000", path.replace("to=100", "to=0.1") + "1000":
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

    def test_only_this_machine_is_served(self):
        server = self.serve(self.record(SCRIPT + "end\n"))
        with open("/proc/net/tcp", encoding="utf-8") as file:
            bound = [line.split()[1] for line in file if f":{server.port:04X} " in line and " 0A " in line]
        self.assertEqual(bound, [f"0100007F:{server.port:04X}"])
        with open("/proc/net/tcp6", encoding="utf-8") as file:
            self.assertNotIn(f":{server.port:04X} 0", file.read())

    def test_browser_is_not_given_the_token_as_an_argument(self):
        run = self.record(SCRIPT + "end\n")
        programs = self.directory / "bin"
        programs.mkdir()
        (programs / "xdg-open").write_text('#!/bin/sh\necho "$1" >"$OPENED.part"; cat "$1" >>"$OPENED.part"\n'
                                           'mv "$OPENED.part" "$OPENED"\n')
        (programs / "xdg-open").chmod(0o755)
        opened = self.directory / "opened"
        environment = {**os.environ, "PATH": f"{programs}:{os.environ['PATH']}", "DISPLAY": ":0",
                       "OPENED": str(opened), "XDG_RUNTIME_DIR": str(self.directory)}
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
