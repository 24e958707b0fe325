#!/usr/bin/env python3
"""Does anything that Python can hand over end the process?  Random calls; errors are the ones that Python expects."""
import random
import unittest

import numpy as np

import coremd

EXPECTED = (ValueError, TypeError, RuntimeError, MemoryError, OverflowError, IndexError)
TYPES = (np.uint8, np.uint8, np.uint8, np.uint8, bool, np.int8, np.uint16, np.float32, object, "S1", "M8[s]")


class Caller:
    def __init__(self, seed):
        self.random = random.Random(seed)
        self.numbers = np.random.default_rng(seed)
        self.detector = coremd.Detector()
        self.frames = []
        self.state = self.detector.save_state()
        self.conditioner = coremd.Conditioner(self.detector, 16, 16)
        self.priming = coremd.Priming(16, 16)
        self.grid = coremd.Grid(16, 16, 128, 121, 8)
        self.memory = coremd.BackgroundMemory(self.grid, np.zeros((3, 16, 16), np.uint8)).to_bytes()

    def size(self):
        return self.random.choice((0, 1, 2, 3, 7, 16, 16, 16, 40, 10001 if self.random.random() < 0.1 else 5))

    def array(self, dimensions=None):
        dimensions = self.random.choice((0, 1, 2, 2, 2, 3, 3, 4)) if dimensions is None else dimensions
        shape = [self.size() for _ in range(dimensions)]
        while np.prod(shape, dtype=float) > 2e5:
            shape[shape.index(max(shape))] = 2
        array = np.zeros(shape, self.random.choice(TYPES))
        if array.dtype == np.uint8:
            array[...] = self.numbers.integers(0, 256, shape)
        for axis in range(dimensions):
            if self.random.random() < 0.1:
                array = np.flip(array, axis)
        if dimensions > 1 and self.random.random() < 0.2:
            array = array[..., ::self.random.choice((1, 2, -1))]
        return array.T if self.random.random() < 0.1 else array

    def value(self):
        return self.random.choice((None, 0, -1, 3, 1e9, float("nan"), float("inf"), "words", b"bytes", [], (), {}, [[1, 2]],
                                   memoryview(b"1234"), True, 2**70, self.array()))

    def planes(self):
        grid = self.random.choice(((16, 16), (16, 16), (3, 40)))
        good = self.numbers.integers(0, 256, (3,) + grid).astype(np.uint8)
        return self.random.choice(([good], list(good), [good], [self.array(3)], [self.value()],
                                   [self.array(2), self.array(2), self.array(2)], [self.value() for _ in range(3)]))

    def time(self):
        return self.random.choice((self.random.random() * 100, len(self.frames) * 0.1, self.value(), -1e11, 9e11, -9e11))

    def condition(self):
        planes = self.random.choice((self.planes()[0], np.zeros((3, 16, 16), np.uint8), np.zeros((3, 16, 16), np.uint8)))
        choice = self.random.randrange(8)
        if choice < 3:
            frame = self.conditioner.detect(planes, time=self.time(),
                                            shift=self.random.choice(((0, 0), (0, 0), (-13, 13), self.value())))
            repr(frame), frame.table, repr(frame.disturbances), coremd.outline_labels(frame.with_stopped)
        elif choice == 3:
            self.priming.keep(planes)
        elif choice == 4:
            self.priming[self.random.choice((0, -1, self.value()))], self.priming.most_frequent(self.value())
        elif choice == 5:
            self.conditioner.prime(planes, self.random.choice((None, self.priming, self.value())))
        elif choice == 6:
            self.conditioner = coremd.Conditioner(self.random.choice((coremd.Detector(), self.detector, self.value())),
                                                  self.random.choice((16, 16, -1, 2**31)), 16)
            self.priming = coremd.Priming(16, 16, most=self.random.choice((100, 1, 0, self.value())))
        else:
            coremd.outline_labels(self.random.choice((self.array(), self.value(), np.full((3, 4), 65535, np.uint16))))

    def remember(self):
        memory = bytearray(self.memory)
        for _ in range(self.random.randrange(3)):
            memory[self.random.randrange(len(memory))] ^= 1 << self.random.randrange(8)
        choice = self.random.randrange(4)
        if choice == 0:
            coremd.BackgroundMemory.from_bytes(self.random.choice((bytes(memory), b"", self.value())),
                                               self.random.choice((self.grid, self.grid, self.value())))
        elif choice == 1:
            coremd.BackgroundMemory(self.grid, self.random.choice((self.array(3), np.zeros((3, 16, 16), np.uint8))),
                                    self.random.choice((None, self.array(2), self.value())), time=self.time()).to_bytes()
        elif choice == 2:
            coremd.Grid(*[self.random.choice((1, 16, 128, 0, -1, 2**31 - 1)) for _ in range(5)])
        else:
            corners = self.numbers.random((self.random.randrange(6), 2)).tolist()
            coremd.polygon_mask(self.random.choice((corners, self.array(2), self.value())), self.grid)
            coremd.Detector([corners, self.random.choice((self.value(), self.array(2)))])

    def call(self):
        choice = self.random.randrange(15)
        if choice < 6:
            self.frames.append(self.detector.detect(*self.planes(), time=self.time()))
            del self.frames[:-5]
        elif choice == 6:
            zones = self.random.choice((None, [self.array(2)], [self.array(2), self.array()], self.value()))
            self.detector = coremd.Detector(zones,
                                            min_object=self.random.choice(((0, 0), (0.5, 2), self.value())),
                                            shadows=self.random.random() < 0.5,
                                            rate=self.random.choice((25, 0, -5, 1e-300, self.value())))
        elif choice == 7:
            self.detector.replace_zones(self.random.choice((None, [self.array(2)], [self.array()], self.value())))
        elif choice == 8:
            state = bytearray(self.random.choice((self.state, self.detector.save_state())))
            for _ in range(self.random.randrange(3)):
                state[self.random.randrange(len(state))] ^= 1 << self.random.randrange(8)
            self.detector.load_state(bytes(state[:self.random.choice((len(state), 10, len(state) - 1))]))
        elif choice == 9:
            if self.random.random() < 0.2:
                self.detector.close()
            self.detector.background()
            self.detector.limit_to_motion(self.value())
            self.detector.learn_slowly(self.random.random() < 0.5)
        elif choice == 10 and self.frames:
            frame = self.random.choice(self.frames)
            repr(frame), frame.table, bool(frame), [repr(thing) for thing in frame.objects]
            np.asarray(frame.labels), frame.states and frame.states[self.value()], [thing.blocks for thing in frame.objects]
        elif choice == 12:
            self.condition()
        elif choice == 13:
            self.remember()
        else:
            reducer = coremd.BlockReducer(self.random.choice((16, 40, self.value())),
                                          self.random.choice((16, 3, self.value())),
                                          self.random.choice(("yuv420", "grey", "nv12", self.value())),
                                          block=self.random.choice((0, 1, 4, self.value())),
                                          crop=self.random.choice((None, (0, 0, 2, 2), (2, 2, 99, -1), self.value())),
                                          stabilise=self.random.choice(("off", "on", "auto")))
            reducer.reduce(*[self.array(self.random.choice((2, 3))) for _ in range(self.random.randrange(4))])


class Fuzz(unittest.TestCase):
    def test_random_calls(self):
        refused = done = 0
        for seed in range(50):
            caller = Caller(seed)
            for _ in range(100):
                try:
                    caller.call()
                    done += 1
                except EXPECTED:
                    refused += 1
        self.assertGreater(done, 800)
        self.assertGreater(refused, 800)


if __name__ == "__main__":
    unittest.main()
