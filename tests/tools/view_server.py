"""Starts `logging2 view` and talks to it as a browser would."""
import http.client
import json
import re
import signal
import socket
import struct
import subprocess
import threading
import urllib.parse

from commands import COMMAND, CommandTest


class Server:
    """A running `logging2 view`."""

    def __init__(self, location, *arguments, environment=None):
        self.process = subprocess.Popen([COMMAND, "view", str(location), "--no-browser", *arguments],
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                        env=environment)
        self.address = self.process.stdout.readline().strip()
        found = re.fullmatch(r"http://127\.0\.0\.1:(\d+)(/\?token=[0-9a-f]+)", self.address)
        self.port = int(found[1])
        self.first_target = found[2]
        self.base = ""
        header = self.open(self.first_target, cookie=None)[1]["Set-Cookie"]
        self.cookie = header.split(";")[0]
        self.base = header.rsplit("Path=", maxsplit=1)[1].rstrip("/")

    def path(self, target):
        """The path that the server has for it."""
        return target if target.startswith("/?token=") else self.base + target

    def open(self, target, headers=None, method="GET", cookie=""):
        """The status, the headers and the body of the answer."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        try:
            sent = dict(headers or {})
            if cookie is not None:
                sent["Cookie"] = cookie or self.cookie
            connection.request(method, self.path(target), headers=sent)
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        finally:
            connection.close()

    def status(self, target, headers=None, method="GET", cookie=""):
        return self.open(target, headers, method, cookie)[0]

    def json(self, target, **parameters):
        query = "?" + urllib.parse.urlencode(parameters, doseq=True) if parameters else ""
        return json.loads(self.open(target + query)[2])

    def run_id(self):
        """That of the only run."""
        (run,) = self.json("/api/runs")["runs"]
        return run["id"]

    def trace(self, run, **parameters):
        """Kind, revision and the columns of numbers of a trace."""
        query = urllib.parse.urlencode({"signal": "wave.x", "element": 0, "pixels": 1000, **parameters})
        status, _, body = self.open(f"/api/runs/{run}/trace?{query}")
        assert status == 200, body
        magic, revision, kind, count = struct.unpack("<8sQII", body[:24])
        assert magic == b"L2TRACE1"
        numbers = struct.unpack(f"<{(len(body) - 64) // 8}d", body[64:])
        columns = [numbers[i:i + count] for i in range(0, len(numbers), count)] if count else []
        return kind, revision, columns

    def socket(self, sent=b""):
        """A connection on which these bytes were sent."""
        result = socket.create_connection(("127.0.0.1", self.port), timeout=60)
        result.sendall(sent)
        return result

    def answer(self, sent):
        """All that comes back when these bytes are sent, until the server closes the connection."""
        with self.socket() as connection:
            answer = b""
            try:
                connection.sendall(sent)
                while part := connection.recv(65536):
                    answer += part
            except ConnectionError:
                pass
            return answer

    def head(self, target, *headers):
        """The bytes of a request."""
        lines = [f"GET {self.path(target)} HTTP/1.1", f"Host: localhost:{self.port}", f"Cookie: {self.cookie}", *headers]
        return "\r\n".join([*lines, "", ""]).encode()

    def resident_bytes(self):
        with open(f"/proc/{self.process.pid}/status", encoding="utf-8") as file:
            return int(re.search(r"VmRSS:\s+(\d+) kB", file.read())[1]) * 1024

    def end(self, number=signal.SIGTERM):
        """Ends the server and returns its exit status and what it wrote to standard error."""
        if self.process.poll() is None:
            self.process.send_signal(number)
        _, messages = self.process.communicate(timeout=60)
        return self.process.returncode, messages


class Events:
    """Reads server-sent events on a thread."""

    def __init__(self, server, *runs):
        query = "&".join("run=" + run for run in runs)
        self.socket = server.socket(server.head("/api/events?" + query))
        self.changed = threading.Condition()
        self.seen = []
        self.thread = threading.Thread(target=self._read, daemon=True)
        self.thread.start()

    def _read(self):
        event = None
        with self.socket.makefile("r", encoding="utf-8", errors="replace") as lines:
            try:
                for line in lines:
                    if line.startswith("event: "):
                        event = line[7:].strip()
                    elif line.startswith("data: "):
                        with self.changed:
                            self.seen.append((event, json.loads(line[6:])))
                            self.changed.notify_all()
            except (OSError, ValueError):
                pass

    def wait_for(self, condition, timeout=30):
        """The data of the first event for which the condition holds."""
        def found():
            return next((data for event, data in self.seen if condition(event, data)), None)
        with self.changed:
            self.changed.wait_for(lambda: found() is not None, timeout)
            return found()

    def close(self):
        try:
            self.socket.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self.thread.join()
        self.socket.close()


class ViewTest(CommandTest):
    """With a server that must end well."""

    def serve(self, location, *arguments, **options):
        server = Server(location, *arguments, **options)
        self.addCleanup(self.check_end, server)
        return server

    def check_end(self, server):
        if server.process.poll() is None:
            self.assertEqual(server.end(), (0, ""))
        else:
            server.process.communicate()

    def wave(self, count, length=1e-3):
        """A recording of so many steps of the signal wave.x."""
        return self.record(f"name wave\ngroup 1 wave.x:1\nbegin\nwave 1 {count} {length}\nend\n")
