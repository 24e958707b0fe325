#!/usr/bin/env python3
"""Does the reference hold all that headers declare, with their comments? Is every page in the menu, and once?

    reference_test.py PROJECT

What needs doxygen is skipped where it is not installed.
"""
import pathlib
import re
import shutil
import sys
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(sys.argv.pop(1))
sys.path.insert(0, str(ROOT / "manual"))
from reference import comments, headers, pages  # noqa: E402  # pylint: disable=wrong-import-position


class Comments(unittest.TestCase):
    def test_before_and_behind_and_below(self):
        text = ("// What is it?\n// Two lines.\n#pragma once\n\n"
                "// A loose remark.\n\n"
                "// Adds.\nint Add(int a);\n"
                "int sum;  // of all\n          // so far\n"
                "const char* text = \"// no comment\";\n"
                "/* of C */\nvoid f(void); /* behind */\n")
        self.assertEqual(comments.opening_of(text), "What is it?\nTwo lines.")
        documented = comments.documented(text).split("\n")
        self.assertEqual(len(documented), text.count("\n") + 1)  # lines keep their numbers
        self.assertEqual(documented[4], "")
        self.assertEqual(documented[6], "/** @verbatim Adds. @endverbatim */")
        self.assertEqual(documented[8:10], ["int sum;  /**< @verbatim of all", "so far @endverbatim */"])
        self.assertEqual(documented[10], "const char* text = \"// no comment\";")
        self.assertEqual(documented[11:13], ["/** @verbatim of C @endverbatim */",
                                             "void f(void); /**< @verbatim behind @endverbatim */"])


class Headers(unittest.TestCase):
    def test_are_those_that_are_installed(self):
        listed = (ROOT / "tests/install/installed_files.txt").read_text().split()
        installed = {line.removeprefix("include/") for line in listed if line.startswith("include/")}
        self.assertEqual({header.name for header in headers.installed_headers()}, installed)


class Menu(unittest.TestCase):
    def test_every_page_once(self):
        listed = re.findall(r"- .*: ([\w-]+\.md)$", (ROOT / "mkdocs.yml").read_text(), re.M)
        self.assertEqual(len(listed), len(set(listed)), listed)
        added = {"performance.md", "accuracy.md"}  # where they are there
        self.assertEqual(set(listed), {path.name for path in (ROOT / "docs").glob("*.md")} - added)


class Diagrams(unittest.TestCase):
    def test_name_what_exists_in_light_and_dark(self):
        declared = (ROOT / "include/coreMD.h").read_text()
        for name, page in (("frame", "pipeline.md"), ("handle", "c-interface.md")):
            path = ROOT / f"docs/figures/{name}-diagram.svg"
            self.assertIn(f"(figures/{path.name})", (ROOT / "docs" / page).read_text())
            texts = [e for e in xml.etree.ElementTree.parse(path).iter() if e.tag.endswith("text")]
            words = " ".join("".join(text.itertext()) for text in texts)
            for function in set(re.findall(r"\bh\d\d\b|COREMD_\w+", words)):
                self.assertRegex(declared, rf"\b{function}\b")
            self.assertIn("prefers-color-scheme: dark", path.read_text())

    def test_frame_goes_through_every_step(self):
        text = (ROOT / "docs/figures/frame-diagram.svg").read_text()
        steps = re.findall(r"^## (\d)\. (\w+)", (ROOT / "docs/pipeline.md").read_text(), re.M)
        self.assertEqual(len(steps), 9)
        for number, _ in steps:
            self.assertRegex(text, rf">[\d, ]*\b{number}\b")


@unittest.skipUnless(shutil.which("doxygen"), "doxygen is not installed: the reference is not made")
class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.pages = {name: text for name, (_, text) in pages.pages().items()}

    def test_every_function_of_the_c_interface(self):
        page = self.pages["api-coreMD-h.md"]
        functions = re.findall(r"^COREMD_API [\w: *]*?(\w+)\(", (ROOT / "include/coreMD.h").read_text(), re.M)
        self.assertGreater(len(functions), 17)
        for name in functions:
            self.assertRegex(page, rf"(?m)^### {name}$")
        for record in ("DetectionInfo", "MDZoneInfo", "MDResultInfo", "MDZoneDetectionInfo", "MDObjectInfo"):
            self.assertRegex(page, rf"(?m)^### {record}$")
        self.assertIn("<td><code>isH264PartlyIFrame</code></td><td><code>int32_t</code></td>"
                      "<td>boolean: that frame is an I-frame", page)
        self.assertIn("Creates a detector. Returns 0.", page)
        self.assertIn("#define COREMD_VERSION_PATCH", page)
        self.assertRegex(page, r"(?m)^### Status of h17, h18 and h19$")  # it has no name

    def test_every_public_name_of_the_face(self):
        page = self.pages["api-coreMD-hpp.md"]
        for name in ("Detector", "Frame", "Zone", "Object", "StateStatus", "LibraryVersion"):
            self.assertRegex(page, rf"(?m)^### {name}$")
        self.assertIn("void AddWholePicture(", page)
        self.assertNotIn("_handle", page)  # private

    def test_names_lead_to_where_they_are_explained(self):
        self.assertIn('<a href="api-coreMD-h.html#h17">h17</a>', self.pages["api-coreMD-h.md"])
        self.assertIn("api-host-BlockReducer-h.md", self.pages["api.md"])

    def test_classes_are_apart(self):
        self.assertIn("FlushBackground", self.pages["api-classes.md"])
        for name, text in self.pages.items():
            if name != "api-classes.md":
                self.assertNotIn("FlushBackground", text)


if __name__ == "__main__":
    unittest.main()
