#!/usr/bin/env python3
"""Does `pip install` make a wheel, without a network, that works in a fresh environment on its own?

The commands are those of the manual's page.

usage: wheel_test.py MDSCAN VIDEO BUILD      BUILD: the folder to build in, kept
"""
import importlib.util
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

MDSCAN, VIDEO, BUILD = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
ROOT = pathlib.Path(__file__).resolve().parents[2]

for module in ("ensurepip", "numpy", "pip", "setuptools", "venv", "wheel"):
    if not importlib.util.find_spec(module):
        print(f"skipped: Python's {module} is not installed")
        sys.exit(0)

PROGRAM = """
import json, pathlib, re, sys
import numpy as np
import coremd, coremd.video

reducer, detector, moving = coremd.BlockReducer(320, 240), coremd.Detector(rate=10), 0
c = np.full((120, 160), 128, np.uint8)
for i in range(40):
    y = np.full((240, 320), 90, np.uint8)
    y[100:140, 6 * i:6 * i + 40] = 210
    moving += bool(detector.detect(reducer.reduce(y, c, c), time=i / 10).objects)
maps = pathlib.Path("/proc/self/maps").read_text()
print(json.dumps({
    "folder": str(pathlib.Path(coremd.__file__).parent), "moving": moving, "version": list(coremd.library_version),
    "libraries": sorted(set(re.findall(r"\\S*/libcoreMD[^/\\n]*$", maps, re.M))),
    "events": [[event.start, event.end] for event in coremd.video.events(sys.argv[1])
               if isinstance(event, coremd.video.Event)]}))
"""


class Wheel(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.place = tempfile.TemporaryDirectory()
        folder = pathlib.Path(cls.place.name).resolve()
        cls.python = folder / "venv/bin/python"
        cls.environment = {name: value for name, value in os.environ.items()
                           if name not in ("PYTHONPATH", "LD_LIBRARY_PATH")} | {"COREMD_WHEEL_BUILD": str(BUILD)}
        before = cls.sources()
        (folder / "python").symlink_to(ROOT / "python")
        page = (ROOT / "docs/python.md").read_text()
        block = next(block for block in re.findall(r"^```sh\n(.*?)^```$", page, re.M | re.S) if "pip install" in block)
        cls.run_here(["bash", "-e", "-c", block])
        cls.changed = cls.sources() ^ before
        cls.told = json.loads(cls.run_here([cls.python, "-c", PROGRAM, VIDEO]))

    @classmethod
    def tearDownClass(cls):
        cls.place.cleanup()

    @classmethod
    def sources(cls):
        return {path for path in (ROOT / "python").rglob("*") if "__pycache__" not in path.parts}

    @classmethod
    def run_here(cls, words):
        run = subprocess.run(words, capture_output=True, text=True, cwd=cls.place.name, env=cls.environment)
        if run.returncode:
            raise AssertionError(f"{words} ended with {run.returncode}:\n{run.stdout}{run.stderr}")
        return run.stdout

    def test_it_runs_with_its_own_libraries(self):
        folder = pathlib.Path(self.told["folder"])
        self.assertTrue(folder.is_relative_to(self.place.name), folder)
        self.assertEqual({pathlib.Path(library).parent for library in self.told["libraries"]}, {folder})
        self.assertEqual(len(self.told["libraries"]), 2)

    def test_it_finds_what_the_scanner_finds(self):
        lines = map(json.loads, subprocess.run([MDSCAN, VIDEO], capture_output=True, text=True).stdout.splitlines())
        wanted = [[line["start"], line["end"]] for line in lines if line["type"] == "event"]
        self.assertGreaterEqual(len(wanted), 1)
        self.assertEqual(self.told["events"], wanted)
        self.assertGreater(self.told["moving"], 10)

    def test_types_and_licence_come_along(self):
        names = {path.name for path in pathlib.Path(self.told["folder"]).iterdir()}
        self.assertLessEqual({"py.typed", "_native.pyi", "_video.pyi", "frames.py", "video.py", "LICENSE"}, names)
        shown = self.run_here([self.python, "-m", "pip", "show", "coremd"])
        header = (ROOT / "include/coreMD.h").read_text().split()
        version = [int(header[header.index(f"COREMD_VERSION_{part}") + 1]) for part in ("MAJOR", "MINOR", "PATCH")]
        self.assertIn(f"Version: {'.'.join(map(str, version))}\n", shown)
        self.assertEqual(self.told["version"], version)

    def test_the_sources_stay_as_they_were(self):
        self.assertEqual(self.changed, set())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
