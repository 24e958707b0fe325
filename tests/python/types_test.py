#!/usr/bin/env python3
"""Do the stubs say what the module has, and do they hold against a type checker?"""
import inspect
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import coremd

USE = """
from typing import Sequence
import numpy as np
import coremd.frames
import coremd.video

reducer = coremd.BlockReducer(1280, 720, "nv12", block=8)
with coremd.Detector([np.ones((1, 1), np.uint8)], rate=10.0) as detector:
    frame = detector.detect(reducer.reduce(np.zeros(1), np.zeros(1)), time=0.5)
    left: int = frame.objects[0].left
    if frame.labels is not None:
        rows: int = frame.labels.shape[0]
state: bytes = detector.save_state()
for seen in coremd.video.watch("gate.mp4", {"gate": [(0, 0), (1, 0), (1, 1)]}, rate=6):
    names: Sequence[str] = seen.objects[0].zones
for record in coremd.video.events("gate.mp4", pictures=True):
    if isinstance(record, coremd.video.Event):
        seconds: float = record.duration
blocks = coremd.frames.FrameReducer(block=8).reduce(np.zeros((8, 8, 3), np.uint8))
with coremd.Conditioner(coremd.Detector([[(0, 0), (1, 0), (1, 1)]]), 160, 90, sensitivity="high") as conditioner:
    told = conditioner.detect(np.zeros((3, 90, 160), np.uint8), time=0, shift=reducer.shift)
    begin: float = told.disturbances["light"].begin
"""


class Types(unittest.TestCase):
    def test_stubs_name_what_is_there(self):
        stub = (pathlib.Path(coremd.__file__).parent / "_native.pyi").read_text()
        for name in coremd.__all__:
            if not inspect.isclass(getattr(coremd, name)):
                self.assertRegex(stub, rf"(?m)^(def )?{name}\b")
                continue
            body = re.search(rf"^class {name}:\n((?:    .*\n|\n)+)", stub, re.M).group(1)
            listed = set(re.findall(r"def (\w+)\(", body))
            there = {member for member in vars(getattr(coremd, name)) if not member.startswith("__")}
            self.assertEqual({member for member in listed if not member.startswith("__")}, there, name)

    def test_everything_says_what_it_is(self):
        for name in coremd.__all__:
            if not inspect.isclass(getattr(coremd, name)):
                continue
            for member, value in vars(getattr(coremd, name)).items():
                if not member.startswith("_") and member not in ("shape", "left", "top", "right", "bottom", "block_count"):
                    text = inspect.getdoc(value) or ""
                    self.assertTrue(text.split("\n\n", 1)[-1].strip(), f"{name}.{member} has no words")

    def test_a_type_checker_accepts_use_and_refuses_misuse(self):
        if not shutil.which("mypy"):
            print("mypy is not installed: the stubs are not checked by it")
            return
        with tempfile.TemporaryDirectory() as folder:
            good, bad = pathlib.Path(folder) / "good.py", pathlib.Path(folder) / "bad.py"
            good.write_text(USE)
            bad.write_text(USE + "detector.detect(3)\n")
            package = [str(path) for path in pathlib.Path(coremd.__file__).parent.glob("*.py*") if path.suffix != ".pyc"]
            runs = [subprocess.run(["mypy", "--cache-dir", folder, *words], capture_output=True, text=True)
                    for words in (["--strict", str(good)], ["--strict", str(bad)], package)]
        for run in (runs[0], runs[2]):
            self.assertEqual(run.returncode, 0, run.stdout)
        self.assertIn("Missing named argument \"time\"", runs[1].stdout)


if __name__ == "__main__":
    sys.exit(unittest.main())
