#!/usr/bin/env python3
"""Are zones drawn on the page of mdscan zones --edit as they are then scanned?  Acts as a user does, by mouse and keys, and
takes what the browser saves.

    zones_page_test.py MDSCAN MAKE_CLIPS       without Chromium, its driver or Selenium the test is skipped
"""
import json
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

from page_browser import new_browser

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.actions.action_builder import ActionBuilder
from selenium.webdriver.common.actions.pointer_input import PointerInput
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

MDSCAN, MAKE_CLIPS = sys.argv[1:3]
WRITTEN = """{"zones": [
  {"name": "gate",  "polygon": [[0.10, 0.2], [0.4, 0.2],
                                [0.4, 0.9]], "min_size": 0.050},\r
 {"polygon":[[0.5,0.5],[1,0.5],[0.5,1e0]], "exclude":true, "name":"<b> \\u00e9"}
  ] }\t
"""


class ZonesPageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.name = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.name.cleanup)
        cls.folder = pathlib.Path(cls.name.name)
        cls.browser = new_browser(cls.folder)
        cls.addClassCleanup(cls.browser.quit)
        cls.saved = cls.folder / "saved"
        cls.browser.execute_cdp_cmd("Browser.setDownloadBehavior",
                                    {"behavior": "allow", "downloadPath": str(cls.saved)})
        subprocess.run([MAKE_CLIPS, str(cls.folder / "clips")], check=True)
        cls.clip = str(cls.folder / "clips/gate/2.mp4")          # a square goes from left to right, from 4 s to 7 s
        (cls.folder / "written.json").write_bytes(WRITTEN.encode())

    def mdscan(self, *arguments):
        """Exit code, and lines of zones or events."""
        done = subprocess.run([MDSCAN, *arguments, "-q", self.clip], stdout=subprocess.PIPE, text=True)
        lines = [json.loads(line) for line in done.stdout.splitlines()]
        return done.returncode, [line for line in lines if line["type"] in ("zone", "event")]

    def open(self, *zones):
        page = self.folder / "zones.html"
        self.assertEqual(self.mdscan("zones", "--edit", str(page), *zones)[0], 0)
        self.browser.get(page.as_uri())

    def script(self, text, *arguments):
        return self.browser.execute_script("return " + text, *arguments)

    def one(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def press(self, *keys, times=1):
        for _ in range(times):
            self.browser.switch_to.active_element.send_keys(*keys)

    def at(self, x, y):
        """The pointer over a place of the picture."""
        size = self.one("#shapes").size
        return ActionChains(self.browser, duration=20).move_to_element_with_offset(
            self.one("#shapes"), round((x - 0.5) * size["width"]), round((y - 0.5) * size["height"]))

    def drag(self, start, end):
        size = self.one("#shapes").size
        self.at(*start).click_and_hold().move_by_offset(round((end[0] - start[0]) * size["width"]), round(
            (end[1] - start[1]) * size["height"])).release().perform()

    def draw(self, *corners):
        """Clicks on corners, and once more on the first."""
        self.one("#draw").click()
        for corner in [*corners, corners[0]]:
            self.at(*corner).click().perform()

    def card(self, place):
        return self.all(".card")[place]

    def field(self, place, name):
        return self.card(place).find_element(By.CSS_SELECTOR, name)

    def fill(self, place, name, text):
        field = self.field(place, name)
        field.send_keys(Keys.CONTROL, "a")
        field.send_keys(text)

    def troubles(self, place, kind):
        return [item.text for item in self.card(place).find_elements(By.CSS_SELECTOR, "li." + kind)]

    def save(self, name):
        """What the browser got."""
        file = self.saved / name
        file.unlink(missing_ok=True)
        self.one("#save").click()
        end = time.monotonic() + 20
        while not file.exists() or list(self.saved.glob("*.crdownload")):
            self.assertLess(time.monotonic(), end, "never: a file " + name + "; " + self.one("#say").text)
            time.sleep(0.05)
        return file

    def drawn(self, polygons, place):
        """Corners on the page, in hundredths of the picture."""
        points = polygons[place].get_attribute("points").split()
        size = self.one("#shapes").size
        return [[round(100 * float(part) / side) for part, side in zip(point.split(","), (size["width"], size["height"]))]
                for point in points]

    def leaves_unasked(self):
        return self.script("dispatchEvent(new Event('beforeunload', {cancelable: true}))")

    def test_zones_are_drawn_and_scanned(self):
        self.open()
        self.assertTrue(self.one("#none").is_displayed())
        self.assertTrue(self.leaves_unasked())
        self.draw((0.05, 0.1), (0.45, 0.1), (0.45, 0.9), (0.05, 0.8))
        self.assertEqual(self.field(0, ".name").get_attribute("value"), "zone 1")
        self.drag((0.05, 0.8), (0.05, 0.9))                       # a corner of it
        self.one("#draw").click()
        for corner in ((0.6, 0), (0.97, 0), (0.97, 0.95)):
            self.at(*corner).click().perform()
        self.at(0.6, 0.95).double_click().perform()
        self.fill(0, ".name", "pavement")
        self.fill(0, ".min_size", "0.04")
        self.fill(0, ".max_size", "0.9")
        self.fill(1, ".name", "trees")
        self.field(1, ".exclude").click()
        self.assertFalse(self.field(1, ".min_size").is_enabled())
        self.assertFalse(self.leaves_unasked(), "nothing was saved so far")

        file = self.save("zones.json")
        self.assertTrue(self.leaves_unasked())
        zones = json.loads(file.read_text())["zones"]
        hundredths = [[[round(100 * part) for part in corner] for corner in zone.pop("polygon")] for zone in zones]
        self.assertEqual(hundredths, [[[5, 10], [45, 10], [45, 90], [5, 90]], [[60, 0], [97, 0], [97, 95], [60, 95]]])
        self.assertEqual(zones, [{"name": "pavement", "min_size": 0.04, "max_size": 0.9},
                                 {"name": "trees", "exclude": True}])

        code, told = self.mdscan("zones", "--zones", str(file))
        self.assertEqual(code, 0)
        for place, zone in enumerate(told):
            self.assertIn(f", {zone['blocks']} blocks, {100 * zone['share']:.1f} %", self.card(place).text)
        code, events = self.mdscan("--zones", str(file))
        self.assertEqual((code, len(events)), (0, 1), events)
        self.assertEqual(events[0]["zones"], ["pavement"])
        whole = self.mdscan()[1][0]
        self.assertLess(events[0]["end"], whole["end"] - 0.5, "it has left the zone by then")

    def test_a_file_is_saved_as_it_was_read(self):
        self.open("--zones", str(self.folder / "written.json"))
        self.assertEqual(self.save("written.json").read_bytes(), WRITTEN.encode())
        self.assertEqual(self.field(1, ".name").get_attribute("value"), "<b> \u00e9")
        self.open()
        other = self.folder / "other.json"
        other.write_bytes(b"\xef\xbb\xbf" + WRITTEN.replace("gate", "door").encode())
        self.one("#file").send_keys(str(other))
        self.wait(lambda: len(self.all(".card")) == 2, "two zones")
        self.assertEqual(self.save("other.json").read_bytes(), other.read_bytes())
        self.field(1, ".remove").click()
        self.fill(0, ".name", "x")
        self.one("#undo").click()
        self.assertFalse(self.leaves_unasked())
        self.one("#undo").click()
        self.assertTrue(self.leaves_unasked(), "all is as it was")
        self.fill(0, ".name", "yard")
        self.assertEqual(self.save("other.json").read_bytes(), other.read_bytes().replace(b"door", b"yard"))

    def wait(self, condition, what):
        end = time.monotonic() + 20
        while not condition():
            self.assertLess(time.monotonic(), end, "never: " + what)
            time.sleep(0.05)

    def test_a_file_is_dropped(self):
        self.open()
        self.script("""(() => {
            const held = new DataTransfer();
            held.items.add(new File([arguments[0]], "dropped.json"));
            dispatchEvent.call(document.body, new DragEvent("drop", {dataTransfer: held, bubbles: true, cancelable: true}));
        })()""", WRITTEN)
        self.wait(lambda: len(self.all(".card")) == 2, "two zones")
        self.assertEqual(self.save("dropped.json").read_bytes(), WRITTEN.encode())
        self.one("#file").send_keys(str(self.folder / "clips/yard/text.mp4"))
        self.wait(lambda: "is no zone file" in self.one("#say").text, "a complaint")
        self.assertEqual(len(self.all(".card")), 2)

    def test_what_mdscan_would_refuse_is_not_saved(self):
        odd = self.folder / "odd.json"
        odd.write_text('{"zones": [{"name": "none", "polygon": []}, {"name": "far", "mask": "constructor"}]}')
        self.open()
        self.one("#file").send_keys(str(odd))
        self.wait(lambda: self.one("#say").text.startswith("Loaded odd.json"), "it is shown, however odd")
        self.field(0, ".name").click()
        self.assertEqual(self.troubles(0, "error"), ["must be a polygon of at least three corners"])
        self.assertIn("does not know", self.card(1).text)
        self.open()
        self.one("#save").click()
        self.assertIn("there is no zone", self.one("#say").text)
        self.draw((0.1, 0.1), (0.5, 0.5), (0.5, 0.1), (0.1, 0.5))
        self.assertEqual(self.troubles(0, "error"), ["the line from [0] to [1] crosses the one from [2] to [3]"])
        self.draw((0.7, 0.1), (0.72, 0.1), (0.72, 0.12))
        self.assertEqual(len(self.troubles(1, "warning")), 1, "no room for an object")
        self.fill(1, ".name", "zone 1")
        self.assertEqual(self.troubles(1, "error"), ["another zone is called \"zone 1\""])
        self.fill(1, ".name", Keys.BACKSPACE)
        self.assertEqual(self.troubles(1, "error"), ["has no name"])
        self.fill(1, ".name", "other")
        self.fill(1, ".min_size", "1.5")
        self.assertEqual(self.troubles(1, "error"), ["smallest object: must be a number from 0 to 1"])
        self.fill(1, ".min_size", "0")
        self.assertEqual(self.troubles(1, "error") + self.troubles(1, "warning"), [])
        self.one("#save").click()
        self.assertIn("Not saved", self.one("#say").text)
        self.drag((0.5, 0.5), (0.5, 0.05))                        # picks nothing: the other zone is picked
        self.at(0.35, 0.25).click().perform()
        self.drag((0.5, 0.5), (0.52, 0.05))
        self.assertEqual(self.troubles(0, "error"), [])
        self.assertEqual(self.mdscan("zones", "--zones", str(self.save("zones.json")))[0], 0)

    def test_corners_and_zones_are_moved_and_taken_back(self):
        self.open("--zones", str(self.folder / "written.json"))
        outlines = self.all("#outlines polygon")
        self.at(0.35, 0.4).click().perform()
        self.drag((0.35, 0.4), (0.45, 0.35))                      # all of it
        self.assertEqual(self.drawn(outlines, 0), [[20, 15], [50, 15], [50, 85]])
        self.drag((0.5, 0.5), (0.7, 0.5))                         # the dot between two corners
        self.assertEqual(self.drawn(outlines, 0), [[20, 15], [50, 15], [70, 50], [50, 85]])
        self.press(Keys.DELETE)
        self.assertEqual(self.drawn(outlines, 0), [[20, 15], [50, 15], [50, 85]])
        self.at(0.2, 0.15).click().perform()
        self.press(Keys.ARROW_RIGHT, times=8)                     # of 160 pixels
        self.press(Keys.SHIFT + Keys.ARROW_DOWN + Keys.NULL, times=3)
        self.assertEqual(self.drawn(outlines, 0), [[25, 40], [50, 15], [50, 85]])
        self.press(Keys.ESCAPE)
        self.press(Keys.SHIFT + Keys.ARROW_LEFT + Keys.NULL)
        self.assertEqual(self.drawn(outlines, 0), [[19, 40], [44, 15], [44, 85]])
        for _ in range(5):
            self.press(Keys.CONTROL, "z")
        self.assertEqual(self.drawn(outlines, 0), [[10, 20], [40, 20], [40, 90]])
        self.assertTrue(self.leaves_unasked())
        self.assertFalse(self.one("#undo").is_enabled())
        self.press(Keys.CONTROL, "y")
        self.assertEqual(self.drawn(outlines, 0), [[20, 15], [50, 15], [50, 85]])
        self.press(Keys.DELETE)
        self.assertEqual(len(self.all(".card")), 1, "no corner was picked")

    def test_the_keyboard_is_enough(self):
        self.open()
        self.press("r")
        self.assertEqual(self.drawn(self.all("#outlines polygon"), 0), [[33, 33], [67, 33], [67, 67], [33, 67]])
        self.press(Keys.TAB)                                      # to the first corner
        self.assertEqual(self.script("document.activeElement.parentNode.id"), "corners")
        self.press("i")
        self.press(Keys.SHIFT + Keys.ARROW_UP + Keys.NULL)
        self.assertEqual(self.drawn(self.all("#outlines polygon"), 0)[1], [50, 25])
        self.press(Keys.TAB)
        self.assertEqual(self.script("document.activeElement.getAttribute('aria-label')"),
                         "corner 3 of 5: 66.7 %, 33.3 %")

    def test_a_finger_draws_and_moves(self):
        self.open()
        self.one("#draw").click()
        size, finger = self.one("#shapes").size, PointerInput("touch", "finger")

        def touch(*places):
            actions = ActionBuilder(self.browser, mouse=finger, duration=20)
            for number, (x, y) in enumerate(places):
                actions.pointer_action.move_to(self.one("#shapes"), round((x - 0.5) * size["width"]),
                                               round((y - 0.5) * size["height"]))
                if number == 0:
                    actions.pointer_action.pointer_down()
            actions.pointer_action.pointer_up()
            actions.perform()

        for corner in ((0.2, 0.2), (0.6, 0.2), (0.6, 0.6), (0.21, 0.21)):      # the last one on the first
            touch(corner)
        self.assertEqual(self.drawn(self.all("#outlines polygon"), 0), [[20, 20], [60, 20], [60, 60]])
        touch((0.61, 0.6), (0.71, 0.7))
        self.assertEqual(self.drawn(self.all("#outlines polygon"), 0), [[20, 20], [60, 20], [70, 70]])

    def test_pictures_from_all_of_the_video(self):
        self.open()
        width = "document.getElementById('frame').naturalWidth"
        self.wait(lambda: self.script(width) == 160, "the first picture")
        first = self.script("document.getElementById('frame').src")
        self.assertEqual(self.one("#at").text, "0:00.0")
        self.one("#time").send_keys(Keys.END)
        self.assertRegex(self.one("#at").text, "0:0[67]")
        self.assertNotEqual(self.script("document.getElementById('frame').src"), first)
        self.wait(lambda: self.script(width) == 160, "the last picture")

    def test_warnings_are_those_of_mdscan(self):
        shapes = {"small": [[0.1, 0.1], [0.12, 0.1], [0.12, 0.12]], "hidden": [[0.6, 0.6], [0.7, 0.6], [0.7, 0.7]],
                  "half": [[0.3, 0.5], [0.53, 0.5], [0.53, 0.9]], "large": [[0, 0], [0.4, 0], [0, 0.4]]}
        zones = [{"name": name, "polygon": polygon} for name, polygon in shapes.items()]
        zones[3]["max_size"] = 0.02
        zones.append({"name": "hole", "polygon": [[0.52, 0.5], [1, 0.5], [1, 1], [0.52, 1]], "exclude": True})
        file = self.folder / "idle.json"
        file.write_text(json.dumps({"zones": zones}))
        self.open("--zones", str(file))
        told = [["it can never tell motion: " + zone["idle"]] if "idle" in zone else []
                for zone in self.mdscan("zones", "--zones", str(file))[1]]
        self.assertEqual([bool(reasons) for reasons in told], [True, True, False, True, False])
        self.assertEqual([self.troubles(place, "warning") for place in range(5)], told)

    def test_blocks_are_shown(self):
        self.open("--zones", str(self.folder / "written.json"))
        opacity = """(() => {
            const pen = new OffscreenCanvas(1, 1).getContext("2d");
            pen.drawImage(blocks, -Math.round(blocks.width * 0.35), -Math.round(blocks.height * 0.37));
            return pen.getImageData(0, 0, 1, 1).data[3];
        })()"""
        self.assertGreater(self.script(opacity), 60, "tinted")
        self.one("body").send_keys("b")
        self.assertEqual(self.script(opacity), 0)

    def test_no_page_is_wider_than_a_telephone_and_nothing_comes_from_a_network(self):
        self.browser.get_log("performance")
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                     {"width": 400, "height": 800, "deviceScaleFactor": 1, "mobile": True})
        self.open("--zones", str(self.folder / "written.json"))
        self.assertLessEqual(self.script("document.documentElement.scrollWidth"), 400)
        self.browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})
        colours = set()
        for _ in range(3):
            self.one("#theme").click()
            colours.add(self.script("getComputedStyle(document.body).backgroundColor"))
        self.assertEqual(len(colours), 2, "light and dark")
        for entry in self.browser.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                self.assertRegex(message["params"]["request"]["url"], r"^(file|data|blob):")

    def tearDown(self):
        said = [entry["message"] for entry in self.browser.get_log("browser")]
        self.assertEqual(said, [], "the page complains")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
