#!/usr/bin/env python3
"""Does a detector in Python find what moves, guard its memory, and refuse what the library would end a process for?"""
import gc
import sys
import threading
import time
import unittest

import numpy as np

import coremd
from scene import COLUMNS, RATE, ROWS, SQUARE, frames, ground, place


def boxes(frame):
    return [(thing.left, thing.top, thing.right, thing.bottom, thing.block_count) for thing in frame.objects]


def made(*zones, **settings):
    """A detector that does what every other one from here does."""
    return coremd.Detector(*zones, rate=RATE, seed=1, **settings)


class Finding(unittest.TestCase):
    def test_a_rectangle_is_found_where_it_is(self):
        seen = 0
        with made() as detector:
            for i, (planes, time) in enumerate(frames()):
                frame = detector.detect(planes, time=time)
                self.assertEqual(frame.is_ready, i >= 10)
                left = place(i)
                if left is None:
                    continue
                self.assertTrue(frame, f"nothing was found in frame {i}")
                self.assertGreaterEqual(min(thing.left for thing in frame.objects), left - 4, "where it was, or is")
                self.assertLess(max(thing.right for thing in frame.objects), left + SQUARE)
                self.assertGreaterEqual(min(thing.top for thing in frame.objects), 12)
                self.assertLess(max(thing.bottom for thing in frame.objects), 12 + SQUARE)
                self.assertEqual(np.count_nonzero(np.asarray(frame.labels)),
                                 sum(thing.block_count for thing in frame.objects))
                seen += 1
        self.assertGreater(seen, 20)

    def test_planes_come_as_one_array_or_as_three(self):
        one, three = made(), made()
        found = 0
        for planes, time in frames():
            wide = np.zeros((3, 2 * ROWS, COLUMNS), np.uint8)
            wide[:, ::2] = planes
            first, second = one.detect(planes, time=time), three.detect(*wide[:, ::2], time=time)
            self.assertEqual(boxes(first), boxes(second))
            found += len(first.objects)
        self.assertGreater(found, 20)

    def test_results_agree_with_each_other(self):
        detector = made(shadows=True)
        for planes, time in frames(50):
            frame = detector.detect(planes, time=time)
        self.assertEqual([tuple(row) for row in frame.table], boxes(frame))
        self.assertEqual(frame.table.dtype.names, ("left", "top", "right", "bottom", "blocks"))
        self.assertEqual(frame.labels.shape, (ROWS, COLUMNS))
        self.assertEqual(len(frame.states), ROWS)
        labels = np.asarray(frame.labels)
        self.assertEqual(frame.labels.__array__(np.int64, copy=True).tolist(), labels.tolist())  # as NumPy 2 asks
        with self.assertRaisesRegex(ValueError, "blocks are copied"):
            frame.labels.__array__(copy=False)
        for number, thing in enumerate(frame.objects, 1):
            columns, rows = thing.blocks.T
            self.assertTrue((labels[rows, columns] == number).all())
            self.assertEqual((columns.min(), rows.min(), columns.max(), rows.max()),
                             (thing.left, thing.top, thing.right, thing.bottom))
        self.assertEqual(np.count_nonzero(np.asarray(frame.states) == 1), np.count_nonzero(labels))

    def test_arrays_that_claim_more_than_there_is_are_refused_uncopied(self):
        endless = np.broadcast_to(np.zeros(20000, np.uint8), (10**8, 20000))
        with self.assertRaisesRegex(ValueError, "zones.0. has 100000000 rows of 20000 cells"):
            coremd.Detector([endless])
        with made() as detector, self.assertRaisesRegex(ValueError, "100000000 rows and 20000 columns: 9999"):
            detector.detect(endless, endless, endless, time=0)

    def test_zones_limit_and_can_be_replaced(self):
        left_half, right_half = np.zeros((1, 2), bool), np.zeros((1, 2), np.uint8)
        left_half[0, 0], right_half[0, 1] = True, 9
        detector, changed = made([left_half]), made([left_half])
        right_alone = made([right_half])
        reach = {"left": 0, "replaced": 0}
        for i, (planes, time) in enumerate(frames()):
            if i == 50:
                changed.replace_zones([right_half])
            for thing in detector.detect(planes, time=time).objects:
                reach["left"] = max(reach["left"], thing.right)
            now, alone = changed.detect(planes, time=time), right_alone.detect(planes, time=time)
            if i >= 50:
                self.assertEqual(boxes(now), boxes(alone))
                reach["replaced"] = max([reach["replaced"]] + [thing.right for thing in now.objects])
        self.assertEqual(reach["left"], COLUMNS // 2 - 1)
        self.assertGreater(reach["replaced"], COLUMNS // 2 + SQUARE)

    def test_small_things_are_left_out(self):
        large_only = made(min_object=(0.5, 0.5))
        self.assertFalse(any(large_only.detect(planes, time=time) for planes, time in frames()))

    def test_the_background_is_learned(self):
        detector = made()
        picture, known = detector.background()
        self.assertEqual((picture.shape, known.shape), ((0, 0, 3), (0, 0)))
        random = np.random.default_rng(7)
        for i in range(200):
            detector.detect(ground(random), time=i / RATE)
        picture, known = detector.background()
        self.assertEqual((picture.shape, known.shape, known.dtype), ((ROWS, COLUMNS, 3), (ROWS, COLUMNS), bool))
        self.assertTrue(known.all())
        self.assertLessEqual(np.abs(picture.astype(int) - 90).max(), 2)

    def test_a_state_goes_on_to_the_bit(self):
        detector, later = made(), coremd.Detector(rate=RATE)
        for i, (planes, time) in enumerate(frames()):
            frame = detector.detect(planes, time=time)
            if i > 45:
                self.assertEqual(boxes(frame), boxes(later.detect(planes, time=time)))
            if i == 45:
                later.load_state(detector.save_state())
        self.assertTrue(frame.is_ready)


class Lifetimes(unittest.TestCase):
    def setUp(self):
        self.detector = made()
        self.frames = frames()
        for planes, time in self.frames[:50]:
            self.frame = self.detector.detect(planes, time=time)
        self.assertTrue(self.frame)

    def assertStale(self):
        for read in (lambda: np.asarray(self.frame.labels), lambda: self.frame.states[0],
                     lambda: self.frame.objects[0].blocks):
            with self.assertRaisesRegex(ValueError, "the detector has gone on since"):
                read()
        self.assertGreater(self.frame.objects[0].block_count, 0)

    def test_the_next_frame_ends_views_and_leaves_copies(self):
        kept = np.asarray(self.frame.labels)
        before = kept.copy()
        self.detector.detect(self.frames[50][0], time=self.frames[50][1])
        self.assertStale()
        self.assertTrue((kept == before).all())

    def test_other_ends_of_views(self):
        for end in (lambda one: one.load_state(one.save_state()), lambda one: one.replace_zones(), lambda one: one.close()):
            self.setUp()
            end(self.detector)
            self.assertStale()

    def test_a_refused_frame_ends_nothing(self):
        before = np.asarray(self.frame.labels)
        with self.assertRaises(ValueError):
            self.detector.detect(np.zeros((3, 1, 10000), np.uint8), time=5)
        self.assertTrue((np.asarray(self.frame.labels) == before).all())

    def test_results_outlive_the_name_of_their_detector(self):
        before = np.asarray(self.frame.labels)
        del self.detector
        gc.collect()
        self.assertTrue((np.asarray(self.frame.labels) == before).all())

    def test_a_closed_detector_says_so(self):
        self.detector.close()
        self.detector.close()
        self.assertTrue(self.detector.closed)
        self.assertEqual(repr(self.detector), "<coremd.Detector, closed>")
        for call in (self.detector.save_state, self.detector.background, self.detector.replace_zones,
                     lambda: self.detector.detect(self.frames[0][0], time=9), lambda: self.detector.limit_to_motion(True)):
            with self.assertRaisesRegex(ValueError, "closed"):
                call()


class Refusals(unittest.TestCase):
    def test_the_words_are_the_library_s(self):
        grid, wide = np.zeros((3, 4, 4), np.uint8), np.zeros((3, 1, 10000), np.uint8)
        whole = coremd.Detector
        cases = [
            (lambda: whole().detect(wide, time=0), "info->width > 0 && info->width < 10000"),
            (lambda: whole().detect(wide.transpose(0, 2, 1).copy(), time=0), "info->height > 0 && info->height < 10000"),
            (lambda: whole().detect(np.zeros((3, 0, 0), np.uint8), time=0), "info->width > 0 && info->width < 10000"),
            (lambda: whole([]).detect(grid, time=0), "first"),
            (lambda: whole().replace_zones([]), "count > 0"),
        ]
        for call, words in cases:
            with self.assertRaises(ValueError) as caught:
                call()
            self.assertEqual(str(caught.exception), words)

    def test_what_is_no_frame(self):
        grid = np.zeros((3, 4, 4), np.uint8)
        detector = coremd.Detector()
        for error, call in [
                (ValueError, lambda: detector.detect(grid, time=float("nan"))),
                (ValueError, lambda: detector.detect(grid, time=1e30)),
                (ValueError, lambda: detector.detect(grid[:, ::2], time=0)),
                (ValueError, lambda: detector.detect(grid[0], grid[1], grid[2, :2], time=0)),
                (ValueError, lambda: detector.detect(grid[0, :, ::2], grid[1, :, ::2], grid[2, :, ::2], time=0)),
                (ValueError, lambda: detector.detect(grid[0], time=0)),
                (TypeError, lambda: detector.detect(grid[0], grid[1], time=0)),
                (TypeError, lambda: detector.detect(grid.astype(np.uint16), time=0)),
                (TypeError, lambda: detector.detect(grid.astype(np.int8), time=0)),
                (TypeError, lambda: detector.detect("grid", time=0)),
                (TypeError, lambda: detector.detect(grid)),
                (TypeError, lambda: coremd.Detector([3.5])),
                (ValueError, lambda: coremd.Detector([grid])),
                (ValueError, lambda: detector.load_state(b"no state")),
                (ValueError, lambda: detector.load_state(coremd.Detector().save_state()[:-1]))]:
            with self.assertRaises(error):
                call()
        self.assertEqual(repr(detector), "<coremd.Detector before its first frame>")
        detector.detect(grid, time=0)
        self.assertEqual(repr(detector), "<coremd.Detector of 4x4 blocks>")


class Threads(unittest.TestCase):
    def test_detectors_work_at_the_same_time(self):
        stream = frames()

        def run(result):
            detector = made()
            result.extend(boxes(detector.detect(planes, time=time)) for planes, time in stream)

        alone, beside, other = [], [], []
        run(alone)
        threads = [threading.Thread(target=run, args=(result,)) for result in (beside, other)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertTrue(any(alone))
        self.assertEqual(alone, beside)
        self.assertEqual(alone, other)

    def test_one_detector_refuses_a_second_thread(self):
        detector = coremd.Detector()
        grid = np.zeros((3, 1000, 1000), np.uint8)
        refused, running = [], True

        def disturb():
            while running:
                try:
                    detector.save_state()
                except RuntimeError as error:
                    refused.append(str(error))

        thread = threading.Thread(target=disturb)
        for attempt in range(100):
            if attempt == 0:
                thread.start()
            try:
                detector.detect(grid, time=attempt)
            except RuntimeError:
                pass
            if refused:
                break
        running = False
        thread.join()
        self.assertEqual(set(refused), {"another thread is using this detector"})


class ManyCorners(unittest.TestCase):
    def test_other_threads_run_while_they_are_checked(self):
        angles = np.linspace(0, 2 * np.pi, 8000, endpoint=False)
        circle = list(zip((0.5 + 0.4 * np.cos(angles)).tolist(), (0.5 + 0.4 * np.sin(angles)).tolist()))
        grid, ran, usual = coremd.BlockReducer(64, 64, block=8).grid, [], sys.getswitchinterval()

        def run():
            time.sleep(0.001)
            ran.append(True)

        other = threading.Thread(target=run)
        sys.setswitchinterval(1000)                       # nobody is interrupted: the lock has to be given up
        try:
            other.start()
            coremd.polygon_mask(circle, grid)
            self.assertTrue(ran)
        finally:
            sys.setswitchinterval(usual)
            other.join()


if __name__ == "__main__":
    unittest.main()
