#!/usr/bin/env python3
"""Does the page that detects motion find in a browser what the native library finds in the very same pictures, without
asking anyone for anything?

    page_test.py PAGE NATIVE_FINDINGS        without Chromium, its driver or Selenium the test is skipped

Chromium shows a camera that is a file. The planes that the page takes from a video are recorded on their way.
"""
import base64
import functools
import http.server
import json
import pathlib
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tests/tools/mdscan"))
from page_browser import new_browser  # noqa: E402  # pylint: disable=wrong-import-position

from selenium.webdriver.common.keys import Keys  # noqa: E402  # pylint: disable=wrong-import-position,wrong-import-order

PAGE, NATIVE = pathlib.Path(sys.argv[1]), sys.argv[2]
MOST_BYTES = 400_000
# Keeps what goes to the newest detector, and what the page tells of it.
RECORDER = """
  window.recorded = { detector: null, last: null, pictures: [], found: [] };
  const keep = (bytes) => { recorded.last = new Uint8Array(bytes).slice(); };
  if (window.VideoFrame) {
    const copyTo = VideoFrame.prototype.copyTo;
    VideoFrame.prototype.copyTo = async function (target, options) {
      const layout = await copyTo.call(this, target, options);
      keep(target);
      return layout;
    };
  }
  const getImageData = OffscreenCanvasRenderingContext2D.prototype.getImageData;
  OffscreenCanvasRenderingContext2D.prototype.getImageData = function (...area) {
    const image = getImageData.apply(this, area);
    keep(image.data);
    return image;
  };
  document.addEventListener("detection", ({ detail: { milliseconds, isReady, objects, detector } }) => {
    if (recorded.detector !== detector) {
      Object.assign(recorded, { detector, pictures: [], found: [] });
    }
    let digest = 2166136261;
    for (const part of [detector.labels(), detector.moving(), detector.background()]) {
      for (const value of part) digest = Math.imul(digest ^ value, 16777619);
    }
    const numbers = objects.flatMap(({ left, top, right, bottom, blocks }) => [left, top, right, bottom, blocks]);
    recorded.pictures.push(new Float64Array([milliseconds]), recorded.last);
    recorded.found.push([isReady ? 1 : 0, ...numbers, (digest >>> 0).toString(16).padStart(8, "0")].join(" "));
  });
"""


class Server(http.server.SimpleHTTPRequestHandler):
    asked = []

    def do_GET(self):
        Server.asked.append(self.path)
        super().do_GET()

    def end_headers(self):
        self.send_header("Cache-Control", "no-store")
        super().end_headers()

    def log_message(self, *_):
        pass


def write_camera(file):
    """Six seconds of 20 pictures: after half of them, a white square goes to the right."""
    width, height, side = 320, 240, 48
    ground = bytes(60 + (x * 7 + y * 13) % 40 for y in range(height) for x in range(width))
    with file.open("wb") as out:
        out.write(f"YUV4MPEG2 W{width} H{height} F20:1 Ip A1:1 C420mpeg2\n".encode())
        for i in range(120):
            luma = bytearray(ground)
            for y in range(100, 100 + side) if i >= 60 else ():
                start = y * width + (i - 60) * 4
                luma[start:start + side] = b"\xeb" * side
            out.write(b"FRAME\n" + luma + b"\x80" * (width * height // 2))


class DetectionPageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        name = tempfile.TemporaryDirectory()
        cls.addClassCleanup(name.cleanup)
        cls.folder = pathlib.Path(name.name)
        cls.server = http.server.ThreadingHTTPServer(
            ("127.0.0.1", 0), functools.partial(Server, directory=PAGE.parent))
        threading.Thread(target=cls.server.serve_forever, daemon=True).start()
        cls.addClassCleanup(cls.server.shutdown)
        camera = cls.folder / "camera.y4m"
        write_camera(camera)
        cls.browser = new_browser(cls.folder, "--use-fake-ui-for-media-stream", "--use-fake-device-for-media-stream",
                                  f"--use-file-for-fake-video-capture={camera}",
                                  "--autoplay-policy=no-user-gesture-required")
        cls.addClassCleanup(cls.browser.quit)
        cls.browser.set_script_timeout(300)
        cls.browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": RECORDER})

    def setUp(self):
        Server.asked.clear()

    def open(self):
        self.browser.get(f"http://127.0.0.1:{self.server.server_port}/{PAGE.name}")

    def script(self, text, *arguments):
        return self.browser.execute_script(text, *arguments)

    def element(self, name):
        return self.browser.find_element("id", name)

    def wait(self, condition, what):
        end = time.monotonic() + 60
        while not condition():
            self.assertLess(time.monotonic(), end, f"never: {what}; " + self.script(
                "return [notice, state, facts].map((element) => element.textContent).join()"))
            time.sleep(0.1)

    def wait_for_pictures(self, count, speed=1):
        """Until the newest detector has seen so many, of a video that plays so fast."""
        def have():
            self.script("video.playbackRate = arguments[0]", speed)
            return self.script("return recorded.found.length") >= count
        self.wait(have, f"{count} pictures")

    def compared(self, smallest="0.03"):
        """What the newest detector found, by lines; the native library finds the same in the same pictures."""
        self.script("video.pause()")
        facts = self.script("""const { width, height, format, blockSize, framesPerSecond } = recorded.detector;
                               return [width, height, format, blockSize, framesPerSecond].map(String)""")
        found, saved = self.browser.execute_async_script("""
            const done = arguments[0], reader = new FileReader(), found = recorded.found.slice();
            reader.onload = () => done([found, reader.result]);
            reader.readAsDataURL(new Blob(recorded.pictures));""")
        pictures = base64.b64decode(saved.partition(",")[2])
        done = subprocess.run([NATIVE, *facts, smallest], input=pictures, stdout=subprocess.PIPE, check=True)
        self.assertEqual(found, done.stdout.decode().splitlines())
        step = len(pictures) // len(found)
        times = [struct.unpack_from("<d", pictures, i * step)[0] for i in range(len(found))]
        self.assertEqual(times, sorted(set(times)), "times rise")
        return facts, found, times

    def assert_moving(self, found):
        self.assertTrue([line for line in found if len(line.split()) > 2], "nothing moves")

    def test_sample_gives_what_the_library_gives(self):
        self.assertLessEqual(PAGE.stat().st_size, MOST_BYTES, "over the wire")
        self.open()
        self.wait_for_pictures(40, speed=2)
        facts, found, times = self.compared()
        self.assertEqual(facts, ["640", "360", "I420", "4", "1000"])
        self.assert_moving(found)
        apart = [later - time for time, later in zip(times, times[1:])]
        self.assertGreater(sum(apart) / len(apart), 120, "six a second, not each of twelve")

        self.script("video.play()")
        self.wait(lambda: self.script("return document.querySelectorAll('.boxes rect').length > 0"), "a box")
        colours = "return new Set(arguments[0].getContext('2d').getImageData(0, 0, 160, 90).data).size"
        self.assertGreater(self.script(colours, self.element("background")), 50)
        self.wait(lambda: self.script(colours, self.element("mask")) > 2, "painted blocks")
        self.element("show-boxes").click()
        self.element("show-mask").click()
        self.wait(lambda: self.script("return mask.hidden && !document.querySelector('.boxes rect')"), "neither")

    def test_sliders_change_what_is_found(self):
        self.open()
        self.wait_for_pictures(3)
        self.element("block").send_keys(Keys.ARROW_RIGHT)
        self.element("rate").send_keys(Keys.HOME)
        self.assertEqual((self.element("block-value").text, self.element("rate-value").text), ("8 px", "1 a second"))
        self.wait(lambda: self.script("return recorded.detector.blockSize") == 8, "other blocks")
        seen = self.script("return recorded.found.length")
        self.wait_for_pictures(seen + 12, speed=4)
        facts, _, times = self.compared()
        self.assertEqual(facts[3], "8")
        slow = times[seen + 1:]
        self.assertGreater(min(later - time for time, later in zip(slow, slow[1:])), 900, "one a second")
        self.element("rate").send_keys(Keys.END)
        self.script("video.play()")
        self.element("smallest").send_keys(Keys.END)
        self.assertEqual(self.element("smallest-value").text, "30 %")
        self.wait(lambda: self.element("state").text == "Nothing moves", "no object as large as that")

    def test_camera_gives_what_the_library_gives(self):
        self.open()
        self.wait_for_pictures(1)
        sample = self.script("recorded.old = recorded.detector; return recorded.detector.width")
        self.assertEqual(sample, 640)
        self.element("camera").click()
        self.wait(lambda: self.script("return recorded.detector !== recorded.old"), "the camera")
        self.wait_for_pictures(40)
        facts, found, _ = self.compared()
        self.assertEqual(facts[2], "I420")
        self.assert_moving(found)
        self.element("sample").click()
        self.wait(lambda: self.script("return recorded.detector.width") == 640, "the sample again")

    def test_a_file_and_colours_where_there_are_no_planes(self):
        script = self.browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument",
                                              {"source": "delete window.VideoFrame"})
        try:
            self.open()
            self.wait_for_pictures(1)
            self.script("recorded.old = recorded.detector")
            self.element("chosen").send_keys(str(ROOT / "samples/crossing.mp4"))
            self.wait(lambda: self.script("return recorded.detector !== recorded.old"), "the file")
            self.assertEqual(self.element("source").text, "crossing.mp4")
            self.script("video.currentTime = 7")
            self.wait_for_pictures(25, speed=2)
            facts, found, _ = self.compared()
            self.assertEqual(facts[2], "RGBA")
            self.assert_moving(found)
        finally:
            self.browser.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", script)
        broken = self.folder / "broken.mp4"
        broken.write_bytes(b"no video")
        self.element("chosen").send_keys(str(broken))
        self.wait(lambda: self.element("notice").text.startswith("broken.mp4 cannot be played"), "a notice")

    def test_nobody_is_asked_for_anything(self):
        self.browser.get_log("performance")
        self.open()
        self.wait_for_pictures(15)
        self.element("camera").click()
        self.wait(lambda: self.script("return video.srcObject !== null"), "the camera")
        self.wait_for_pictures(5)
        asked = [json.loads(entry["message"])["message"] for entry in self.browser.get_log("performance")]
        addresses = {message["params"]["request"]["url"] for message in asked
                     if message["method"] == "Network.requestWillBeSent"}
        page = f"http://127.0.0.1:{self.server.server_port}/{PAGE.name}"
        self.assertIn(page, addresses)
        self.assertEqual({one for one in addresses if not one.startswith(("blob:", "data:"))}, {page})
        self.assertEqual(Server.asked, ["/" + PAGE.name])
        refused = self.browser.execute_async_script("""
            const done = arguments[0];
            fetch("/picture", { method: "POST", body: "a picture" }).then(() => done("sent"), () => done("refused"))""")
        self.assertEqual(refused, "refused")
        self.assertEqual(Server.asked, ["/" + PAGE.name])

    def test_every_control_has_a_name(self):
        self.open()
        nameless = self.script("""
            return Array.from(document.querySelectorAll("button, input, video, canvas:not([aria-hidden])"))
                .filter((one) => !(one.textContent.trim() || one.ariaLabel || (one.labels || []).length))
                .map((one) => one.id)""")
        self.assertEqual(nameless, [])
        self.assertEqual(self.element("state").get_attribute("role"), "status")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
