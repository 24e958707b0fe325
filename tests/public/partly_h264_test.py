#!/usr/bin/env python3
"""Does examples/partly_h264.cpp find what complete pictures find, where its ways let it, and say where they do not?

    partly_h264_test.py PROGRAM MAKE_CLIPS SAMPLE FOOTAGE

Footage that is not there is skipped.
"""
import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAM, MAKE_CLIPS, SAMPLE, FOOTAGE = sys.argv.pop(1), sys.argv.pop(1), sys.argv.pop(1), sys.argv.pop(1)


def run(*arguments):
    done = subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, text=True, check=False)
    return done.returncode, done.stdout, done.stderr


class Row:
    """One way beside complete pictures: found of those with motion, and seconds found beyond."""

    def __init__(self, words):
        self.decoded, self.cost = int(words[1]), float(words[2])
        self.ready = None if words[3] == "never:" else float(words[3])
        if self.ready is not None:
            self.pictures = [int(number) for number in words[4].split("/")]
            self.seconds = [int(number) for number in words[5].split("/")]
            self.more = int(words[6])

    def recall(self):
        return self.seconds[0] / self.seconds[1]


def compare(video):
    status, printed, complaint = run(video)
    assert status == 0 and not complaint, complaint
    return {words[0]: Row(words) for words in map(str.split, printed.splitlines()[1:])}


class PartlyH264(unittest.TestCase):
    def test_sample_has_too_few_key_frames(self):
        rows = compare(SAMPLE)
        self.assertEqual(rows["complete"].decoded, 648)
        self.assertEqual(rows["keys"].decoded, 6)
        for way in ("partly", "second-partly", "keys"):
            self.assertIsNone(rows[way].ready, way)  # 6 I-pictures in 54 s, 11 are needed
        self.assertLess(rows["references"].decoded, 400)  # most of its pictures are B-pictures that nothing refers to
        for way in ("references", "unfiltered", "second"):
            self.assertGreaterEqual(rows[way].recall(), 0.95, way)
        self.assertEqual(run("partly", SAMPLE)[1], "never ready: 6 I-pictures in the stream\n")

    def test_sample_shows_who_crosses(self):
        said = run("unfiltered", SAMPLE)[1].splitlines()
        starts = [float(line.split()[0]) for line in said if line.endswith("motion")]
        for crossing, end in ((8.67, 21.33), (25.33, 28.33), (33.00, 45.92), (49.42, 51.58)):
            self.assertTrue(any(crossing - 0.5 <= start < end for start in starts), (crossing, said))

    def test_camera_with_a_key_frame_a_second(self):
        with tempfile.TemporaryDirectory() as folder:
            if subprocess.run([MAKE_CLIPS, folder, "camera"], check=False).returncode == 77:
                self.skipTest("no encoder for H.264")
            clip = pathlib.Path(folder, "camera.mp4")
            rows = compare(clip)
            self.assertAlmostEqual(rows["complete"].ready, 1.8, delta=0.5)
            for way in ("partly", "second-partly", "keys"):
                self.assertAlmostEqual(rows[way].ready, 10, delta=0.01)  # the eleventh I-picture
            for way, row in rows.items():
                self.assertGreaterEqual(row.recall(), 0.8, way)
                self.assertLessEqual(row.more, 2, way)
            self.assertEqual(rows["second"].decoded, 120)
            self.assertEqual(rows["keys"].decoded, 24)
            said = run("partly", clip)[1].splitlines()
            self.assertAlmostEqual(float(said[0].split()[0]), 13.2, delta=0.6)
            self.assertTrue(said[0].endswith("motion"))

    @unittest.skipUnless(FOOTAGE, "no footage: one-by-one-person-detection.mp4 is not looked at")
    def test_footage(self):
        rows = compare(pathlib.Path(FOOTAGE, "one-by-one-person-detection.mp4"))
        self.assertEqual(rows["complete"].seconds, [122, 122])
        for way, least in (("references", 0.99), ("unfiltered", 0.99), ("partly", 0.97), ("keys", 0.95)):
            self.assertGreaterEqual(rows[way].recall(), least, way)
        self.assertLess(rows["partly"].pictures[0] / rows["partly"].pictures[1],
                        rows["unfiltered"].pictures[0] / rows["unfiltered"].pictures[1])
        self.assertLess(rows["unfiltered"].decoded, rows["complete"].decoded / 2)

    def test_says_what_is_wrong(self):
        self.assertEqual(run()[0], 2)
        status, _, complaint = run("halfway", SAMPLE)
        self.assertEqual((status, complaint), (1, "partly_h264: no way is called halfway\n"))
        self.assertEqual(run("no such file")[0], 1)


if __name__ == "__main__":
    unittest.main()
