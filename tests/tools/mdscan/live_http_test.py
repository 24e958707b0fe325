#!/usr/bin/env python3
"""Does a scan go on when the connection to a live source breaks, and end at once when it is told to?

    live_http_test.py MDSCAN MAKE_CLIPS SCHEMA

The source is a server on this machine that sends MPEG-TS as it would come from a camera.
"""
import concurrent.futures
import http.server
import json
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import live_scan

MDSCAN, MAKE_CLIPS, SCHEMA = sys.argv[1:4]
SHORT = 8  # seconds that short.ts lasts
SOON = 5  # seconds; enough for a busy machine, less than whatever is waited for otherwise
EAGER = ["--block", "4", "--rate", "0", "--merge-gap", "0.3", "--min-duration", "0.1"]


class Camera(http.server.BaseHTTPRequestHandler):
    """What it does depends on the path: /cut ends its first connection after 1.6 s, /file is a download."""

    lock = threading.Lock()
    served = {}
    clip = b""

    def do_GET(self):
        path = self.path.split("?")[0]
        with Camera.lock:
            number = Camera.served[path] = Camera.served.get(path, 0) + 1
        if path == "/gone" and number > 1:
            self.send_error(404)
            return
        self.send_response(200)
        self.send_header("Content-Type", "video/mp2t")
        if path == "/file":
            self.send_header("Content-Length", str(len(Camera.clip)))
        self.end_headers()
        if path == "/stall":
            self.pace(1.6)
            time.sleep(30)
        elif path == "/file":
            self.wfile.write(Camera.clip)
        else:
            self.pace(1.6 if number == 1 and path in ("/cut", "/gone") else SHORT)

    def pace(self, seconds):
        begin, sent = time.monotonic(), 0
        try:
            while sent < len(Camera.clip) and time.monotonic() - begin < seconds:
                due = int(len(Camera.clip) * (time.monotonic() - begin) / SHORT) // 188 * 188
                self.wfile.write(Camera.clip[sent:due])
                sent = max(sent, due)
                time.sleep(0.02)
        except OSError:
            pass  # the scan has left

    def log_message(self, *_):
        pass


class LiveHttpTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        subprocess.run([MAKE_CLIPS, cls.folder.name, "live"], check=True)
        Camera.clip = pathlib.Path(cls.folder.name, "short.ts").read_bytes()
        cls.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Camera)
        cls.server.daemon_threads = True
        threading.Thread(target=cls.server.serve_forever, daemon=True).start()

    @classmethod
    def tearDownClass(cls):
        cls.server.shutdown()
        cls.server.server_close()
        cls.folder.cleanup()

    def url(self, path, user=""):
        return f"http://{user}127.0.0.1:{self.server.server_port}{path}"

    def test_goes_on_after_a_cut_and_ends_when_told(self):
        scan = live_scan.Scan(MDSCAN, *EAGER, "--frames", "--clips", self.folder.name + "/clips", self.url("/cut"))
        scan.wait_for(lambda scan: len(self.moving_since_gap(scan)) > 5)
        code, took = scan.end(signal.SIGTERM)
        self.assertEqual(code, 0, scan.said)
        self.assertLess(took, SOON)
        gaps, events = scan.of("gap"), scan.of("event")
        self.assertEqual(len(gaps), 1, scan.lines)
        gap = gaps[0]
        self.assertIn("the connection ", gap["reason"])
        self.assertTrue(1 < gap["start"] < 2.2, gap)
        self.assertTrue(0.4 < gap["end"] - gap["start"] < 3, gap)
        self.assertTrue(any(event["end"] <= gap["start"] for event in events), scan.lines)
        self.assertTrue(any(event["start"] >= gap["end"] for event in events), "the running one is told: %s" % scan.lines)
        self.assertTrue(all(event["frame_exact"] == (event["end"] <= gap["start"]) for event in events), events)
        clips = {event["clip"] for event in events if pathlib.Path(event["clip"]).stat().st_size > 1000}
        self.assertEqual(len(clips), len(events))
        now = time.time()
        for line in gaps + events:
            start = time.mktime(time.strptime(line["start_time"][:19], "%Y-%m-%dT%H:%M:%S")) - time.timezone
            self.assertTrue(now - 30 < start <= now, line)
        self.assertIn("; 1 gap;", scan.said)
        live_scan.check(self, scan.lines, SCHEMA)

    @staticmethod
    def moving_since_gap(scan):
        gaps = scan.of("gap")
        return [frame for frame in scan.of("frame") if gaps and frame["time"] > gaps[0]["end"] and frame["objects"]]

    def test_gives_up_when_nothing_comes_back(self):
        scan = live_scan.Scan(MDSCAN, *EAGER, "--reconnect", "1", self.url("/gone"))
        code, _ = scan.end()
        self.assertEqual(code, 1)
        self.assertIn("gave up after 1 s without a picture: cannot open: Server returned 404 Not Found", scan.said)
        self.assertEqual(scan.said.count("\n"), 1, scan.said)
        self.assertTrue(scan.of("event"))
        self.assertEqual(len(scan.of("gap")), 1, "up to the end of the scan")

    def test_is_interrupted_while_nothing_comes(self):
        scan = live_scan.Scan(MDSCAN, *EAGER, "--frames", self.url("/stall"))
        scan.wait_for(lambda scan: scan.of("frame"))
        time.sleep(1)  # the last picture has come by then
        code, took = scan.end(signal.SIGINT)
        self.assertLess(took, SOON)
        self.assertIn(code, (0, 3), scan.said)
        self.assertFalse(scan.of("gap"), "it did not break")

    def test_events_are_told_at_once_beside_a_page(self):
        """The page shows one source after another; lines do not wait for it, and a killed run has told them."""
        clip = str(pathlib.Path(self.folder.name, "short.ts"))
        page = self.folder.name + "/page.html"
        first, second = self.url("/first"), self.url("/second")
        scan = live_scan.Scan(MDSCAN, *EAGER, "--report", page, first, second, clip)
        scan.wait_for(lambda scan: {second, clip} <= {line["file"] for line in scan.of("event")} and scan.of("file"))
        self.assertEqual([line["file"] for line in scan.of("file")], [clip], "the sources still run")
        told = scan.of("event")
        scan.end(signal.SIGTERM)
        self.assertEqual(scan.of("event")[:len(told)], told)
        live_scan.check(self, scan.lines, SCHEMA)
        shown = re.findall(r'"event":\d+|"file":"[^"]*","camera"', pathlib.Path(page).read_text())
        count = lambda name: sum(line["file"] == name for line in scan.of("event"))
        expected = []
        for name in first, second, clip:
            expected += ['"event":%d' % (i + 1) for i in range(count(name))] + ['"file":"%s","camera"' % name]
        self.assertEqual(shown, expected, "nothing is lost on its way to the page, and nothing mixed")

        scan = live_scan.Scan(MDSCAN, *EAGER, "--report", page + "2", first + "2", second + "2")
        scan.wait_for(lambda scan: second + "2" in {line["file"] for line in scan.of("event")})
        self.assertIn(second + "2", {line["file"] for line in scan.of("event")})
        scan.end(signal.SIGKILL)

    def test_several_sources_run_beside_files(self):
        clip = str(pathlib.Path(self.folder.name, "short.ts"))
        scan = live_scan.Scan(MDSCAN, *EAGER, self.url("/a"), self.url("/b", "me:secret@"), clip)
        scan.wait_for(lambda scan: scan.of("file") and len({line["file"] for line in scan.of("event")}) == 3)
        scan.end(signal.SIGTERM)
        self.assertEqual(scan.of("file")[0]["file"], clip, "it does not wait for sources that have no end")
        self.assertEqual({line["file"] for line in scan.lines if "file" in line}, {self.url("/a"), self.url("/b"), clip})
        self.assertNotIn("secret", scan.said + json.dumps(scan.lines))
        live = [line for line in scan.of("file") if line["file"] != clip]
        self.assertEqual([line["status"] for line in live], ["complete"] * 2)
        self.assertEqual([line["clock"] for line in live], ["arrival"] * 2)
        live_scan.check(self, scan.lines, SCHEMA)

    def test_a_finished_download_is_a_file(self):
        scan = live_scan.Scan(MDSCAN, *EAGER, self.url("/file"))
        code, _ = scan.end()
        self.assertEqual(code, 0, scan.said)
        self.assertEqual(Camera.served["/file"], 1)
        self.assertIn("200 pictures (8.0 s)", scan.said)
        self.assertFalse(scan.of("gap"))

    def test_what_is_not_there_is_said_at_once(self):
        scan = live_scan.Scan(MDSCAN, "tcp://127.0.0.1:1")
        code, took = scan.end()
        self.assertEqual(code, 1)
        self.assertLess(took, SOON)
        self.assertIn("cannot open: Connection refused", scan.said)

    def test_a_stalled_pipe_is_left_at_the_first_signal(self):
        process = subprocess.Popen([MDSCAN, "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   text=True)
        process.stdout.readline()  # it is about to read
        time.sleep(0.3)
        begin = time.monotonic()
        process.send_signal(signal.SIGINT)
        said = process.stderr.read()
        code = process.wait(30)
        took = time.monotonic() - begin
        process.communicate()
        self.assertEqual((code, said), (1, "mdscan: -: interrupted\n"))
        self.assertLess(took, SOON)


def main():
    """All tests at the same time: they mostly wait."""
    tests = list(unittest.defaultTestLoader.loadTestsFromTestCase(LiveHttpTest))
    LiveHttpTest.setUpClass()
    with concurrent.futures.ThreadPoolExecutor(len(tests)) as pool:
        results = list(pool.map(lambda test: test.run(), tests))
    LiveHttpTest.tearDownClass()
    wrong = [text for result in results for test, text in result.failures + result.errors]
    print(*wrong, f"{len(tests)} tests, {len(wrong)} failed", sep="\n")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
