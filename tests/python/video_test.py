#!/usr/bin/env python3
"""Does coremd.video find what mdscan prints, end when it is left or interrupted, and say what is wrong with an input?

usage: video_test.py MDSCAN SAMPLES
"""
import dataclasses
import gc
import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import warnings

import numpy as np

try:
    import coremd.video
except ImportError as missing:
    print(f"skipped: {missing}")
    sys.exit(0)

MDSCAN, SAMPLES = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
STREET = SAMPLES / "street.mp4"
SETTINGS = {"rate": 3, "track": True, "post_roll": 0.25, "start_time": "2026-03-01T12:00:00Z"}
LEFT = [(0, 0), (0.5, 0), (0.5, 1), (0, 1)]


def printed(*words):
    """What mdscan prints of the street."""
    run = subprocess.run([MDSCAN, *words, STREET], capture_output=True, text=True)
    return [line for line in map(json.loads, run.stdout.splitlines()) if line["type"] in ("event", "condition", "gap")]


class Events(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.found = list(coremd.video.events(STREET, **SETTINGS, pictures=True))

    def test_they_are_what_the_scanner_prints(self):
        wanted = printed("--rate=3", "--track", "--post-roll=0.25", "--start-time=2026-03-01T12:00:00Z")
        self.assertGreaterEqual(len(wanted), 1)
        self.assertEqual(len(self.found), len(wanted))
        for event, line in zip(self.found, wanted):
            del line["type"]
            values = dataclasses.asdict(event)
            self.assertEqual(values.pop("number"), line.pop("event"))
            for name, value in line.items():
                told = values[name].isoformat().replace("+00:00", "Z") if name.endswith("_time") else values[name]
                if name.endswith("_time"):
                    told, value = told.rstrip("Z")[:21], value.rstrip("Z")[:21]
                self.assertEqual(told, value, name)

    def test_the_picture_is_that_of_the_peak(self):
        for event in self.found:
            self.assertEqual((event.picture.shape, event.picture.dtype), ((360, 640, 3), np.uint8))
            frame = next(frame for frame in coremd.video.watch(STREET, rate=3, pictures=True, from_=max(0, event.peak - 1))
                         if abs(frame.time - event.peak) < 0.001)
            self.assertTrue((frame.picture == event.picture).all())
        self.assertIsNone(next(iter(coremd.video.events(STREET, rate=3))).picture)

    def test_a_table_for_pandas(self):
        table = coremd.video.events_table(self.found + [coremd.video.Gap(1, 2, "lost")])
        self.assertEqual({len(column) for column in table.values()}, {len(self.found)})
        self.assertEqual(table["duration"], [event.end - event.start for event in self.found])
        self.assertEqual(table["w"], [event.boxes[0].w for event in self.found])
        try:
            import pandas
        except ImportError:
            self.skipTest("pandas is not installed")
        frame = pandas.DataFrame(table)
        self.assertEqual(str(frame.dtypes["start_time"]), "datetime64[ns, UTC]")
        self.assertGreater(frame["duration"].sum(), 1)


class Watching(unittest.TestCase):
    def test_frames_come_in_order_with_what_moves(self):
        last, moving = -1.0, 0
        for frame in coremd.video.watch(str(STREET), {"left": LEFT, "right": np.array([[0, 1]], np.uint8)}, rate=3):
            self.assertGreater(frame.time, last)
            last = frame.time
            self.assertIsNone(frame.picture)
            self.assertEqual(frame.marks.shape, (-(-360 // frame.block), -(-640 // frame.block)))
            self.assertEqual(bool(frame), bool(frame.objects))
            for thing in frame.objects:
                moving += 1
                self.assertTrue((frame.marks == 1).any())
                self.assertEqual("left" in thing.zones, thing.x < 320, thing)
                self.assertTrue(thing.zones)
        self.assertGreater(last, 19)
        self.assertGreater(moving, 10)

    def test_zones_of_a_file_and_of_lists(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "zones.json"
            path.write_text(json.dumps({"zones": [{"name": "zone 1", "polygon": LEFT}]}))
            ways = [path, [LEFT], [np.array(LEFT)], [coremd.video.Zone("zone 1", LEFT)],
                    [coremd.video.Zone("zone 1", np.ones((1, 1), bool)),
                     coremd.video.Zone("not", [(0.5, 0), (1, 0), (1, 1), (0.5, 1)], exclude=True)]]
            found = [[dataclasses.asdict(event) for event in coremd.video.events(STREET, way, rate=3)] for way in ways]
        self.assertGreaterEqual(len(found[0]), 1)
        self.assertEqual(found[0][0]["zones"], ["zone 1"])
        for other in found[1:]:
            self.assertEqual(other, found[0])

    def test_leaving_the_loop_ends_the_scan(self):
        for _ in range(3):
            threads = len(os.listdir("/proc/self/task"))
            for frame in coremd.video.watch(STREET, condition=False):
                self.assertGreater(len(os.listdir("/proc/self/task")), threads)
                break
            gc.collect()
            self.assertLessEqual(len(os.listdir("/proc/self/task")), threads)
        self.assertEqual(frame.number, 0)

    def test_scans_beside_each_other(self):
        one, two = (coremd.video.watch(STREET, rate=3, condition=False) for _ in range(2))
        for mine, yours in zip(one, two):
            self.assertEqual(mine.objects, yours.objects)


class Refusals(unittest.TestCase):
    def test_inputs_that_cannot_be_read(self):
        with tempfile.TemporaryDirectory() as folder:
            text, cut = pathlib.Path(folder) / "text.mp4", pathlib.Path(folder) / "cut.mp4"
            text.write_text("no video\n")
            for path, words in ((text, "Invalid data"), (pathlib.Path(folder) / "none.mp4", "No such file"),
                                (pathlib.Path(folder), "directory")):
                with self.assertRaises(coremd.video.ScanError) as caught:
                    list(coremd.video.watch(path))
                self.assertEqual((caught.exception.health, caught.exception.input), ("unreadable", str(path)))
                self.assertRegex(str(caught.exception), words)
            whole = STREET.read_bytes()
            cut.write_bytes(whole[:len(whole) * 2 // 3])
            seen = 0
            with self.assertRaises(coremd.video.ScanError) as caught:
                for _ in coremd.video.watch(cut, rate=3, condition=False):
                    seen += 1
            self.assertEqual(caught.exception.health, "damaged", caught.exception)
            self.assertGreater(seen, 0)

    def test_settings_in_the_scanner_s_words(self):
        for words, settings in (("--rate.* must be a number from 0 to", {"rate": -1}),
                                ("--sensitivity.* must be low, normal or high, not some", {"sensitivity": "some"}),
                                ("unknown|not expected|--colour", {"colour": "red"}),
                                ("--from.*seconds", {"from_": "then"}),
                                (r"zone 1\[0\] lies outside 0 to 1", {"zones": [[(2, 0), (1, 0), (1, 1)]]}),
                                ("cannot be read", {"zones": "/nowhere/zones.json"}),
                                ("two zones have the same name", {"zones": [coremd.video.Zone("a", LEFT)] * 2}),
                                ("gate: a size must be a number from 0 to 1, not 2",
                                 {"zones": [coremd.video.Zone("gate", LEFT, min_size=2)]})):
            with self.assertRaisesRegex(ValueError, words):
                coremd.video.events(STREET, **settings)
        tiny = [coremd.video.Zone("tiny", [(0, 0), (0.01, 0), (0.01, 0.01)], min_size=0.9)]
        with self.assertRaisesRegex(ValueError, "tiny"):
            list(coremd.video.events(STREET, tiny))
        with warnings.catch_warnings(record=True) as told:
            warnings.simplefilter("always")
            next(coremd.video.watch(STREET, tiny + [LEFT], condition=False), None)
        self.assertIn("tiny", str(told[0].message))

    def test_control_c_ends_a_wait(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        code = ("import sys, coremd.video; scan = coremd.video.watch(sys.argv[1]); print('waits', flush=True)\n"
                "try: next(scan)\nexcept KeyboardInterrupt: print('interrupted')")
        process = subprocess.Popen([sys.executable, "-c", code, f"udp://127.0.0.1:{port}"], stdout=subprocess.PIPE,
                                   text=True)
        self.assertEqual(process.stdout.readline(), "waits\n")
        time.sleep(0.1)
        process.send_signal(signal.SIGINT)
        begun = time.monotonic()
        self.assertEqual(process.communicate(timeout=200)[0], "interrupted\n")
        self.assertLess(time.monotonic() - begun, 50, "it would wait for a minute by itself")
        self.assertEqual(process.returncode, 0)

    def test_a_scan_under_way_does_not_keep_a_process(self):
        code = f"import coremd.video; scan = coremd.video.watch({os.fspath(STREET)!r}); next(scan); kept = [scan]"
        self.assertEqual(subprocess.run([sys.executable, "-c", code], timeout=200).returncode, 0)


class NamesThatAreNotUtf8(unittest.TestCase):
    def test_they_are_read_and_told(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / os.fsdecode(b"caf\xe9.mp4")
            path.symlink_to(STREET)
            starts = [[record.start for record in coremd.video.events(source, rate=3)] for source in (STREET, path)]
            self.assertGreaterEqual(len(starts[0]), 1)
            self.assertEqual(starts[0], starts[1])
            missing = pathlib.Path(folder) / os.fsdecode(b"\xe9\xff.mp4")
            with self.assertRaises(coremd.video.ScanError) as caught:
                list(coremd.video.events(missing))
            self.assertEqual((caught.exception.health, caught.exception.input), ("unreadable", str(missing)))
            zones = missing.with_suffix(".json")
            with self.assertRaises(ValueError) as caught:
                coremd.video.events(STREET, zones)
            self.assertNotIsInstance(caught.exception, UnicodeError)
            self.assertIn(zones.name, str(caught.exception))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
