#!/usr/bin/env python3
"""Does the page of --report work in a browser, and does it keep to itself?  Acts as a viewer does: the page's script
shares nothing with others.

    page_test.py MDSCAN MAKE_CLIPS FOOTAGE

FOOTAGE: folder of real recordings, scanned too where it is there. Without Chromium, its driver or Selenium the test is
skipped.
"""
import json
import math
import os
import pathlib
import re
import shutil
import sys
import unittest
import unittest.mock

from page_case import PageCase                               # ends here where there is no browser
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.select import Select

FOOTAGE = sys.argv[3]


class PageTest(PageCase):
    def test_shows_all_events_with_names_as_text(self):
        self.open(self.page)
        self.assertEqual(len(self.events), 4)
        self.assertEqual(self.one("#count").text, "4 of 4 events")
        texts = [cell.text for cell in self.cells()]
        for event, text in zip(self.events, texts):
            self.assertIn(event["file"].split("/")[-1], text)
            self.assertIn("right <b>", text)
        markup = self.browser.find_elements(By.CSS_SELECTOR, ".event b b, #cameras b b, script:not([class])")
        self.assertEqual(len(markup), 1, "the page's script, nothing of a name")
        for cell in self.cells():
            image = cell.find_element(By.TAG_NAME, "img")
            self.wait(lambda: self.script("arguments[0].complete && arguments[0].naturalWidth", image) == 160, "a picture")
        self.assertEqual(len(self.browser.find_elements(By.CSS_SELECTOR, "#cameras img")), 2)
        problems = self.one("#problems").text
        self.assertIn("text.mp4: cannot open", problems)
        self.assertIn("=cut,\"short\".mp4: damaged near", problems)
        self.assertEqual(self.one("#canvas").get_attribute("data-rows"), "5", "all that could be read")

    def test_filters(self):
        self.open(self.page)
        self.one("#text").send_keys("yard <script>")
        self.assertEqual(self.one("#count").text, "1 of 4 events")
        self.one("#text").send_keys(Keys.ESCAPE, Keys.NULL)
        self.one("body").send_keys(Keys.ESCAPE)
        self.assertEqual(self.one("#count").text, "4 of 4 events")
        lengths = [event["end"] - event["start"] for event in self.events]
        self.one("#shortest").send_keys("2")
        self.assertEqual(len(self.cells()), sum(length >= 2 for length in lengths))
        self.assertLess(len(self.cells()), 4)
        self.one("#longest").send_keys("1")
        self.assertEqual(self.cells(), [])
        self.one("body").send_keys(Keys.ESCAPE)
        left = sum("left" in event["zones"] for event in self.events)
        self.one("#zones button").click()
        self.assertEqual(self.one("#count").text, f"{left} of 4 events")
        self.choose("order", "length")
        shown = [float(re.search(r"([0-9.]+) s\n", cell.text)[1]) for cell in self.cells()]
        self.assertEqual(len(shown), left)
        self.assertEqual(shown, sorted(shown, reverse=True))

    def test_time_of_day(self):
        self.open(self.page)
        self.assertEqual(self.one("#byinput").get_attribute("aria-pressed"), "true", "one has none")
        self.one("#byclock").click()
        first = min((event for event in self.events), key=lambda event: event["start_time"])
        begin = self.script("Date.parse(arguments[0]) / 1000", first["start_time"]) - first["start"]
        self.assertAlmostEqual(self.view()[0], begin, places=3)
        self.assertEqual(self.one("#canvas").get_attribute("data-rows"), "2", "one for each camera")
        self.assertIn("1 without a time of day not shown", self.one("#range").text)
        labels = self.script("""new Promise((done) => {                     // of the shortest view, at the very beginning
            const pen = canvas.getContext("2d"), written = [], box = canvas.getBoundingClientRect();
            pen.fillText = (text, x, y) => { y < 20 ? written.push(text) : 0; };
            const there = {clientX: box.left, clientY: box.top};
            canvas.dispatchEvent(new WheelEvent("wheel", {deltaY: -10000, cancelable: true, ...there}));
            requestAnimationFrame(() => { delete pen.fillText; done(written); });
        })""")
        self.assertAlmostEqual(self.view()[0], begin, places=3)
        self.assertAlmostEqual(self.view()[1], begin + 1, places=3)
        self.assertGreater(len(labels), 4)
        self.assertEqual(len(labels), len(set(labels)), f"a second, by tenths: {labels}")
        self.assertRegex(self.one("#range").text, r"^\S+ \d\d:\d\d:\d\d\.\d to \S+ \d\d:\d\d:\d\d\.\d;")

    def test_order_by_time_of_day(self):
        page, events = self.scan("clock.html", *sorted({event["file"] for event in self.events}, reverse=True))
        self.open(page)
        self.assertEqual(self.one("#byclock").get_attribute("aria-pressed"), "true", "all have one")
        names = [event["file"].split("/")[-1] for event in sorted(events, key=lambda event: event["start_time"])]
        shown = [cell.get_attribute("title").split("/")[-1] for cell in self.cells()]
        self.assertEqual(shown, names)
        self.assertNotEqual(shown, [event["file"].split("/")[-1] for event in events])

    def open_recorder(self, zone):
        """The page of a recorder's six files below folders of days, scanned in New York, as seen in that time zone."""
        self.browser.execute_cdp_cmd("Emulation.setTimezoneOverride", {"timezoneId": zone})
        self.addCleanup(self.browser.execute_cdp_cmd, "Emulation.setTimezoneOverride", {"timezoneId": ""})
        page = pathlib.Path(self.folder.name, "recorder.html")
        if not page.exists():
            clip = pathlib.Path(self.folder.name, "recordings of <b>/gate/1.mp4")
            for place in ("gate/2026/03/01/06-00-00", "gate/2026/03/01/18-00-00", "gate/2026/03/02/06-00-00",
                          "gate/2026/03/03/06-00-00", "yard/2026-03-01/060100", "yard/2026-03-02/180000"):
                copy = pathlib.Path(self.folder.name, "nvr", place + ".mp4")
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(clip, copy)
            with unittest.mock.patch.dict(os.environ, TZ="EST5EDT,M3.2.0,M11.1.0"):
                _, events = self.scan("recorder.html", "-j", "2", str(pathlib.Path(self.folder.name, "nvr")))
            type(self).recorded = [event["start_time"] for event in events]
        self.open(page)

    def tell_by(self, clock):
        Select(self.one("#teller")).select_by_value(clock)

    def test_a_recorders_files_are_a_row_per_camera(self):
        self.open_recorder("Asia/Tokyo")
        self.addCleanup(self.tell_by, "viewer")              # the browser keeps it for all pages
        self.assertEqual(self.one("#canvas").get_attribute("data-rows"), "2")
        self.assertEqual([option.text for option in Select(self.one("#camera")).options], ["all", "gate", "yard"])
        self.assertIn("06-00-00.mp4 \u00b7 gate", self.cells()[0].text)
        self.cells()[0].click()
        for clock, begins in (("viewer", "2026-03-01 20:00:0"), ("utc", "2026-03-01 11:00:0"),
                              ("recording", "2026-03-01 06:00:0")):
            self.tell_by(clock)
            self.assertTrue(self.cells()[0].text.startswith(begins), self.cells()[0].text)
            self.assertIn("begins\n" + begins, self.one("#facts").text)
            self.view()
            self.assertTrue(self.one("#range").text.startswith(begins[:-1]), self.one("#range").text)
        self.browser.refresh()
        self.assertTrue(self.cells()[0].text.startswith("2026-03-01 06:00:0"), "remembered")
        self.assertIn("the place that was recorded", self.one("#settings").text)

    def test_a_day_is_found_and_a_time_picked(self):
        self.open_recorder("America/New_York")
        count, found = (lambda: self.one("#count").text), (lambda: self.one("#found").text)
        whole, canvas = self.view(), self.one("#canvas")
        self.one("body").send_keys("g")
        self.browser.switch_to.active_element.send_keys("2026-03-02", Keys.ENTER)
        midnight = self.script("Date.parse('2026-03-02T00:00-05:00') / 1000")
        self.assertEqual(self.view(), (midnight, midnight + 86400))
        self.assertIn("2026-03-02 06:00:0", self.one(".event[aria-selected='true']").text)
        self.assertEqual(count(), "6 of 6 events", "found, not filtered")

        left, right = self.script("[Math.min(220, Math.max(84, canvas.clientWidth * 0.16)), canvas.clientWidth - 8]")
        noon = (left + right - canvas.size["width"]) / 2     # from the middle
        drag = ActionChains(self.browser).move_to_element_with_offset(canvas, int(noon), 10 - canvas.size["height"] // 2)
        drag.click_and_hold().move_by_offset(-300, 0).move_by_offset(-380, 0).release().perform()
        self.assertEqual(count(), "1 of 6 events", "until noon")
        self.assertEqual(self.view(), (midnight, midnight + 86400), "the timeline stays")
        self.assertEqual(self.one("#from").get_attribute("value")[:16], "2026-03-02T00:00")
        self.assertRegex(self.one("#until").get_attribute("value"), "^2026-03-02T1[12]:")
        self.one("#anytime").click()
        self.assertEqual((count(), self.one("#from").get_attribute("value")), ("6 of 6 events", ""))
        self.assertFalse(self.one("#anytime").is_displayed())

        self.one("#from").send_keys("03012026120000PM")
        self.assertEqual(count(), "4 of 6 events")
        self.one("#until").send_keys("03022026120000PM")
        self.assertEqual(count(), "2 of 6 events")
        self.assertEqual(self.view(), (midnight - 43200, midnight + 43200), "it shows what was picked")
        self.one("#find").clear()
        self.one("#find").send_keys("2026-03-09", Keys.ENTER)
        self.assertEqual(found(), "nothing recorded then")
        self.one("#find").send_keys("x", Keys.ENTER)
        self.assertTrue(found().startswith("no time like"))
        self.one("#find").send_keys(Keys.ESCAPE)
        self.one("body").send_keys(Keys.ESCAPE, "0")
        self.assertEqual((count(), self.view()), ("6 of 6 events", whole))

        self.one("#follow").click()
        self.one("body").send_keys("+", "+")
        inside = sum(self.view()[0] <= begin <= self.view()[1] for begin in self.script(
            "arguments[0].map((time) => Date.parse(time) / 1000)", self.recorded))
        self.wait(lambda: count() == f"{inside} of 6 events", f"{inside} in view")
        self.assertLess(inside, 6)
        self.one("#follow").click()
        self.assertEqual(count(), "6 of 6 events")
        self.one("body").send_keys("r")
        self.assertEqual(count(), f"{inside} of 6 events")
        self.one("body").send_keys("0")
        self.view()
        self.assertEqual(count(), f"{inside} of 6 events", "that was for once")

        self.one("#follow").click()
        for time, listed in ("2026-03-01", 3), ("2026-03-03 06:00", 1):
            self.one("#find").clear()
            self.one("#find").send_keys(time, Keys.ENTER)
            self.assertEqual((found(), count()), ("", f"{listed} of 6 events"), "also what was not in view")
            self.assertIn(time, self.one(".event[aria-selected='true']").text)

    def test_zooms_and_pans(self):
        self.open(self.page)
        whole = self.view()
        self.assertEqual(whole[0], 0)
        self.one("#zoomin").click()
        near = self.view()
        self.assertAlmostEqual(near[1] - near[0], (whole[1] - whole[0]) / 2)
        self.one("body").send_keys(Keys.ARROW_LEFT)
        self.assertLess(self.view()[0], near[0])
        self.one("body").send_keys("0")
        self.assertEqual(self.view(), whole)
        canvas = self.one("#canvas")
        ActionChains(self.browser).move_to_element(canvas).perform()
        self.script("canvas.dispatchEvent(new WheelEvent('wheel', "
                    "{deltaY: -200, clientX: 900, clientY: 150, cancelable: true}))")
        self.assertLess(self.view()[1] - self.view()[0], whole[1] - whole[0])
        before = self.view()
        ActionChains(self.browser).click_and_hold(canvas).move_by_offset(-60, 0).release().perform()
        self.assertGreater(self.view()[0], before[0])

    def test_another_size_leaves_no_empty_timeline(self):
        self.open(self.page)
        self.view()
        drawn = self.script("""new Promise((done) => {        // asked after the page's own observer, before the next frame
            const first = canvas.width, pen = canvas.getContext("2d");
            new ResizeObserver(() => {
                if (canvas.width !== first) {
                    done(pen.getImageData(0, 0, canvas.width, canvas.height).data.some(Boolean));
                }
            }).observe(timeline);
            timeline.style.width = "700px";
        })""")
        self.assertTrue(drawn, "nothing to see until the next frame")

    def test_an_event_plays_from_its_first_second(self):
        self.open(self.page)
        self.cells()[1].click()
        self.playing(self.events[1])
        self.assertTrue(self.one("#picked").is_displayed())
        self.assertEqual(self.place_of(self.one(".event[aria-selected='true']")), 1)
        self.one("body").send_keys("j")
        self.playing(self.events[2])                         # the one that is called <script>
        places = self.places_of(self.events[0]["file"].split("/")[-1])
        x, y = places[len(places) // 2]
        size = self.one("#canvas").size
        ActionChains(self.browser).move_to_element_with_offset(self.one("#canvas"), x - size["width"] // 2,
                                                               y - size["height"] // 2).click().perform()
        self.playing(self.events[0])
        first = self.cells()[0].find_element(By.TAG_NAME, "b").text
        self.assertEqual(self.one(".event[aria-selected='true'] b").text, first)

    def test_an_event_plays_its_clip(self):
        recording = next(event["file"] for event in self.events if event["file"].endswith("2.mp4"))
        folder = pathlib.Path(self.folder.name, "cut out")
        page, events = self.scan("clips.html", "--clips", str(folder), recording)
        self.assertTrue(events[0]["clip"].startswith(str(folder)))
        self.assertGreater(events[0]["clip_start"], 0)
        self.open(page)
        self.cells()[0].click()
        self.assertTrue(self.script("video.getAttribute('src')").startswith("cut%20out/2-1.mp4#t="))
        self.playing(events[0])
        self.assertIn("Open the clip", self.one("#open").text)

    def open_many(self):
        text = self.page.read_text()
        block = re.search(r'<script type="application/json" class="input">.*?</script>\n', text, re.DOTALL)[0]
        many = self.page.with_name("many.html")
        many.write_text(text.replace(block, 3000 * block))
        self.open(many)

    def test_thousands_of_events_stay_few_elements(self):
        self.open_many()
        self.view()
        ActionChains(self.browser).click_and_hold(self.one("#canvas")).move_by_offset(0, -60).release().perform()
        self.assertEqual(self.script("timeline.scrollTop"), 60, "dragging leads to the other rows")
        self.assertEqual(self.one("#count").text, "3003 of 3003 events")
        self.assertLess(len(self.cells()), 40)
        self.scroll_list(2000)
        self.wait(lambda: self.has_cell(2003), "the list follows its bar")
        self.assertLess(len(self.cells()), 40)
        self.assertEqual(self.script("document.querySelectorAll('script[class]').length"), 0)

    def test_a_new_choice_shows_the_picked_event_or_its_beginning(self):
        self.open_many()
        first = self.cells()[0].get_attribute("title").split("/")[-1]
        for _ in range(6):
            self.one("body").send_keys("j")
        self.assertEqual(self.place_of(self.one(".event[aria-selected='true']")), 5)
        self.scroll_list(2000)
        self.wait(lambda: not self.has_cell(5), "the list follows its bar")
        self.one("#shortest").send_keys("0")
        self.assertTrue(self.has_cell(5))
        self.scroll_list(3002)
        last = self.cells()[-1].get_attribute("title").split("/")[-1]
        self.one("#text").send_keys(last)
        self.assertEqual(self.one("#count").text, "1 of 3003 events")
        self.assertFalse(self.one("#previous").is_enabled(), "none before what is hidden")
        self.assertTrue(self.one("#next").is_enabled())
        self.one("#next").click()
        self.assertEqual(self.place_of(self.one(".event[aria-selected='true']")), 0)
        self.assertTrue(self.one("#pickedname").text.startswith(last + ", "))
        self.assertFalse(self.one("#next").is_enabled())
        self.one("#text").send_keys(Keys.ESCAPE)
        self.one("body").send_keys(Keys.ESCAPE)
        self.scroll_list(2000)
        self.one("#text").send_keys(first)
        self.assertEqual(self.one("#count").text, "3000 of 3003 events")
        self.assertEqual(self.script("list.scrollTop"), 0)
        self.one("#text").send_keys("?")
        self.assertIn("No event", self.script("getComputedStyle(tall, '::before').content"))

    def test_events_in_one_place_all_show_in_any_order(self):
        def doubled(block):
            content = json.loads(block[2])
            event = content["lines"][0]
            content["lines"] = [{**event, "zones": ["left"]}, {**event, "zones": ["right <b>"], "end": event["end"] + 1}]
            return block[1] + json.dumps(content).replace("<", "\\u003c") + block[3]

        page = self.page.with_name("doubled.html")
        page.write_text(re.sub(r'(class="input">)(\{"lines":\[\n\{.*?)(</script>)', doubled, self.page.read_text(), count=1,
                               flags=re.DOTALL))
        self.open(page)
        self.assertEqual(self.one("#count").text, "5 of 5 events")
        self.view()
        picture = self.script("canvas.toDataURL()")
        self.choose("order", "length")
        self.view()
        self.assertTrue(self.script("canvas.toDataURL()") == picture, "the list's order does not change what moved")
        x, y = self.places_of(self.events[0]["file"].split("/")[-1])[2]       # within both
        column = self.script("Array.from(canvas.getContext('2d').getImageData(...arguments).data)", x, 0, 1, y + 26)
        seen = {tuple(column[i:i + 3]) for i in range(0, len(column), 4)}
        buttons = self.browser.find_elements(By.CSS_SELECTOR, "#zones button")
        self.assertEqual([button.text for button in buttons], ["left", "right <b>"])
        for button in buttons:
            colour = self.script("arguments[0].style.getPropertyValue('--zone')", button)
            self.assertIn(tuple(bytes.fromhex(colour[1:])), seen, f"{button.text} in {seen}")

    def test_gaps_are_listed(self):
        page = self.page.with_name("gaps.html")
        gap = '{"type":"gap","start":1.0,"end":62.5,"reason":"no <i>answer</i>"}'
        page.write_text(self.page.read_text().replace('class="input">{"lines":[', 'class="input">{"lines":[' + gap + ",", 1))
        self.open(page)
        self.assertIn("0:01.0 to 1:02.5: no <i>answer</i>", self.one("#problems").text)
        self.assertEqual(self.one("#count").text, "4 of 4 events")

    def test_conditions_have_a_row_a_legend_and_facts(self):
        name = self.events[0]["file"].split("/")[-1]
        during = (self.events[0]["start"], self.events[0]["end"])
        conditions = [("shaking", during[0] - 0.5, during[1]), ("covered", 0.2, 0.8), ("shaking", 0.2, 0.5)]
        lines = "".join(json.dumps({"type": "condition", "condition": kind, "start": start, "end": end}) + ","
                        for kind, start, end in conditions)
        page = self.page.with_name("conditions.html")
        begin = 'class="input">{"lines":[\n'               # of the first input with events
        page.write_text(self.page.read_text().replace(begin, begin + lines, 1))
        self.open(page)
        self.assertEqual(self.one("#count").text, "4 of 4 events", "they are none")
        self.view()
        self.assertEqual(self.one("#canvas").get_attribute("data-rows"), "6", "one more than without")
        sums = [entry.text for entry in self.browser.find_elements(By.CSS_SELECTOR, "#legend span")]
        self.assertEqual(sums, [f"shaking {during[1] - during[0] + 0.8:.1f} s", "covered 0.6 s"])
        colours = [self.script("arguments[0].style.getPropertyValue('--zone')", mark)
                   for mark in self.browser.find_elements(By.CSS_SELECTOR, "#legend i")]
        self.assertEqual(len(set(colours)), 2)

        began = self.cells()[0].find_element(By.TAG_NAME, "b").text.split("\u00b7")[0].strip()
        rows = {what: {(y - 26) // 26 for _, y in self.places_of(f"{name}, {what}")}
                for what in (began, "shaking", "covered")}
        row = min(rows["covered"])
        self.assertEqual(rows, {began: {row - 1}, "shaking": {row}, "covered": {row}}, "below that of their input")
        x, y = self.places_of(name + ", covered")[0]
        x += 8                                               # tips show up beside what they name
        column = self.script("Array.from(canvas.getContext('2d').getImageData(...arguments).data)", x, 26 + 26 * row, 1,
                             26)
        seen = {tuple(column[i:i + 3]) for i in range(0, len(column), 4)}
        for colour in colours:                               # here it was both
            self.assertIn(tuple(bytes.fromhex(colour[1:])), seen)

        size = self.one("#canvas").size
        ActionChains(self.browser).move_to_element_with_offset(self.one("#canvas"), x - size["width"] // 2,
                                                               y - size["height"] // 2).click().perform()
        self.assertFalse(self.one("#picked").is_displayed(), "there is nothing to play")
        self.cells()[0].click()
        start, end = (f"0:{time:04.1f}" for time in (math.floor(10 * time) / 10 for time in conditions[0][1:]))
        self.assertIn(f"shaking from {start} to {end}", self.one("#facts").text)
        self.assertNotIn("covered", self.one("#facts").text)
        self.cells()[1].click()
        self.assertNotIn("conditions", self.one("#facts").text)
        self.open(self.page)
        self.assertFalse(self.one("#legend").is_displayed(), "none, no legend")

    def test_the_script_shares_nothing(self):
        self.open(self.page)
        empty = self.page.with_name("empty.html")
        empty.write_text(re.sub(r"<script>.*</script>", "", self.page.read_text(), flags=re.DOTALL))
        names = self.script("Object.getOwnPropertyNames(window).sort()")
        self.open(empty)
        self.assertEqual(names, self.script("Object.getOwnPropertyNames(window).sort()"))

    def test_themes(self):
        self.open(self.page)
        colour = "getComputedStyle(document.body).backgroundColor"
        seen = set()
        for _ in range(3):
            self.one("#theme").click()
            seen.add(self.script(colour))
        self.assertEqual(len(seen), 2, "light and dark")

    def test_real_footage(self):
        clip = pathlib.Path(FOOTAGE, "one-by-one-person-detection.mp4")
        if not FOOTAGE or not clip.exists():
            self.skipTest("no footage: COREMD_FOOTAGE names no folder that holds it")
        page, events = self.scan("real.html", str(clip))
        self.open(page)
        self.assertEqual(self.one("#count").text.split(" of ")[0], str(len(events)))
        self.cells()[-1].click()
        self.playing(events[-1])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
