#!/usr/bin/env python3
"""Is a detector conditioned in Python as it is in C, are backgrounds kept, and do polygons become zones?"""
import unittest

import numpy as np

import coremd
from scene import COLUMNS, ROWS, SQUARE

RATE = 6


def crossing(count=90, first=45):
    """(planes, seconds): the rectangle walks in after the scene was learned."""
    random = np.random.default_rng(5)
    for i in range(count):
        planes = np.full((3, ROWS, COLUMNS), 128, np.uint8)
        planes[0] = 90 + random.integers(-2, 3, (ROWS, COLUMNS))
        left = 2 * (i - first)
        if 0 <= left <= COLUMNS - SQUARE:
            planes[0, 12:12 + SQUARE, left:left + SQUARE] = 200
        yield planes, i / RATE


def primed(most=100):
    pictures = coremd.Priming(COLUMNS, ROWS, most=most)
    for planes, _ in list(crossing(20)):
        pictures.keep(planes)
    return pictures


class Conditioning(unittest.TestCase):
    def test_what_crosses_is_told_and_nothing_else(self):
        with coremd.Detector(seed=1) as detector, coremd.Conditioner(detector, COLUMNS, ROWS) as conditioner, \
                primed() as pictures:
            conditioner.prime(pictures.most_frequent(), pictures)
            seen = []
            for i, (planes, time) in enumerate(crossing()):
                frame = conditioner.detect(planes, time=time)
                self.assertTrue(frame.was_shown)
                self.assertFalse(frame.is_dark or frame.suppresses)
                if frame:
                    seen.append(i)
                    left = 2 * (i - 45)
                    row = frame.table[0]
                    self.assertLessEqual(abs(row["top"] - 12), 2)
                    self.assertLessEqual(row["right"], left + SQUARE + 1)
                    self.assertEqual(np.count_nonzero(frame.labels == row["label"]), row["blocks"])
                    self.assertTrue((frame.with_stopped[frame.labels > 0] > 0).all())
        self.assertTrue(frame.is_ready)
        self.assertGreater(len(seen), 20)
        self.assertGreaterEqual(min(seen), 45)
        self.assertEqual(repr(conditioner), "<coremd.Conditioner, closed>")
        with self.assertRaisesRegex(ValueError, "the conditioner is closed"):
            conditioner.detect(planes, time=99)

    def test_a_covered_lens_is_a_disturbance(self):
        conditioner = coremd.Conditioner(coremd.Detector(seed=1), COLUMNS, ROWS)
        kinds = set()
        for i in range(60):
            planes = np.full((3, ROWS, COLUMNS), 128, np.uint8)
            planes[0] = np.arange(ROWS * COLUMNS).reshape(ROWS, COLUMNS) * 37 % 200 if i < 30 else 20
            frame = conditioner.detect(planes, time=i / RATE)
            kinds |= set(frame.disturbances)
        self.assertIn("covered", kinds)
        spell = frame.disturbances["covered"]
        self.assertGreaterEqual(spell.begin, 4.5)
        self.assertIsNone(spell.end)
        self.assertFalse(spell.has_ended)
        self.assertRegex(repr(spell), r"^<coremd.Disturbance from [0-9.]+ s, going on>$")

    def test_the_library_s_words(self):
        grid = np.zeros((3, ROWS, COLUMNS), np.uint8)
        conditioner = coremd.Conditioner(coremd.Detector(), COLUMNS, ROWS)
        conditioner.detect(grid, time=5)
        closed = coremd.Detector()
        told = coremd.Conditioner(closed, COLUMNS, ROWS)
        closed.close()
        for error, words, call in [
                (ValueError, "first", lambda: coremd.Conditioner(coremd.Detector([]), COLUMNS, ROWS).detect(grid, time=0)),
                (ValueError, "the detector is closed", lambda: told.detect(grid, time=0)),
                (ValueError, "not now: another call has to come before, or the time steps back",
                 lambda: conditioner.detect(grid, time=4)),
                (ValueError, "a number is out of its range", lambda: coremd.Conditioner(coremd.Detector(), 10000, 1)),
                (ValueError, "a number is out of its range", lambda: coremd.Priming(1, 1, most=0)),
                (ValueError, "sensitivity is one of high, low, normal",
                 lambda: coremd.Conditioner(coremd.Detector(), 1, 1, sensitivity="some")),
                (ValueError, "shift is not between -13 and 13 pixels",
                 lambda: conditioner.detect(grid, time=6, shift=(14, 0))),
                (ValueError, "the planes have 1 rows of 1 blocks, not 36 of 64",
                 lambda: conditioner.detect(np.zeros((3, 1, 1), np.uint8), time=6)),
                (TypeError, "that is no coremd.Detector", lambda: coremd.Conditioner(3, 1, 1)),
                (ValueError, "not now: another call has to come before, or the time steps back",
                 lambda: coremd.Priming(1, 1).most_frequent()),
                (ValueError, "there is no room for it",
                 lambda: primed(most=19))]:
            with self.assertRaises(error) as caught:
                call()
            self.assertEqual(str(caught.exception), words)

    def test_first_pictures_are_kept(self):
        with primed() as pictures:
            self.assertEqual(repr(pictures), "<coremd.Priming with 20 pictures of 64x36 blocks>")
            self.assertTrue((pictures[-1] == list(crossing(20))[-1][0]).all())
            self.assertEqual(len(list(pictures)), 20)
            self.assertLessEqual(np.abs(pictures.most_frequent()[0].astype(int) - 90).max(), 2)
            pictures.forget()
            self.assertEqual(len(pictures), 0)
        self.assertEqual(repr(pictures), "<coremd.Priming, closed>")
        with self.assertRaisesRegex(ValueError, "the pictures are closed"):
            len(pictures)

    def test_labels_that_were_made_another_kind_of_array(self):
        with coremd.Detector(rate=RATE) as detector, coremd.Conditioner(detector, COLUMNS, ROWS) as conditioner:
            frame = conditioner.detect(np.full((3, ROWS, COLUMNS), 90, np.uint8), time=0)
            self.assertEqual(len(frame.table), 0)
            frame.labels.dtype = np.uint8  # twice the columns: as uint16, they would end far behind the array
            for use in (lambda: frame.table, lambda: bool(frame), lambda: repr(frame)):
                with self.assertRaisesRegex(TypeError, "the labels hold uint8, not uint16"):
                    use()

    def test_outlines_of_any_labels(self):
        labels = np.zeros((4, 6), np.uint16)
        labels[1:3, 2:5], labels[3, 0] = 7, 2
        self.assertEqual([tuple(row) for row in coremd.outline_labels(labels)], [(2, 1, 0, 3, 0, 3), (7, 6, 2, 1, 4, 2)])
        self.assertEqual(len(coremd.outline_labels(labels[:, ::2])), 2)
        with self.assertRaisesRegex(TypeError, "the labels hold int64, not uint16"):
            coremd.outline_labels(labels.astype(np.int64))


class Memories(unittest.TestCase):
    def setUp(self):
        self.grid = coremd.BlockReducer(37, 29, block=8).grid
        self.planes = np.random.default_rng(2).integers(0, 256, (3, 4, 5), np.uint8)
        self.known = np.arange(20).reshape(4, 5) % 3 > 0

    def test_a_background_comes_back(self):
        memory = coremd.BackgroundMemory(self.grid, self.planes, self.known, time=12.5)
        again = coremd.BackgroundMemory.from_bytes(memory.to_bytes(), self.grid)
        self.assertTrue((again.planes[:, self.known] == self.planes[:, self.known]).all())
        self.assertTrue((again.known == self.known).all())
        self.assertEqual((again.time, again.grid), (12.5, self.grid))
        self.assertEqual(repr(again), "<coremd.BackgroundMemory of 5x4 blocks of 8 pixels, at 12.500000 s>")
        self.assertTrue(coremd.BackgroundMemory(self.grid, self.planes).known.all())

    def test_other_bytes_are_refused(self):
        good = coremd.BackgroundMemory(self.grid, self.planes).to_bytes()
        for words, memory, grid in [
                ("no memory of a background or a detector", b"", self.grid),
                ("the memory is damaged", good[:-1], self.grid),
                ("the memory is damaged", good[:40] + bytes([good[40] ^ 1]) + good[41:], self.grid),
                ("for another grid, size of picture or size of block", good, coremd.BlockReducer(38, 29, block=8).grid)]:
            with self.assertRaises(ValueError) as caught:
                coremd.BackgroundMemory.from_bytes(memory, grid)
            self.assertEqual(str(caught.exception), words)
        with self.assertRaisesRegex(ValueError, "the planes have 4 rows of 4 blocks, not 4 of 5"):
            coremd.BackgroundMemory(self.grid, self.planes[:, :, :4].copy())

    def test_grids(self):
        self.assertEqual(self.grid, coremd.Grid(5, 4, 37, 29, 8))
        self.assertEqual(hash(self.grid), hash(coremd.Grid(5, 4, 37, 29, 8)))
        self.assertNotEqual(self.grid, coremd.Grid(5, 4, 38, 29, 8))
        self.assertNotEqual(self.grid, 3)
        self.assertEqual(repr(self.grid), "<coremd.Grid of 5x4 blocks of 8 pixels>")
        for numbers, words in (((5, 4, 37, 29, 0), "a number is out of its range"),
                               ((5, 4, 48, 29, 8), "the picture has other columns or rows of such blocks")):
            with self.assertRaisesRegex(ValueError, words):
                coremd.Grid(*numbers)


class Polygons(unittest.TestCase):
    LEFT = [(0, 0), (0.5, 0), (0.5, 1), (0, 1)]

    def assert_alike(self, zone, other):
        """The same is found in both."""
        detectors = [coremd.Detector([each], rate=RATE, seed=1) for each in (zone, other)]
        found = 0
        for planes, time in crossing():
            one, two = (detector.detect(planes, time=time) for detector in detectors)
            self.assertEqual(one.table.tolist(), two.table.tolist())
            found += len(one.table)
        self.assertGreater(found, 5)

    def test_a_polygon_is_the_mask_of_its_blocks(self):
        grid = coremd.Grid(COLUMNS, ROWS, 8 * COLUMNS, 8 * ROWS, 8)
        mask = coremd.polygon_mask(self.LEFT, grid)
        self.assertTrue(mask[:, :COLUMNS // 2].all() and not mask[:, COLUMNS // 2:].any())
        self.assertGreater(coremd.polygon_mask([(0.2, 0.5), (0.8, 0.5), (0.8, 0.501)], grid).sum(), 10, "a thin one")

    def test_a_detector_takes_polygons(self):
        self.assert_alike(self.LEFT, np.array([[1, 0]], np.uint8))

    def test_polygons_come_in_arrays_too(self):
        corners = np.array(self.LEFT, np.float32)
        for zone in (corners, corners.astype(np.float64), list(corners), tuple(map(tuple, corners))):
            self.assert_alike(zone, self.LEFT)
        with self.assertRaisesRegex(ValueError, r"zones\[0\] must be a list of at least three corners"):
            coremd.Detector([np.ones((9, 16))])

    def test_what_is_no_polygon(self):
        for error, words, polygon in [
                (ValueError, r"zones\[0\] must be a list of at least three corners \[x, y\]", [(0, 0), (1, 1)]),
                (ValueError, r"zones\[0\]\[1\] lies outside 0 to 1", [(0, 0), (1.5, 0), (1, 1)]),
                (ValueError, r"zones\[0\]\[2\] lies outside 0 to 1", [(0, 0), (1, 0), (float("nan"), 1)]),
                (ValueError, r"zones\[0\]: the line from \[0\] to \[1\] crosses the one from \[2\] to \[3\]",
                 [(0, 0), (1, 1), (1, 0), (0, 1)]),
                (ValueError, r"zones\[0\]: corners \[0\] and \[1\] are the same", [(0, 0), (0, 0), (1, 1)]),
                (ValueError, r"zones\[0\]: encloses nothing", [(0, 0), (0.5, 0.5), (1, 1)]),
                (TypeError, r"zones\[0\] is no list of corners", [("a", "b"), ("c", "d"), (1, 1)])]:
            with self.assertRaisesRegex(error, words):
                coremd.Detector([polygon])


if __name__ == "__main__":
    unittest.main()
