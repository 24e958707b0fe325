#!/usr/bin/env python3
"""Do the Python blocks of the manual's page work, one after another?

usage: docs_test.py MDSCAN
"""
import contextlib
import importlib.util
import io
import os
import pathlib
import re
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = ROOT / "docs/python.md"
MDSCAN = pathlib.Path(sys.argv[1]).resolve()


def lacks(block):
    """What this machine lacks for a block; None: nothing."""
    if "coremd.video" in block and not MDSCAN.exists():
        return "the scanner"
    for name in re.findall(r"^import (\w+)", block, re.M):
        if not importlib.util.find_spec(name):
            return name
    return None


class Blocks(unittest.TestCase):
    def test_every_block_runs(self):
        blocks = re.findall(r"^```python\n(.*?)^```$", PAGE.read_text(), re.M | re.S)
        self.assertGreaterEqual(len(blocks), 2)
        names, printed, left_out = {}, io.StringIO(), []
        os.environ["PATH"] = f"{MDSCAN.parent}:{os.environ['PATH']}"
        with contextlib.redirect_stdout(printed), tempfile.TemporaryDirectory() as folder:
            os.symlink(ROOT / "samples", pathlib.Path(folder) / "samples")
            os.chdir(folder)
            for number, block in enumerate(blocks, 1):
                if lacks(block):
                    left_out.append(f"block {number}: {lacks(block)}")
                    continue
                exec(compile(block, f"block {number}", "exec"), names)
            made = {path.name for path in pathlib.Path(folder).iterdir() if path.is_file()}
            os.chdir(ROOT)
        for reason in left_out:
            print("left out for what is not installed: " + reason)
        self.assertRegex(printed.getvalue(), r"s: [0-9]+ blocks in columns [0-9]+ to [0-9]+\n")
        self.assertRegex(printed.getvalue(), r"conditioned: [0-9]+ blocks at 1[0-9].[0-9] s\n")
        if MDSCAN.exists():
            self.assertRegex(printed.getvalue(), r"(?m)^[0-9.]+ s: [0-9]+x[0-9]+ pixels in pavement$")
            self.assertRegex(printed.getvalue(), r"(?m)^event 1: .* picture of \(360, 640, 3\)$")
            self.assertRegex(printed.getvalue(), r"(?m)^0.03 \['.*\]\n0.2 .*\n0.6 \[\]$")
            self.assertIn("object", printed.getvalue(), "what explain says")
        if not left_out:
            self.assertEqual(made, {"motion.png", "heat.png"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
