import json
import os
import re
import socket
import time
import unittest

from view_server import Events, ViewTest

SCRIPT = "name demo\ngroup 1 wave.x:1\nbegin\nwrite 1 0 1\nwrite 1 1 2\nend\n"
SANITIZED = "LOGGING2_SANITIZED" in os.environ


def statuses(answer):
    """Those of all answers that follow each other."""
    return [int(status) for status in re.findall(rb"HTTP/1\.1 (\d+) ", answer)]


class ViewSecurityTest(ViewTest):
    """What a client that means harm can do."""

    def setUp(self):
        super().setUp()
        (self.directory / "secret").write_text("nobody may read that")
        self.server = self.serve(self.record(SCRIPT))
        self.run_path = "/api/runs/" + self.server.run_id()

    def check_alive(self):
        self.assertEqual(self.server.status("/api/runs"), 200)

    def test_nothing_without_the_cookie(self):
        for target in "/", "/api/runs", self.run_path, "/api/events", "/lib/dygraph.min.js", "/page/main.js":
            for cookie in None, "logging2=1", self.server.cookie + "0", self.server.cookie[:-1]:
                self.assertEqual(self.server.status(target, cookie=cookie), 401, (target, cookie))
        self.assertEqual(self.server.status("/?token=" + "0" * 48, cookie=None), 401)

    def test_nothing_outside_the_random_path(self):
        for target in "/", "/api/runs", self.run_path, self.server.base, self.server.base[:-1] + "/api/runs":
            answer = self.server.answer(self.server.head("/x", "Connection: close").replace(
                f"{self.server.base}/x".encode(), target.encode()))
            self.assertEqual(statuses(answer), [401], target)

    def test_token_is_not_in_any_answer(self):
        token = self.server.first_target.split("=")[1].encode()
        for target in self.server.first_target, "/", "/api/runs", "/nothing":
            status, headers, body = self.server.open(target)
            self.assertNotIn(token, body + str(headers).encode(), (target, status))

    def test_other_host_is_refused(self):
        for host in "example.com", "127.0.0.1.example.com", "localhost.example.com:80", "127.0.0.2":
            self.assertEqual(self.server.status("/api/runs", {"Host": host}), 403, host)
            self.assertEqual(self.server.status(self.server.first_target, {"Host": host}), 403, host)
        self.assertEqual(self.server.status("/api/runs", {"Host": "localhost:9999"}), 200)
        self.assertEqual(statuses(self.server.answer(b"GET / HTTP/1.1\r\nConnection: close\r\n\r\n")), [403])

    def test_allowed_host_is_served(self):
        server = self.serve(self.record(SCRIPT), "--allow-host", "lab.example")
        self.assertEqual(server.status("/api/runs", {"Host": "LAB.example:8080"}), 200)
        self.assertEqual(server.status("/api/runs", {"Host": "other.example"}), 403)

    def test_other_origin_is_refused(self):
        for origin in "http://example.com", "null", "https://127.0.0.1", f"http://127.0.0.1:{self.server.port + 1}":
            status, headers, _ = self.server.open("/api/runs", {"Origin": origin})
            self.assertEqual(status, 403, origin)
            self.assertNotIn("access-control", str(headers).lower())
        self.assertEqual(self.server.status("/api/runs", {"Origin": f"http://127.0.0.1:{self.server.port}"}), 200)
        self.assertEqual(self.server.status("/api/runs", {"Sec-Fetch-Site": "same-site"}), 403)

    def test_paths_lead_to_no_file(self):
        for target in ("/../secret", "/page/../../../secret", "/lib/../../secret", "//etc/passwd",
                       "/page/" + "../" * 40 + "etc/passwd", f"/{self.directory}/secret",
                       f"/api/runs/..{self.directory}", f"/api/runs/{self.directory.name}"):
            status, _, body = self.server.open(target)
            self.assertEqual(status, 404, target)
            self.assertNotIn(b"root:", body)
        for target in "/%2e%2e/secret", "/page/..%2f..%2fsecret", "/page/%00", "/%", "/page/\\..\\secret%5c":
            self.assertEqual(self.server.status(target), 400, target)

    def test_only_get_is_allowed(self):
        for method in "HEAD", "POST", "PUT", "DELETE", "PATCH", "OPTIONS", "TRACE", "CONNECT", "BREW":
            status, headers, _ = self.server.open("/api/runs", method=method)
            self.assertEqual((status, headers["Allow"]), (405, "GET"), method)

    def test_malformed_queries_are_refused(self):
        trace = self.run_path + "/trace?signal=wave.x&from=0&to=1&pixels=10"
        self.assertEqual(self.server.status(trace), 200)
        for query in ("&pixels=10", "&x", "&=1", "&element=", "&element=1.5", "&element=-1", "&a=%zz", "&a=%0",
                      "&a=b?c", "&element=18446744073709551616", "&element=1e3", "&" * 100):
            status, _, body = self.server.open(trace + query)
            self.assertEqual(status, 400, query)
            if query != "&a=b?c":
                self.assertTrue(json.loads(body)["error"])

    def test_huge_requests_are_refused(self):
        self.assertEqual(self.server.status("/" + "a" * 7800), 404)
        self.assertEqual(statuses(self.server.answer(self.server.head("/" + "a" * 9000))), [414])
        self.assertEqual(statuses(self.server.answer(self.server.head("/", "X: " + "a" * 9000))), [431])
        self.assertEqual(statuses(self.server.answer(self.server.head("/", *["X: y"] * 200))), [431])
        self.assertEqual(statuses(self.server.answer(self.server.head("/", "Content-Length: 10"))), [413])
        self.assertEqual(statuses(self.server.answer(self.server.head("/", "Transfer-Encoding: chunked"))), [413])
        self.check_alive()

    def test_endless_head_takes_no_memory(self):
        before = self.server.resident_bytes()
        for line in b"a" * 65536, b"X: y\r\n" * 10000:
            with self.server.socket(b"GET / HTTP/1.1\r\n") as connection:
                try:
                    for _ in range(1000):
                        connection.sendall(line)
                except ConnectionError:
                    pass
        self.check_alive()
        if not SANITIZED:
            self.assertLess(self.server.resident_bytes() - before, 4 << 20)

    def test_rubbish_is_refused(self):
        for sent in (b"\r\n\r\n", b"\0\0\0\0\r\n\r\n", b"GET\r\n\r\n", b"GET / HTTP/1.1\n\n\r\n\r\n",
                     b"GET / HTTP/1.1\r\nHost : x\r\n\r\n", b"GET / HTTP/1.1\r\n folded: x\r\n\r\n",
                     b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n", os.urandom(5000) + b"\r\n\r\n"):
            self.assertEqual(statuses(self.server.answer(sent)), [400], sent[:40])
        self.assertEqual(statuses(self.server.answer(b"GET / HTTP/1.0\r\nHost: localhost\r\n\r\n")), [505])
        self.assertEqual(statuses(self.server.answer(b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n")), [505])
        self.check_alive()

    def test_ranges_are_ignored(self):
        whole = self.server.open("/lib/dygraph.css")[2]
        for value in "bytes=0-1", "bytes=" + ",".join(["0-"] * 2000), "x", "bytes=" + "0" * 7000:
            status, headers, body = self.server.open("/lib/dygraph.css", {"Range": value})
            self.assertEqual((status, body), (200, whole))
            self.assertNotIn("Content-Range", headers)

    def test_pipelined_requests_are_answered_in_order(self):
        requests = [self.server.head("/api/runs"), self.server.head("/nothing"), self.server.head(self.run_path)]
        last = self.server.head("/x", "Connection: close")
        self.assertEqual(statuses(self.server.answer(b"".join(requests * 20) + last)), [200, 404, 200] * 20 + [404])

    def test_bytes_behind_a_refused_request_are_no_request(self):
        smuggled = self.server.head("/api/runs")
        self.assertEqual(statuses(self.server.answer(self.server.head("/", "Content-Length: 5") + smuggled)), [413])

    def test_slow_clients_do_not_block_others(self):
        slow = [self.server.socket(b"GET / HT") for _ in range(200)]
        slow += [self.server.socket() for _ in range(20)]
        start = time.monotonic()
        self.check_alive()
        self.assertLess(time.monotonic() - start, 5)
        slow[0].settimeout(60)
        with slow[0].makefile("rb") as answer:
            text = answer.read()
        self.assertEqual(statuses(text), [408])
        self.assertIn(b"The request took longer than ten seconds.", text)
        self.assertGreater(time.monotonic() - start, 5)
        for connection in slow:
            connection.close()

    def deaf_client(self):
        """One that has asked for more than it takes, and reads nothing."""
        connection = socket.socket()
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        connection.connect(("127.0.0.1", self.server.port))
        connection.settimeout(0.02)
        try:
            while True:
                connection.sendall(self.server.head("/lib/dygraph.min.js") * 20)
        except (TimeoutError, ConnectionError):
            pass
        return connection

    def test_client_that_reads_nothing_is_dropped(self):
        connection = self.deaf_client()
        self.check_alive()
        end = time.monotonic() + 60
        connection.settimeout(60)
        with self.assertRaises(ConnectionError):
            while time.monotonic() < end:
                connection.sendall(self.server.head("/lib/dygraph.min.js"))
        connection.close()

    def test_a_thousand_connections_leave_room_for_others(self):
        connections = []
        for _ in range(1000 if not SANITIZED else 400):
            connections.append(self.server.socket(b"GET "))
        for _ in range(10):
            self.check_alive()
        for connection in connections:
            connection.close()
        self.check_alive()

    def test_too_many_clients_are_refused(self):
        clients = []
        self.addCleanup(lambda: [client.close() for client in clients])
        run = self.run_path.rsplit("/", maxsplit=1)[1]
        for _ in range(128):
            clients.append(self.server.socket(self.server.head(f"/api/events?run={run}")))
            clients.append(self.deaf_client())
        end = time.monotonic() + 8
        answer = b""
        while b"503" not in answer and time.monotonic() < end:
            answer = self.server.answer(self.server.head("/api/runs", "Connection: close"))
        self.assertEqual(statuses(answer), [503])
        self.assertIn(b'"error":"The server has too many clients."', answer)
        for header in (b"Content-Security-Policy: default-src 'none';", b"X-Content-Type-Options: nosniff",
                       b"Referrer-Policy: no-referrer", b"Cache-Control: no-store", b"Retry-After: 1"):
            self.assertIn(header, answer)

    def test_too_many_streams_are_refused(self):
        streams = []
        self.addCleanup(lambda: [stream.close() for stream in streams])
        for _ in range(128):
            streams.append(Events(self.server, self.run_path.rsplit("/", maxsplit=1)[1]))
            self.assertIsNotNone(streams[-1].wait_for(lambda event, data: event == "run"))
        status, _, body = self.server.open("/api/events")
        self.assertEqual((status, json.loads(body)["error"]), (503, "Too many pages follow runs."))
        while streams:
            streams.pop().close()
        self.check_alive()


if __name__ == "__main__":
    unittest.main()
