"""What do tests of mdscan's pages share?  One browser each, clips, a scanned page, and what a viewer does with it.

A test's first arguments are MDSCAN MAKE_CLIPS. Without Chromium, its driver or Selenium it is skipped.
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest

from page_browser import new_browser

from selenium.webdriver.common.by import By

MDSCAN, MAKE_CLIPS = sys.argv[1:3]
ZONES = {"zones": [{"name": "left", "polygon": [[0, 0], [0.3, 0], [0.3, 1], [0, 1]]},
                   {"name": "right <b>", "polygon": [[0.5, 0], [1, 0], [1, 1], [0.5, 1]]}]}


class PageCase(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.browser = new_browser(cls.folder.name)
        cls.addClassCleanup(cls.browser.quit)
        clips = pathlib.Path(cls.folder.name, "recordings of <b>")
        subprocess.run([MAKE_CLIPS, str(clips)], check=True)
        zones = pathlib.Path(cls.folder.name, "zones.json")
        zones.write_text(json.dumps(ZONES))
        cls.page, cls.events = cls.scan("page.html", str(clips), "--zones", str(zones))

    @classmethod
    def scan(cls, name, *arguments):
        """The page of a run, and its events."""
        page = pathlib.Path(cls.folder.name, name)
        done = subprocess.run([MDSCAN, "--report", str(page), *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              text=True)
        assert done.returncode in (0, 1), done.stderr
        lines = [json.loads(line) for line in done.stdout.splitlines()]
        return page, [line for line in lines if line["type"] == "event"]

    def open(self, page):
        self.browser.get(page.as_uri())

    def script(self, text, *arguments):
        return self.browser.execute_script("return " + text, *arguments)

    def one(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def cells(self):
        cells = self.browser.find_elements(By.CSS_SELECTOR, ".event")
        return sorted(cells, key=lambda cell: cell.location["y"])

    def place_of(self, cell):
        return self.script("arguments[0].offsetTop / arguments[0].offsetHeight", cell)

    def scroll_list(self, place):
        """Brings a place to the upper edge of the list; fails unless its cell appears."""
        height = self.cells()[0].size["height"]
        self.script("list.scrollTop = arguments[0]", place * height)
        self.wait(lambda: self.has_cell(place), "the list follows its bar")

    def has_cell(self, place):
        return self.script("Array.from(document.querySelectorAll('.event'), (cell) => cell.offsetTop / cell.offsetHeight)"
                           ".includes(arguments[0])", place)

    def choose(self, id, value):
        self.script("(document.getElementById(arguments[0]).value = arguments[1], "
                    "document.getElementById(arguments[0]).dispatchEvent(new Event('input')))", id, value)

    def places_of(self, name):
        """Points of the canvas, row by row, where the page's tip names an event of that file."""
        return self.script("""(() => {
            const box = canvas.getBoundingClientRect(), found = [];
            const point = (x, y) => canvas.dispatchEvent(new PointerEvent("pointermove",
                {clientX: box.left + x, clientY: box.top + y}));
            for (let y = 1; y < box.height; y += 4) {
                for (let x = 1; x < box.width; x += 4) {
                    point(x, y);
                    if (!tip.hidden && tip.textContent.startsWith(arguments[0] + ", ")) {
                        found.push([x, y]);
                    }
                }
            }
            canvas.dispatchEvent(new PointerEvent("pointerleave"));
            return found;
        })()""", name)

    def view(self):
        self.script("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)))")
        canvas = self.one("#canvas")
        return float(canvas.get_attribute("data-from")), float(canvas.get_attribute("data-to"))

    def wait(self, condition, what):
        end = time.monotonic() + 20
        while time.monotonic() < end:
            if condition():
                return
            time.sleep(0.05)
        self.fail(f"never: {what}")

    def playing(self, event):
        """Fails unless the video stands at the event's first second, or a little behind it."""
        source = self.script("video.getAttribute('src')")
        at = round(event["start"] - event.get("clip_start", 0), 3)
        self.assertAlmostEqual(float(source.split("#t=")[1]), at, places=3, msg=source)
        self.assertRegex(source, r"^[A-Za-z0-9._~%/#=-]+$")
        self.assertEqual(self.one("#open").get_attribute("href"), self.script("video.src"))
        if not re.search(r"\.(mp4|webm)#", source):
            return
        self.wait(lambda: self.script("video.readyState > 1 || video.error !== null"), "the recording is loaded")
        if self.script("video.error === null"):              # a browser may lack the decoder
            self.assertGreaterEqual(self.script("video.currentTime"), at - 0.15)
            self.assertLess(self.script("video.currentTime"), at + 6)

    def tearDown(self):
        self.assertEqual(self.browser.get_log("browser"), [], "the console stays empty")
        for entry in self.browser.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                url = message["params"]["request"]["url"]
                self.assertRegex(url, r"^(file|data|blob):", "nothing comes from a network")
                if url.startswith("file:"):
                    self.assertIn(pathlib.Path(self.folder.name).as_uri()[:8], url)
