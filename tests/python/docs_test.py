#!/usr/bin/env python3
"""Do the Python blocks of the manual's page work, one after another?"""
import contextlib
import io
import pathlib
import re
import unittest

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs/python.md"


class Blocks(unittest.TestCase):
    def test_every_block_runs(self):
        blocks = re.findall(r"^```python\n(.*?)^```$", PAGE.read_text(), re.M | re.S)
        self.assertGreaterEqual(len(blocks), 2)
        names, printed = {}, io.StringIO()
        with contextlib.redirect_stdout(printed):
            for number, block in enumerate(blocks, 1):
                exec(compile(block, f"block {number}", "exec"), names)
        self.assertRegex(printed.getvalue(), r"s: [0-9]+ blocks in columns [0-9]+ to [0-9]+\n")
        self.assertRegex(printed.getvalue(), r"conditioned: [0-9]+ blocks at 1[0-9].[0-9] s\n")


if __name__ == "__main__":
    unittest.main()
