#!/usr/bin/env python3
"""Draws docs/page.jpg: what the page of mdscan --report looks like, for the manual.

    scripts/page-picture.py MDSCAN      wants chromium, chromium-driver and python3-selenium
"""
import base64
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

ROOT = pathlib.Path(__file__).resolve().parent.parent
ZONES = {"zones": [{"name": "pavement", "polygon": [[0, 0.4], [1, 0.4], [1, 0.62], [0, 0.62]]},
                   {"name": "road", "polygon": [[0, 0.62], [1, 0.62], [1, 1], [0, 1]]}]}
WIDTH, HEIGHT = 1120, 1330                 # pixels
RECORDINGS = {"front-door": ("08:00:00", "08:02:10"), "street": ("07:59:00", "08:01:15")}


def record(folder):
    """The sample clip as recordings of two cameras."""
    for camera, times in RECORDINGS.items():
        (folder / camera).mkdir(parents=True)
        for number, begin in enumerate(times, 1):
            subprocess.run(["ffmpeg", "-v", "error", "-i", ROOT / "samples/crossing.mp4", "-c", "copy", "-metadata",
                            f"creation_time=2026-03-01T{begin}Z", folder / camera / f"{number}.mp4"], check=True)


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: page-picture.py MDSCAN")
    mdscan = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        record(folder / "march")
        (folder / "zones.json").write_text(json.dumps(ZONES))
        subprocess.run([mdscan, "-q", "-o", "events.jsonl", "--zones", "zones.json", "--report", "march.html", "march"],
                       cwd=folder, check=True)
        options = Options()
        options.binary_location = shutil.which("chromium")
        for switch in ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                       "--hide-scrollbars", "--disable-background-networking", "--disable-component-update",
                       "--disable-sync", "--mute-audio", f"--user-data-dir={folder}/profile"]:
            options.add_argument(switch)
        browser = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        try:
            browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                    {"width": WIDTH, "height": HEIGHT, "deviceScaleFactor": 1, "mobile": False})
            browser.get((folder / "march.html").as_uri())
            browser.execute_script("list.style.height = '560px'")
            browser.find_element(By.TAG_NAME, "body").send_keys("jj")    # the second event
            time.sleep(2)                  # until the recording shows
            picture = browser.execute_cdp_cmd("Page.captureScreenshot", {"format": "jpeg", "quality": 72})
            (ROOT / "docs/page.jpg").write_bytes(base64.b64decode(picture["data"]))
        finally:
            browser.quit()


if __name__ == "__main__":
    main()
