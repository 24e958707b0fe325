#!/usr/bin/env python3
"""Is a camera scanned through a failure of twenty seconds?

    live_rtsp_test.py MDSCAN MAKE_CLIPS SCHEMA

The camera is a server on this machine that is killed and started again. Skipped, with 77, where there is none.
"""
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import live_scan

MDSCAN, MAKE_CLIPS, SCHEMA = sys.argv[1:4]
SERVER = pathlib.Path(__file__).with_name("rtsp_server.py")
PYTHON = next(name for name in ("/usr/bin/python3", sys.executable) if pathlib.Path(name).exists())  # packages' own, if any
OUTAGE = 20  # seconds


class Camera:
    def __init__(self, video, port=0):
        self.process = subprocess.Popen([PYTHON, str(SERVER), video, str(port)], stdout=subprocess.PIPE, text=True)
        self.port = self.process.stdout.readline().strip()

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()


class LiveRtspTest(unittest.TestCase):
    def test_an_outage_is_a_gap(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([MAKE_CLIPS, folder, "live"], check=True)
            video = str(pathlib.Path(folder, "long.mp4"))
            camera = Camera(video)
            scan = live_scan.Scan(MDSCAN, f"rtsp://127.0.0.1:{camera.port}/camera")
            try:
                scan.wait_for(lambda scan: len(scan.of("event")) == 1)
                broken = time.monotonic()
                camera.kill()
                time.sleep(OUTAGE)
                camera = Camera(video, camera.port)
                scan.wait_for(lambda scan: scan.of("gap"), 30)
                told = time.monotonic()
                scan.wait_for(lambda scan: len(scan.of("event")) == 2, 30)
            finally:
                camera.kill()
                code, took = scan.end(signal.SIGINT)
        self.assertEqual(code, 0, scan.said)
        self.assertLess(took, 5)
        events, gaps = scan.of("event"), scan.of("gap")
        self.assertEqual(len(events), 2, scan.lines)
        self.assertGreaterEqual(len(gaps), 1, scan.lines)
        gap = gaps[0]
        # How soon there are pictures again is the server's and the machine's business.
        self.assertTrue(OUTAGE - 1 < gap["end"] - gap["start"] < told - broken + 1, gap)
        self.assertIn("connection", gap["reason"])
        # The square crosses from 3 to 6 seconds of the video, which begins anew with the second camera.
        for event, begin in zip(events, (0, gap["end"])):
            self.assertAlmostEqual(event["start"], begin + 3, delta=1.2)
            self.assertAlmostEqual(event["end"], begin + 6, delta=1.2)
        self.assertEqual([event["frame_exact"] for event in events], [True, False])
        live_scan.check(self, scan.lines, SCHEMA)


if __name__ == "__main__":
    trial = Camera("trial.mp4")
    trial.kill()
    if not trial.port:
        print("gir1.2-gst-rtsp-server-1.0 and gstreamer1.0-plugins-good are not installed: no camera to scan")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
