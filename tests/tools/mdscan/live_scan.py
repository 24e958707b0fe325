"""How does a test watch a scan that has no end?  Used by the tests of live sources."""
import json
import pathlib
import subprocess
import threading
import time


class Scan:
    """A running mdscan, and the lines that it has printed, each with when it came."""

    def __init__(self, mdscan, *arguments):
        self.begin = time.monotonic()
        self.process = subprocess.Popen([mdscan, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.lines = []
        self.reader = threading.Thread(target=self.read)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.lines.append(json.loads(line))

    def of(self, kind):
        return [line for line in self.lines if line["type"] == kind]

    def wait_for(self, good, seconds=20):
        until = time.monotonic() + seconds
        while not good(self) and time.monotonic() < until and self.process.poll() is None:
            time.sleep(0.02)

    def end(self, number=None):
        """Exit code, seconds that it took to end."""
        begin = time.monotonic()
        if number is not None:
            self.process.send_signal(number)
        self.said = self.process.stderr.read()
        code = self.process.wait(30)
        self.reader.join()
        self.process.stderr.close()
        self.process.stdout.close()
        return code, time.monotonic() - begin


def check(test, lines, path):
    """Against the schema, where there is something to compare with."""
    try:
        import jsonschema
    except ImportError:
        return
    validator = jsonschema.Draft202012Validator(json.loads(pathlib.Path(path).read_text()))
    for line in lines:
        test.assertTrue(validator.is_valid(line), line)
