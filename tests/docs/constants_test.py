#!/usr/bin/env python3
"""Does docs/tuning.md list every constant of the sources, with its value, and no other?

    constants_test.py PROJECT

A table belongs to the source that a comment before it names: <!-- constants: PATH -->. Several tables may share a source.
Sources are those of the detector and its statistics that define constants outside functions.
"""
import pathlib
import re
import struct
import sys
import unittest

ROOT = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path()
OTHER_TYPES = r"Kernels::|BlockRange|char\*|auto"  # structures: their numbers are constants of their own
# Codes, not numbers that anything is compared with.
LEFT_OUT = {"delivered", "exhausted", "notReady"}


def single(value):
    return struct.unpack("f", struct.pack("f", value))[0]


def constants_of(text, known):
    """Every constexpr number at the level of a class or namespace, by name."""
    text = re.sub(r"//[^\n]*", "", text)
    found = {}
    pattern = r"^(?: {4}static |static |)constexpr ((?:[\w:]+ )+) *(\w+(?: *= *[^;]*?)(?:, *\w+ *= *[^;]*?)*);"
    for kind, declarations in re.findall(pattern, text, re.MULTILINE):
        if re.search(OTHER_TYPES, kind):
            continue
        for declaration in declarations.split(","):
            name, _, expression = (part.strip() for part in declaration.partition("="))
            if name in LEFT_OUT:
                continue
            expression = re.sub(r"\bMotionDetector::", "", " ".join(expression.split()))
            expression = re.sub(r"\b([\d.]+)f\b", r"\1", expression)
            value = eval(expression, {"__builtins__": {}}, {**known, **found})  # the project's own arithmetic
            found[name] = single(value) if kind.strip() == "float" else value
    return found


def tables_of(page):
    """For each source named, the names and values of all its tables."""
    tables = {}
    for path, table in re.findall(r"<!-- constants: (\S+) -->\n\n((?:\|.*\n)+)", page):
        for line in table.splitlines()[2:]:
            cells = [cell.strip() for cell in line.strip("|").split("|")]
            name = cells[0].strip("`")
            assert len(cells) == 4 and cells[3], f"{name}: a cell is missing"
            assert name not in tables.setdefault(path, {}), f"{path}: {name} is listed twice"
            tables[path][name] = float(cells[1])
    return tables


class Constants(unittest.TestCase):
    def test_the_page_lists_all_of_them_with_their_values(self):
        tables = tables_of((ROOT / "docs/tuning.md").read_text())
        header = constants_of((ROOT / "src/detector/MotionDetector.h").read_text(), {})
        self.assertGreater(len(header), 20)
        sources = sorted((ROOT / "src/detector").glob("MotionDetector*")) + sorted((ROOT / "src/statistics").glob("*.*"))
        for path in sources:
            name = str(path.relative_to(ROOT))
            constants = constants_of(path.read_text(), header)
            with self.subTest(name):
                self.assertEqual(set(tables.pop(name, {})) ^ set(constants), set(), "listed or defined, not both")
        self.assertFalse(tables, "tables of sources without constants")

    def test_their_values_are_those_of_the_sources(self):
        header = constants_of((ROOT / "src/detector/MotionDetector.h").read_text(), {})
        for name, table in tables_of((ROOT / "docs/tuning.md").read_text()).items():
            constants = constants_of((ROOT / name).read_text(), header)
            for constant, value in table.items():
                with self.subTest(constant):
                    is_single = isinstance(constants.get(constant), float)
                    self.assertEqual(single(value) if is_single else value, single(constants[constant]) if is_single
                                     else constants[constant])

    def test_constants_are_found_in_the_ways_they_are_written(self):
        text = ("constexpr int a = 3;\n    static constexpr std::int64_t b = 2 * a;  // ticks\n"
                "    static constexpr float c =\n        1.5f * 2.1f;\nconstexpr unsigned long d = 7, e = 8;\n"
                "    constexpr int inner = 4;\n")
        self.assertEqual(constants_of(text, {}), {"a": 3, "b": 6, "c": single(3.15), "d": 7, "e": 8})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
