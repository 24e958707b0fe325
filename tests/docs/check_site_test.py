#!/usr/bin/env python3
"""Does scripts/check-site.py notice what is wrong with a site?

    check_site_test.py SCRIPT
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = sys.argv[1] if len(sys.argv) > 1 else "scripts/check-site.py"


def said_of(files):
    with tempfile.TemporaryDirectory() as directory:
        for name, text in files.items():
            path = pathlib.Path(directory, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        done = subprocess.run([sys.executable, SCRIPT, directory], stderr=subprocess.PIPE, text=True, check=False)
    return done.returncode, done.stderr


class CheckSite(unittest.TestCase):
    def expect_fault(self, files, fault):
        status, said = said_of(files)
        self.assertEqual(status, 1)
        self.assertIn(fault, said)
        self.assertEqual(said.count("\n"), 1, said)

    def test_a_sound_site_passes(self):
        site = {"index.html": '<link rel="stylesheet" href="css/a.css"><h1 id="top"></h1><a href="deep/b.html#place">b</a>'
                              '<a href="#top">up</a><a href="https://example.org/">elsewhere</a><img src="a.png">',
                "deep/b.html": '<p id="place"></p><a href="../index.html#top">back</a>', "css/a.css": "p { color: red }",
                "a.png": ""}
        self.assertEqual(said_of(site), (0, ""))

    def test_what_is_wrong_is_said(self):
        for text, fault in [('<a href="b.html">', "b.html leads nowhere"), ('<img src="b.png">', "b.png leads nowhere"),
                            ('<a href="#nowhere">', "#nowhere: the page has no such place"),
                            ('<script src="https://example.org/a.js"></script>', "loads https://example.org/a.js"),
                            ('<link rel="stylesheet" href="//example.org/a.css">', "loads //example.org/a.css"),
                            ('<img src="http://example.org/a.png">', "loads http://example.org/a.png")]:
            with self.subTest(text):
                self.expect_fault({"index.html": text}, fault)

    def test_styles_load_nothing_either(self):
        self.expect_fault({"index.html": "", "a.css": "@font-face { src: url('https://example.org/f.woff') }"},
                          "loads https://example.org/f.woff")

    def test_an_empty_site_is_none(self):
        self.expect_fault({"a.css": ""}, "no page")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
