"""Where does a test of a page get a browser from?  Chromium by Selenium; where one of them is missing, a line tells so, and
the test is skipped.
"""
import os
import shutil
import sys

SKIPPED = 77

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.options import Options
    from selenium.webdriver.chrome.service import Service
except ImportError:
    if os.path.realpath(sys.executable) != os.path.realpath("/usr/bin/python3") and os.path.exists("/usr/bin/python3"):
        os.execv("/usr/bin/python3", ["/usr/bin/python3", *sys.argv])      # the one that distributors' packages belong to
    print("python3-selenium is not installed: the page is not opened")
    sys.exit(SKIPPED)

CHROMIUM, DRIVER = shutil.which("chromium"), shutil.which("chromedriver")
if not CHROMIUM or not DRIVER:
    print("chromium or chromium-driver is not installed: the page is not opened")
    sys.exit(SKIPPED)

SWITCHES = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--mute-audio", "--lang=en-US", "--window-size=1280,1000"]


def new_browser(folder, *switches):
    """One whose profile is in the folder, with these switches too. It logs what it asks for and what pages say."""
    options = Options()
    options.binary_location = CHROMIUM
    for switch in [*SWITCHES, *switches, f"--user-data-dir={folder}/profile"]:
        options.add_argument(switch)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    browser = webdriver.Chrome(service=Service(DRIVER), options=options)
    browser.get("about:blank")
    browser.get_log("performance")                           # of the browser's own first page
    return browser
