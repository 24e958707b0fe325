#!/usr/bin/env python3
"""Can a viewer review events on the page of --report and take them elsewhere, 20 000 of them, too?

    page_review_test.py MDSCAN MAKE_CLIPS

Without Chromium, its driver or Selenium the test is skipped.
"""
import base64
import copy
import csv
import json
import pathlib
import re
import shutil
import subprocess
import unittest

from page_case import PageCase                               # ends here where there is no browser
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.select import Select

MANY, INPUTS = 20000, 500                                    # events, in so many files
MOST_PICTURES = 64 << 20                                     # bytes of pictures that mdscan writes into a page

# Where the boxes that an element holds are on the screen, without their lines.
BOXES = """Array.from(arguments[0].querySelectorAll(".boxes rect"), (box) => {
    const {x, y, width, height} = box.getBBox(), {a, d, e, f} = box.getScreenCTM();
    return [a * x + e, d * y + f, a * width, d * height];
})"""


def inputs_of(page):
    """What the page holds of each input."""
    return [json.loads(block) for block in re.findall(r'class="input">(.*?)</script>', page.read_text(), re.DOTALL)]


def with_inputs(page, name, inputs):
    """Another page, of other inputs."""
    text, blocks = page.read_text(), "".join(
        '<script type="application/json" class="input">' + json.dumps(one).replace("<", "\\u003c") + "</script>\n"
        for one in inputs)
    before, after = re.split(r'<script type="application/json" class="input">.*class="input">.*?</script>\n', text,
                             maxsplit=1, flags=re.DOTALL)
    other = page.with_name(name)
    other.write_text(before + blocks + after)
    return other


def box_at(event, time):
    """The box of the track at a time of the recording, None before and behind it."""
    numbers, points = [int(number) for number in event["track"].split()], []
    for i in range(0, len(numbers), 5):
        before = points[-1] if points else [0] * 5
        points.append([one + more for one, more in zip(before, numbers[i:i + 5])])
    at = 100 * (time - event["start"])
    for one, next_one in zip(points, points[1:]):
        if one[0] <= at <= next_one[0]:
            part = (at - one[0]) / (next_one[0] - one[0])
            return [a + part * (b - a) for a, b in zip(one[1:], next_one[1:])]
    return None


def placed(box, size, frame):
    """A box of a picture of this size, where the picture is shown in a frame as large as fits, in its middle."""
    scale = min(frame["width"] / size[0], frame["height"] / size[1])
    left = frame["x"] + (frame["width"] - scale * size[0]) / 2
    top = frame["y"] + (frame["height"] - scale * size[1]) / 2
    return [left + scale * box[0], top + scale * box[1], scale * box[2], scale * box[3]]


class PageReviewTest(PageCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.inputs = inputs_of(cls.page)
        cls.found = [line for one in cls.inputs for line in one["lines"] if line["type"] == "event"]
        cls.loads = pathlib.Path(cls.folder.name, "loads")
        cls.loads.mkdir()
        cls.browser.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": str(cls.loads)})

    def setUp(self):
        self.open(self.page)
        self.script("localStorage.clear()")

    def reload(self, page):
        self.browser.get("about:blank")
        self.open(page)

    def frame_of(self, selector):
        return self.script("(({x, y, width, height}) => ({x, y, width, height}))"
                           "(document.querySelector(arguments[0]).getBoundingClientRect())", selector)

    def press(self, *keys):
        for key in keys:
            self.one("body").send_keys(key)

    def near(self, boxes, expected):
        self.assertEqual(len(boxes), len(expected), boxes)
        for one, other in zip(boxes, expected):
            for side, wanted in zip(one, other):
                self.assertAlmostEqual(side, wanted, delta=0.2, msg=f"{boxes}, not {expected}")

    def download(self, button):
        """The file that a button gives."""
        for old in self.loads.iterdir():
            old.unlink()
        self.one(button).click()
        self.wait(lambda: [file for file in self.loads.iterdir() if file.suffix not in (".crdownload", ".tmp")],
                  "there is a file")
        return next(self.loads.iterdir())

    def plays(self):
        """Fails unless the video is loaded; says whether this browser can decode it."""
        self.wait(lambda: self.script("video.readyState > 1 || video.error !== null"), "the recording is loaded")
        return self.script("video.error === null")

    def picked(self):
        return self.one("#pickedname").text

    def name_of(self, number):
        event = self.events[number]
        return f"{event['file'].split('/')[-1]}, event {event['event']}"

    def test_boxes_stand_on_pictures(self):
        image = self.cells()[0].find_element(By.TAG_NAME, "img")
        self.wait(lambda: self.script("arguments[0].naturalWidth", image) == 160, "a picture")
        boxes = [[box[side] for side in "xywh"] for box in self.events[0]["boxes"]]
        self.wait(lambda: self.script(BOXES, self.cells()[0]), "its boxes")
        expected = [placed(box, (160, 120), self.frame_of(".event img")) for box in boxes]
        self.near(self.script(BOXES, self.cells()[0]), expected)
        self.assertTrue(self.one(".event .boxes").is_displayed())
        self.one("body").send_keys("b")
        self.assertFalse(self.one(".event .boxes").is_displayed())

    def test_a_box_follows_its_object_over_the_player(self):
        def standing(time):
            self.script("new Promise((done) => { video.pause(); video.currentTime = arguments[0];"
                        " video.onseeked = () => requestAnimationFrame(() => requestAnimationFrame(done)); })", time)
            return self.script(BOXES, self.one("#screen"))

        large = copy.deepcopy(self.inputs)                   # scanned as if pixels were half as wide
        for one in large:
            one["width"] *= 2
            for line in one["lines"]:
                line["boxes"] = [[2 * x, y, 2 * width, height] for x, y, width, height in line["boxes"]]
                line["track"] = " ".join(str(int(n) * (2 if i % 5 in (1, 3) else 1))
                                         for i, n in enumerate(line["track"].split()))
        for page in self.page, with_inputs(self.page, "wide.html", large):      # with the same boxes on the screen
            self.reload(page)
            event = self.found[1]
            self.cells()[1].click()
            if not self.plays():
                self.skipTest("this browser cannot decode the clips")
            for height in "", "150px":                       # above and below, or left and right of it, there is a border
                self.script("video.style.height = arguments[0]", height)
                seen = 0
                for time in event["start"] + 0.5, event["end"] - 0.4, event["end"] + 0.8:
                    box = box_at(event, time)
                    seen += box is not None
                    self.near(standing(time), [placed(box, (160, 120), self.frame_of("#video"))] if box else [])
                self.assertGreaterEqual(seen, 2, "on its way it is to be seen")
                self.assertIsNone(box, "and not behind it")

    def test_playing_ends_with_the_event_or_goes_on(self):
        self.press("j")
        self.assertEqual(self.picked(), self.name_of(0))
        if not self.plays():
            self.skipTest("this browser cannot decode the clips")
        self.wait(lambda: self.script("video.played.length > 0"), "keys play")
        end = self.events[0]["end"]
        self.script("(video.playbackRate = 2, video.currentTime = arguments[0])", end - 0.5)
        self.wait(lambda: self.script("video.paused"), "it ends")
        self.assertAlmostEqual(self.script("video.currentTime"), end, delta=0.5)
        self.press(" ")
        self.wait(lambda: self.script("video.currentTime") > end + 0.7, "the viewer may go on")
        self.press("a")                                      # behind the end: the next one, which is in another file
        self.assertEqual(self.one("#playall").get_attribute("aria-pressed"), "true")
        for number in 1, 2, 3:
            self.wait(lambda number=number: self.picked() == self.name_of(number), f"event {number} follows")
            self.assertTrue(self.plays())
            self.wait(lambda: self.script("!video.seeking && !video.paused"), "it plays")
            self.script("video.currentTime = arguments[0]", self.events[number]["end"] - 0.2)
        self.wait(lambda: self.one("#playall").get_attribute("aria-pressed") == "false", "after the last one, that is all")
        self.assertTrue(self.script("video.paused"))

    def test_what_cannot_be_played_is_passed_by(self):
        gone = copy.deepcopy(self.inputs)
        for line in (line for one in gone for line in one["lines"]):
            line["link"] = "gone.mp4"
        self.open(with_inputs(self.page, "gone.html", gone))
        self.press("a")
        self.assertEqual(self.picked(), self.name_of(0))
        self.wait(lambda: self.one("#unplayable").is_displayed(), "that is told")
        self.near(self.script(BOXES, self.one("#screen")),
                  [placed(box, (160, 120), self.frame_of("#still")) for box in self.found[0]["boxes"]])
        self.wait(lambda: self.picked() == self.name_of(1), "the next one follows")
        self.browser.get_log("browser")                      # complains of the missing file

    def test_marks_stay_with_their_page(self):
        self.press("j", "2", "j", "1", "1")                  # the same again takes it away
        marks = [cell.get_attribute("data-mark") for cell in self.cells()]
        self.assertEqual(marks, ["keep", "", "", ""])
        self.assertEqual(self.one(".event .mark").text, "keep")
        self.reload(self.page)
        self.assertEqual([cell.get_attribute("data-mark") for cell in self.cells()], marks, "at the next visit, too")
        self.one("#verdictfilter [data-mark='keep']").click()
        self.assertEqual(self.one("#count").text, "1 of 4 events")
        self.one("#verdictfilter [data-mark='']").click()
        self.assertEqual(self.one("#count").text, "4 of 4 events")
        self.one("#verdictfilter [data-mark='keep']").click()
        self.press("j", "3")                                 # the first unmarked one vanishes, the next one is the next
        self.assertEqual(self.one("#count").text, "2 of 4 events")
        self.press("j")
        self.assertEqual(self.picked(), self.name_of(2))
        self.assertEqual(self.one("#verdict [data-mark='seen']").get_attribute("aria-pressed"), "false")

        saved = self.download("#savemarks")
        content = json.loads(saved.read_text())
        keys = [f"{event['file']}@{event['start']:g}" for event in self.events]
        self.assertEqual(content, {"mdscan": "marks of events", "version": 1,
                                   "marks": {keys[0]: "keep", keys[1]: "false"}})
        other = self.page.with_name("other.html")
        other.write_text(self.page.read_text())
        self.reload(other)
        self.assertEqual({cell.get_attribute("data-mark") for cell in self.cells()}, {""}, "another page has none of them")
        content["marks"]["elsewhere.mp4@3"] = "seen"
        saved.write_text(json.dumps(content))
        self.one("#marksfile").send_keys(str(saved))
        self.wait(lambda: self.one("#notice").is_displayed(), "what was loaded is told")
        self.assertEqual(self.one("#notice").text, f"2 marks loaded from {saved.name}. "
                         "1 mark of events that this page does not have.")
        self.assertEqual([cell.get_attribute("data-mark") for cell in self.cells()], ["keep", "false", "", ""])
        for text, why in ((json.dumps(content)[:-9], "is damaged, or no file of marks"),
                          ('{"a":[1]}', "is no file of marks")):
            saved.write_text(text)
            self.one("#marksfile").send_keys(str(saved))
            self.wait(lambda why=why: why in self.one("#notice").text, "what is wrong with it is told")
            self.assertEqual([cell.get_attribute("data-mark") for cell in self.cells()], ["keep", "false", "", ""])

    def test_a_browser_that_keeps_nothing_is_told_of(self):
        refusal = "Object.defineProperty(window, 'localStorage', {get() { throw new DOMException('no', 'SecurityError'); }})"
        added = self.browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": refusal})
        try:
            self.reload(self.page)
            self.assertIn("keeps no marks", self.one("#notice").text)
            self.press("j", "2")
            self.assertEqual(self.one(".event .mark").text, "keep", "it goes on without")
            self.assertIn("does not keep marks", self.one("#notice").text)
        finally:
            self.browser.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", {"identifier": added["identifier"]})
            self.reload(self.page)

    def test_sizes_and_places(self):
        sizes = [max(100 * box[2] / 160 for box in event["boxes"]) for event in self.found]
        heights = [max(100 * box[3] / 120 for box in event["boxes"]) for event in self.found]
        sizes = [max(pair) for pair in zip(sizes, heights)]
        self.one("#smallest").send_keys(f"{max(sizes):.6f}"[:-1])
        self.assertEqual(self.one("#count").text, f"{sum(size >= max(sizes) - 1e-5 for size in sizes)} of 4 events")
        self.one("#smallest").clear()
        self.one("#largest").send_keys(f"{min(sizes) - 1:.2f}")
        self.assertEqual(self.one("#count").text, "0 of 4 events")
        self.one("#largest").send_keys(Keys.ESCAPE)
        self.press(Keys.ESCAPE)

        scene = self.one("#cameras .scene")
        self.script("arguments[0].scrollIntoView({block: 'center'})", scene)
        camera, name = self.one("#cameras figcaption").get_attribute("title"), self.one("#cameras b").text
        box = self.script("arguments[0].getBoundingClientRect()", scene)

        def drag(left, top, right, bottom):                  # in pixels of the picture, 160 by 120
            at = [(x * box["width"] / 160 - box["width"] / 2, y * box["height"] / 120 - box["height"] / 2)
                  for x, y in ((left, top), (right, bottom))]
            actions = ActionChains(self.browser)
            actions.move_to_element_with_offset(scene, *(round(part) for part in at[0])).click_and_hold()
            actions.move_to_element_with_offset(scene, *(round(part) for part in at[1])).release().perform()
            return int(self.one("#count").text.split()[0])

        there = sum(one["camera"] == camera for one in self.inputs for line in one["lines"])
        self.assertLess(there, 4)
        self.assertEqual(drag(4, 4, 156, 116), there, "of this camera all")
        self.assertIn("Place: " + name, self.one("#place").text)
        self.assertIn(name, [option.text for option in Select(self.one("#camera")).options], "by one name everywhere")
        self.assertTrue(self.one(".scene .area").is_displayed())
        self.assertEqual(drag(4, 2, 156, 8), 0, "nothing moves up there")
        track = [event for event in self.found if event["track"]][0]
        x, y, width, height = box_at(track, (track["start"] + track["end"]) / 2)
        self.assertGreater(drag(x + 2, y + 2, x + width - 2, y + height - 2), 0, "where it moved")
        ActionChains(self.browser).context_click(scene).perform()
        ActionChains(self.browser).move_to_element(self.one("#cameras h2")).click_and_hold().move_to_element(scene).release(
        ).perform()
        self.assertTrue(self.one("#place").is_displayed(), "neither another button asks, nor one that went down elsewhere")
        self.one("#place").click()
        self.assertEqual(self.one("#count").text, "4 of 4 events")
        self.assertFalse(self.one(".scene .area").is_displayed())
        view = self.view()
        scene.send_keys(Keys.ARROW_UP)
        before = self.script("getComputedStyle(document.querySelector('.scene .area')).top")
        scene.send_keys(Keys.ARROW_UP)
        self.assertLess(float(self.script("getComputedStyle(document.querySelector('.scene .area')).top")[:-2]),
                        float(before[:-2]))
        self.assertEqual(self.view(), view, "the timeline stays")
        self.assertTrue(self.one("#place").is_displayed())
        self.press(Keys.ESCAPE)
        self.assertFalse(self.one("#place").is_displayed())

    def test_an_address_opens_the_page_at_an_event(self):
        length = self.script("history.length")
        self.press("j", "j", "j")
        self.assertEqual(self.script("history.length"), length, "no trail")
        address = self.script("location.href")
        self.assertIn("%3Cscript%3E", address)
        self.assertEqual(self.one("#here").get_attribute("href"), address)
        self.browser.get("about:blank")
        self.browser.get(address)
        self.assertEqual(self.picked(), self.name_of(2))
        self.assertTrue(self.script("video.paused"))
        self.script("(location.hash = '#event=' + encodeURIComponent(arguments[0]), 1)",
                    f"{self.events[0]['file']}@{self.events[0]['start']:g}")
        self.wait(lambda: self.picked() == self.name_of(0), "another one")
        for odd in "#event=none@1", "#event=%":
            self.browser.get("about:blank")
            self.browser.get(self.page.as_uri() + odd)
            self.assertIn("no event", self.one("#notice").text)
            self.assertFalse(self.one("#picked").is_displayed())

    def test_the_list_leaves_the_page(self):
        self.press("j", "2")
        self.choose("longest", "2.5")
        kept = [event for event in self.events if event["end"] - event["start"] <= 2.5]
        self.assertTrue(0 < len(kept) < 4)
        with self.download("#csv").open(newline="") as table:
            rows = list(csv.DictReader(table))
        self.assertEqual([(row["file"], float(row["start"])) for row in rows],
                         [(event["file"], event["start"]) for event in kept])
        self.assertEqual([row["x"] for row in rows], [str(event["boxes"][0]["x"]) for event in kept])
        self.assertEqual([row["end_time"] for row in rows], [event.get("end_time", "") for event in kept])
        content = json.loads(self.download("#json").read_text())
        self.assertEqual([(one["file"], one["end"], one.get("mark")) for one in content],
                         [(event["file"], event["end"], "keep" if event is self.events[0] else None) for event in kept])
        self.press(Keys.ESCAPE)
        script = self.download("#cuts")
        subprocess.run(["sh", "-n", str(script)], check=True)
        if not shutil.which("ffmpeg"):
            return
        subprocess.run(["sh", str(script)], check=True, cwd=self.loads)
        cuts = sorted((self.loads / "cuts").iterdir())
        self.assertEqual(len(cuts), 4, "all, whatever they are called")
        self.assertRegex(cuts[0].name, r"^0001_[A-Za-z0-9.-]+_\d+s\.mp4$")
        shutil.rmtree(self.loads / "cuts")

    def test_paper_shows_the_list_and_nothing_else(self):
        self.one("#theme").click()
        self.one("#theme").click()                           # dark
        self.choose("longest", "2.5")
        count = int(self.one("#count").text.split()[0])
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
        self.wait(lambda: self.script("sheet.children.length") == count + 1, "all that the filters leave")
        seen = self.script("Array.from(document.body.children).filter((one) => getComputedStyle(one).display !== 'none')"
                           ".map((one) => one.id)")
        self.assertEqual(seen, ["sheet"])
        self.assertGreaterEqual(self.script("sheet.querySelectorAll('rect').length"), count, "with boxes")
        self.assertEqual(self.script("getComputedStyle(document.body).backgroundColor"), "rgb(255, 255, 255)")
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": ""})
        self.wait(lambda: self.script("sheet.children.length") == 0, "it is there for paper only")
        self.press(Keys.ESCAPE)
        paper = base64.b64decode(self.browser.execute_cdp_cmd("Page.printToPDF", {})["data"])
        self.assertEqual(len(re.findall(rb"/Type /Page\b", paper)), 1)
        self.assertGreaterEqual(len(re.findall(rb"/Subtype /Image\b", paper)), 3, "pictures, equal ones once")
        self.assertEqual(self.script("sheet.children.length"), 0)

    def many(self):
        """A page of 20 000 events, with as many pictures as mdscan would write."""
        event = max(self.found, key=lambda one: len(one["track"]))
        base, room = self.inputs[0], MOST_PICTURES
        inputs = []
        for i in range(INPUTS):
            lines = []
            for k in range(MANY // INPUTS):
                start = 90 * k + i % 7
                line = {**event, "event": k + 1, "start": start, "end": start + 2 + k % 9, "peak": start + 1,
                        "zones": [["left"], ["right <b>"], []][k % 3]}
                room -= len(line["picture"])
                if room < 0:
                    del line["picture"]
                lines.append(line)
            inputs.append({**base, "lines": lines, "file": f"cam{i % 5}/{i:04}.mp4", "camera": f"cam{i % 5}",
                           "seconds": 3600, "start_time": f"2026-03-{1 + i // 20:02}T{i % 20:02}:00:00.000Z"})
        return with_inputs(self.page, "many.html", inputs)

    def test_twenty_thousand_events(self):
        page = self.many()
        self.open(page)
        self.assertEqual(self.one("#count").text, "20000 of 20000 events")
        opening = self.script("performance.getEntriesByType('navigation')[0].domContentLoadedEventEnd")
        nodes = self.script("document.querySelectorAll('*').length")
        self.assertLess(nodes, 1500, "elements do not grow with events")
        measured = self.script("""new Promise((done) => {
            let cells = 0, frames = 0, longest = 0, most = 0, before;
            const seen = new MutationObserver((changes) => {
                for (const change of changes) {
                    cells += Array.from(change.addedNodes).filter((node) => node.className === "event").length;
                }
            });
            seen.observe(tall, {childList: true});
            const turn = (now) => {
                longest = Math.max(longest, now - (before || now));
                most = Math.max(most, tall.children.length);
                before = now;
                list.scrollTop += 400;
                ++frames < 120 ? requestAnimationFrame(turn) : done({cells, frames, longest, most, top: list.scrollTop});
            };
            requestAnimationFrame(turn);
        })""")
        self.assertGreater(measured["top"], 40000, "it has scrolled")
        self.assertLess(measured["most"], 40)
        self.assertLess(measured["cells"], 120 * (400 / 84 + 1) + 40, "each is made once while it passes")
        drawn = self.script("""new Promise((done) => {
            const pen = canvas.getContext("2d"), fill = pen.fillRect;
            let rectangles = 0;
            pen.fillRect = (...box) => { ++rectangles; fill.apply(pen, box); };
            canvas.dispatchEvent(new WheelEvent("wheel", {deltaY: -1, cancelable: true}));
            requestAnimationFrame(() => requestAnimationFrame(() => { delete pen.fillRect; done(rectangles); }));
        })""")
        self.assertGreater(drawn, 0)
        self.assertLess(drawn, 6000, "pixels bound what is drawn, and inputs, not events")
        typing = self.script("((begin) => { document.getElementById('shortest').value = 5;"
                             "document.getElementById('shortest').dispatchEvent(new Event('input'));"
                             "return performance.now() - begin; })(performance.now())")
        self.assertNotEqual(self.one("#count").text, "20000 of 20000 events")
        print(f"20000 events, {page.stat().st_size / 1e6:.0f} MB: open after {opening:.0f} ms, {nodes} elements; "
              f"longest frame of 120 while scrolling {measured['longest']:.0f} ms, {measured['cells']} cells made; "
              f"{drawn} rectangles drawn; a filter in {typing:.0f} ms", flush=True)


if __name__ == "__main__":
    unittest.main(argv=["page_review_test.py"])
