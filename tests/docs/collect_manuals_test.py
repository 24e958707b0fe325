#!/usr/bin/env python3
"""Do manuals of several versions get menus that lead to each other?

    collect_manuals_test.py SCRIPT
"""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(sys.argv.pop(1))


def collect(site, folder):
    return subprocess.run([sys.executable, SCRIPT, site, folder], capture_output=True, text=True, check=False)


class CollectManuals(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.addCleanup(self.scratch.cleanup)
        self.root = pathlib.Path(self.scratch.name)
        self.folder = self.root / "all"

    def add(self, version, *pages):
        site = self.root / f"site-{version}"
        for page in ("index.html", "404.html", *pages):
            path = site / page
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(f"<html><body><!-- version -->{version}<!-- /version -->{page} of {version}</body></html>")
        done = collect(site, self.folder)
        self.assertEqual(done.returncode, 0, done.stderr)

    def page(self, name):
        return (self.folder / name).read_text()

    def test_one_version_has_no_menu(self):
        self.add("1.0.0")
        self.assertIn("<!-- version -->1.0.0<!-- /version -->", self.page("1.0.0/index.html"))
        self.assertIn("url=1.0.0/index.html", self.page("index.html"))

    def test_versions_lead_to_each_other(self):
        self.add("1.9.0", "old.html", "both.html", "deep/both.html")
        self.add("1.10.0", "both.html", "deep/both.html")
        self.add("1.2.0", "both.html")
        self.assertEqual(json.loads(self.page("versions.json")),
                         {"newest": "1.10.0", "versions": ["1.10.0", "1.9.0", "1.2.0"]})
        self.assertIn("url=1.10.0/index.html", self.page("index.html"))
        menu = self.page("1.9.0/both.html")
        self.assertIn('<a href="../1.10.0/both.html">1.10.0</a>', menu)
        self.assertIn('<a href="../1.9.0/both.html" aria-current="true">1.9.0</a>', menu)
        self.assertIn('<a href="../1.10.0/index.html">', self.page("1.9.0/old.html"))  # a page that the other has not
        self.assertIn('<a href="../../1.10.0/deep/both.html">', self.page("1.9.0/deep/both.html"))
        self.assertNotIn("<a", self.page("1.9.0/404.html"))
        done = subprocess.run([sys.executable, SCRIPT.parent / "check-site.py", self.folder], capture_output=True, text=True,
                              check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_collecting_again_replaces(self):
        self.add("1.0.0", "gone.html")
        self.add("1.1.0", "gone.html")
        before = self.page("1.1.0/index.html")
        (self.root / "site-1.0.0/gone.html").unlink()
        self.add("1.0.0")
        self.assertFalse((self.folder / "1.0.0/gone.html").exists())
        self.assertIn('<a href="../1.0.0/index.html">', self.page("1.1.0/gone.html"))
        self.assertEqual(self.page("1.1.0/index.html"), before)

    def test_refuses_what_is_no_manual(self):
        self.root.joinpath("index.html").write_text("hello")
        done = collect(self.root, self.folder)
        self.assertEqual(done.returncode, 1)
        self.assertIn("is no manual", done.stderr)
        self.assertFalse(self.folder.exists())


if __name__ == "__main__":
    unittest.main()
