#!/usr/bin/env python3
"""What does Python cost?  A frame by Detector.detect beside the same frame by the C function, and two threads beside one.

    scripts/bench-python.py [--print]     builds, measures, writes a table into docs/python.md; --print: prints it only

The C functions are called by ctypes with records that are made once: h13, h17, h19, and h18 for each object. About a
microsecond of each call is ctypes' own. Both see the same frames in turn, find the same number of objects in each, and pay
in their thread's processor time. Two threads are timed by the clock: with anything else on the machine, their figure means
nothing. BENCH_PRESET: build to measure, release-v3 if not set; BENCH_REPETITIONS: runs, 15 if not set.
"""
import argparse
import ctypes
import os
import pathlib
import re
import statistics
import sys
import threading
import time

import numpy as np

from bench_kit import BUILD, ROOT, build, machine, prose, put, say, table

DELIVERED, OBJECT = 0, 64  # of h17, h18 and h19; more words than a record of an object has
RATE, SQUARE, FILLED, SEED = 10, 8, 20, 1  # frames a second; blocks; frames until the detector is at work
GRIDS = ((64, 36), (160, 90), (320, 180))
RUNS = int(os.environ.get("BENCH_REPETITIONS", "15"))
PAGE = ROOT / "docs/python.md"
RULES = """`./dev bench python` measured this: {machine}, Python {version}, the median of {runs} runs with detectors of their
    own. Microseconds of processor time for a frame and its objects by the C functions, by `Detector.detect`, and the
    difference; how the memory of two detectors lies moves it by more than Python costs where grids are large. Then how
    much more two threads with a detector each do in the same time than one (in brackets the least and the most), and two
    processes, which share no interpreter and are no more than this machine gives. A frame of a small grid is over before
    another thread has woken."""


class DetectionInfo(ctypes.Structure):
    _fields_ = [*((name, ctypes.c_int32) for name in ("width", "height", "bgr24stride")), ("timestamp", ctypes.c_int64),
                *((name, ctypes.c_void_p) for name in ("bgr24", "ycbcr", "mpeg4")),
                ("extraFlag1", ctypes.c_int32), ("isIFrame", ctypes.c_int32), ("fps", ctypes.c_double),
                *((name, ctypes.c_int32) for name in ("passThroughFlag", "detectShadow", "extraFlag2", "reserved", "isMPEG4",
                                                      "isH264Partly", "isH264PartlyIFrame"))]


class ZoneInfo(ctypes.Structure):
    _fields_ = [("mask", ctypes.c_void_p), ("maskWidth", ctypes.c_int32), ("maskHeight", ctypes.c_int32),
                *((name, ctypes.c_float) for name in ("zoneValue", "minObjectWidth", "minObjectHeight"))]


class ResultInfo(ctypes.Structure):
    _fields_ = [(name, ctypes.c_int32) for name in ("zoneResultsCount", "isIFrame", "passThroughFlag")]


class ZoneDetectionInfo(ctypes.Structure):
    _fields_ = [("objectsCount", ctypes.c_int32), ("objectsMap", ctypes.c_void_p), ("zoneMap", ctypes.c_void_p)]


def library():
    """The one that coremd has loaded."""
    maps = pathlib.Path("/proc/self/maps").read_text()
    return ctypes.CDLL(re.search(r"\S*/libcoreMD\.so[^/\s]*$", maps, re.M).group())


def pictures(columns, rows, count):
    """A noisy ground which a bright square crosses."""
    random = np.random.default_rng(7)
    made = []
    for i in range(count):
        planes = np.full((3, rows, columns), 128, np.uint8)
        planes[0] = 90 + random.integers(-2, 3, (rows, columns))
        left = i % (columns - SQUARE)
        planes[0, rows // 2:rows // 2 + SQUARE, left:left + SQUARE] = 210
        made.append(planes)
    return made


class InC:
    """What a host in C does for a frame."""

    def __init__(self, columns, rows):
        self.library, self.handle, self.mask = library(), ctypes.c_void_p(), np.ones(1, np.uint8)
        self.bgr = np.zeros((rows, columns, 3), np.uint8)
        ctypes.CDLL(None).srand(SEED)
        self.library.h15(ctypes.byref(self.handle))
        self.library.h12(ctypes.byref(self.handle), ctypes.byref(ZoneInfo(self.mask.ctypes.data, 1, 1, 0, 0, 0)))
        self.info = DetectionInfo(width=columns, height=rows, bgr24stride=3 * columns, isIFrame=1, fps=RATE,
                                  bgr24=self.bgr.ctypes.data)
        self.result, self.zone, self.object = ResultInfo(), ZoneDetectionInfo(), (ctypes.c_int64 * OBJECT)()
        self.shown, *self.asked = (tuple(map(ctypes.byref, (self.handle, record)))
                                   for record in (self.info, self.result, self.zone, self.object))

    def seconds(self, planes, i):
        """A frame and its objects."""
        self.info.ycbcr, self.info.timestamp = planes.ctypes.data, i * 10_000_000 // RATE
        h13, h17, h19, h18 = self.library.h13, self.library.h17, self.library.h19, self.library.h18
        result, zone, found = self.asked
        begin = time.thread_time()
        h13(*self.shown)
        if h17(*result) == DELIVERED:
            h19(*zone)
            while h18(*found) == DELIVERED:
                pass
        return time.thread_time() - begin

    def close(self):
        self.library.h14(ctypes.byref(self.handle))


def microseconds(columns, rows, frames=300):
    """(C, Python, difference) for a frame, medians of those after the detectors are at work."""
    there, detector, in_c = pictures(columns, rows, 64), coremd.Detector(rate=RATE, seed=SEED), InC(columns, rows)
    of_c, of_python = [], []
    for i in range(frames):
        planes = there[i % len(there)]
        if i % 2:  # who comes second finds the picture in the cache
            of_c.append(in_c.seconds(planes, i))
        begin = time.thread_time()
        frame = detector.detect(planes, time=i / RATE)
        of_python.append(time.thread_time() - begin)
        if not i % 2:
            of_c.append(in_c.seconds(planes, i))
        if i >= FILLED and len(frame.objects) != in_c.zone.objectsCount:
            sys.exit(f"bench: frame {i}: {len(frame.objects)} objects in Python, {in_c.zone.objectsCount} in C")
    in_c.close()
    c, python = (1e6 * statistics.median(values[FILLED:]) for values in (of_c, of_python))
    return c, python, python - c


def in_threads(work):
    threads = [threading.Thread(target=work) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


def in_processes(work):
    children = []
    for _ in range(2):
        children.append(os.fork())
        if children[-1] == 0:
            work()
            os._exit(0)
    for child in children:
        os.waitpid(child, 0)


def gains(columns, rows):
    """How much more two do in the same time than one: threads, then processes, which share no interpreter."""
    there = pictures(columns, rows, 64)

    def work():
        detector = coremd.Detector(rate=RATE)
        for i in range(80_000_000 // (columns * rows)):
            detector.detect(there[i % len(there)], time=i / RATE)

    def seconds(act):
        begin = time.perf_counter()
        act(work)
        return time.perf_counter() - begin
    alone = seconds(lambda act: act())
    return 2 * alone / seconds(in_threads), 2 * alone / seconds(in_processes)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--print", action="store_true", help="print only, write nothing")
    arguments = parser.parse_args()
    build("coreMD_python")
    sys.path.insert(0, str(BUILD / "python"))
    global coremd
    import coremd  # what was just built
    rows = []
    for grid in GRIDS:
        say(f"measuring {grid[0]}x{grid[1]} blocks")
        costs = [microseconds(*grid) for _ in range(RUNS)]
        threads, processes = zip(*(gains(*grid) for _ in range(RUNS)))
        medians = [f"{statistics.median(column):.1f}" for column in zip(*costs)]
        ranges = [f"{statistics.median(each):.2f} ({min(each):.2f} to {max(each):.2f})" for each in (threads, processes)]
        rows.append([f"{grid[0]}×{grid[1]}", *medians, *ranges])
    rules = RULES.format(machine=machine(), version=sys.version.split()[0], runs=RUNS)
    head = ["blocks", "C, µs", "Python, µs", "more, µs", "two threads", "two processes"]
    result = prose(rules) + "\n" + table(head, rows)
    print(result)
    if not arguments.print:
        put(PAGE, result)


if __name__ == "__main__":
    main()
