#!/usr/bin/env python3
"""Is every line that mdscan prints what the published schema says?

    schema_test.py MDSCAN MAKE_CLIPS SCHEMA
"""
import copy
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

try:
    import jsonschema
except ImportError:
    print("python3-jsonschema is not installed: lines are not compared with the schema")
    sys.exit(77)

MDSCAN, MAKE_CLIPS, SCHEMA = sys.argv[1:4]
CONDITIONS = pathlib.Path(__file__).parents[3] / "video/watch/Condition.h"
ZONES = {"zones": [{"name": "left", "polygon": [[0, 0], [0.5, 0], [0.5, 1], [0, 1]]},
                   {"name": "wire", "polygon": [[0.2, 0], [0.201, 0], [0.2, 0.001]]},
                   {"name": "corner", "polygon": [[0.9, 0.9], [1, 0.9], [1, 1]], "exclude": True}]}

# As JsonLinesTest has it.
CONDITION = {"type": "condition", "file": "a.mp4", "condition": "shaking", "start": 1.235, "end": 21.235,
             "start_time": "1970-01-01T00:00:01.235Z", "end_time": "1970-01-01T00:00:21.235Z"}
FLASH = {"type": "event", "event": 3, "start": 1.235, "end": 9.877, "peak": 5.0, "start_frame": 10, "end_frame": 79,
         "peak_frame": 40, "frame_exact": True, "frames": 17, "blocks": 99, "flash": True,
         "boxes": [{"x": 0, "y": 2, "w": 30, "h": 40, "blocks": 5}]}

TURNED = {"type": "file", "file": "b/a.mp4", "camera": "b", "status": "complete", "pictures": 0, "seconds": 0.0,
          "rotation": 270, "mirrored": True, "analysed": 0, "events": 0}


def run(*arguments):
    """All lines of both outputs that are JSON."""
    done = subprocess.run([MDSCAN, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    assert done.returncode in (0, 1, 3), done.stderr
    said = [line for line in done.stderr.splitlines() if line.startswith("{")]
    return [json.loads(line) for line in done.stdout.splitlines()], [json.loads(line) for line in said]


class SchemaTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        schema = json.loads(pathlib.Path(SCHEMA).read_text())
        jsonschema.Draft202012Validator.check_schema(schema)
        cls.validator = jsonschema.Draft202012Validator(schema)
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([MAKE_CLIPS, folder], check=True)
            zones = pathlib.Path(folder, "zones.json")
            zones.write_text(json.dumps(ZONES))
            everything = ["--frames", "--track", "--thumbnails", f"{folder}/pictures", "--clips", f"{folder}/pictures",
                          "--zones", str(zones)]
            cls.runs = [run("--progress", "json", *everything, folder),
                        run("--progress", "json", f"{folder}/gate/1.mp4"),
                        run("--fast", "--ignore-flashes", folder),
                        run("--from", "1", "--to", "5", "--max-size", "0.9", f"{folder}/gate/1.mp4"),
                        run("zones", "--preview", f"{folder}/preview.png", "--zones", str(zones), f"{folder}/gate/1.mp4")]
            # Before anything is judged, and within the square, when its background is known; and what is conditioned.
            plain = ["--condition", "none"]
            cls.answers = [run("explain", "--json", "--at", at, "--pixel", "150,60", *more, f"{folder}/gate/2.mp4")[0][0]
                           for at, more in (("0.1", plain), ("6.6", plain), ("6.6", [*plain, "--shadows"]), ("6.6", []),
                                            ("6.6", [*plain, "--max-size", "0.05"]))]
        cls.lines = [line for out, err in cls.runs for line in out + err] + cls.answers + [CONDITION, FLASH, TURNED]

    def test_every_line_is_valid(self):
        for line in self.lines:
            self.assertTrue(self.validator.is_valid(line), line)

    def test_every_type_and_every_field_was_printed(self):
        printed = {}
        for line in self.lines:
            printed.setdefault(line["type"], set()).update(line)
        types = {name: set(kind["properties"]) for name, kind in self.validator.schema["$defs"].items()
                 if "type" in kind.get("properties", {})}
        types.pop("gap")  # of live sources, in live_http_test.py
        self.assertEqual(printed, types, {name: types[name] ^ printed.get(name, set()) for name in types})
        self.assertEqual(len(self.validator.schema["oneOf"]), len(types) + 1)

    def test_outputs_begin_with_the_scan(self):
        for out, _ in self.runs:
            self.assertEqual([line["type"] == "scan" for line in out], [True] + [False] * (len(out) - 1))

    def test_spoiled_lines_are_not_valid(self):
        for kind in {line["type"] for line in self.lines}:
            line = next(line for line in self.lines if line["type"] == kind)
            spoiled = [{**line, "undocumented": 1}, {**line, "type": "other"}]
            spoiled += [{key: value for key, value in line.items() if key != gone} for gone in
                        self.validator.schema["$defs"][kind]["required"]]
            for wrong in spoiled:
                self.assertFalse(self.validator.is_valid(wrong), wrong)
        event = copy.deepcopy(next(line for line in self.lines if line["type"] == "event"))
        event["boxes"][0]["undocumented"] = 1
        self.assertFalse(self.validator.is_valid(event))
        self.assertFalse(self.validator.is_valid({**CONDITION, "condition": "boredom"}))

    def test_conditions_are_those_of_the_source(self):
        names = re.findall(r'"([a-z -]+)"', CONDITIONS.read_text().split("conditionNames = {")[1].split("}")[0])
        self.assertEqual(self.validator.schema["$defs"]["condition"]["properties"]["condition"]["enum"], names)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
