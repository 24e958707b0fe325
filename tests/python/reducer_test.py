#!/usr/bin/env python3
"""Are blocks the rounded means of their samples, whatever the layout, the strides and the part that counts?"""
import unittest

import numpy as np

import coremd

random = np.random.default_rng(3)


def means(plane, across, down):
    """Rounded means of blocks of so many samples, by the obvious way."""
    rows, columns = -(-plane.shape[0] // down), -(-plane.shape[1] // across)
    result = np.empty((rows, columns), np.uint8)
    for y in range(rows):
        for x in range(columns):
            block = plane[y * down:(y + 1) * down, x * across:(x + 1) * across].astype(int)
            result[y, x] = (block.sum() + block.size // 2) // block.size
    return result


def picture(width, height, layout):
    """(planes as the layout has them, Y, Cb, Cr, by what chroma is divided across and down)"""
    across, down = {"yuv420": (2, 2), "yuv422": (2, 1), "yuv444": (1, 1), "nv12": (2, 2), "grey": (1, 1)}[layout]
    size = (-(-height // down), -(-width // across))
    y = random.integers(0, 256, (height, width), np.uint8)
    cb, cr = random.integers(0, 256, (2,) + size, np.uint8)
    if layout == "nv12":
        return (y, np.stack((cb, cr), axis=2)), y, cb, cr, across, down
    if layout == "grey":
        return (y,), y, np.full_like(y, 128), np.full_like(y, 128), 1, 1
    return (y, cb, cr), y, cb, cr, across, down


class Reduction(unittest.TestCase):
    def test_every_layout(self):
        for layout in ("yuv420", "yuv422", "yuv444", "nv12", "grey"):
            for width, height, block in ((64, 48, 8), (37, 29, 4), (50, 22, 16)):
                planes, y, cb, cr, across, down = picture(width, height, layout)
                reducer = coremd.BlockReducer(width, height, layout, block=block)
                blocks = reducer.reduce(*planes)
                self.assertEqual(blocks.shape, (3, reducer.rows, reducer.columns))
                for got, wanted in zip(blocks, (means(y, block, block), means(cb, block // across, block // down),
                                                means(cr, block // across, block // down))):
                    self.assertTrue((got == wanted).all(), (layout, width, height))

    def test_strides_of_any_kind(self):
        (y, cb, cr), *_ = picture(40, 32, "yuv420")
        reducer = coremd.BlockReducer(40, 32, block=8)
        upright = reducer.reduce(y, cb, cr)
        padded = [np.pad(plane, ((0, 0), (0, 24)))[:, :plane.shape[1]] for plane in (y, cb, cr)]
        self.assertTrue((reducer.reduce(*padded) == upright).all())
        self.assertTrue((reducer.reduce(y[::-1].copy()[::-1], cb, cr) == upright).all())
        self.assertTrue((reducer.reduce(*map(memoryview, (y, cb, cr))) == upright).all())

    def test_interleaved_chroma_as_bytes(self):
        (y, chroma), *_ = picture(40, 32, "nv12")
        reducer = coremd.BlockReducer(40, 32, "nv12", block=8)
        self.assertTrue((reducer.reduce(y, chroma) == reducer.reduce(y, chroma.reshape(16, 40))).all())

    def test_a_part_of_the_picture(self):
        planes, y, *_ = picture(64, 48, "yuv444")
        reducer = coremd.BlockReducer(64, 48, "yuv444", block=8, crop=(8, 16, 32, 24))
        self.assertEqual((reducer.columns, reducer.rows), (4, 3))
        self.assertTrue((reducer.reduce(*planes)[0] == means(y[16:40, 8:40], 8, 8)).all())

    def test_what_it_says_of_itself(self):
        reducer = coremd.BlockReducer(1280, 720)
        self.assertEqual((reducer.columns, reducer.rows, reducer.block, reducer.shift), (160, 90, 8, (0, 0)))
        self.assertEqual(repr(reducer), "<coremd.BlockReducer of yuv420 1280x720 to 160x90 blocks of 8 pixels>")


class Refusals(unittest.TestCase):
    def test_what_is_no_picture(self):
        y, c = np.zeros((32, 40), np.uint8), np.zeros((16, 20), np.uint8)
        reducer = coremd.BlockReducer(40, 32, block=8)
        for error, words, call in [
                (ValueError, "yuv420 has 3 planes", lambda: reducer.reduce(y)),
                (ValueError, "plane 0 has 31 rows of 40 bytes, not 32 of 40", lambda: reducer.reduce(y[1:], c, c)),
                (ValueError, "plane 2 has 16 rows of 19 bytes, not 16 of 20", lambda: reducer.reduce(y, c, c[:, 1:])),
                (ValueError, "plane 0: the columns do not lie side by side; numpy.ascontiguousarray copies them so",
                 lambda: reducer.reduce(np.zeros((40, 32), np.uint8).T, c, c)),
                (TypeError, "plane 1 holds float64, not uint8", lambda: reducer.reduce(y, c * 1.0, c)),
                (ValueError, "layout is one of grey, nv12, yuv420, yuv422, yuv444",
                 lambda: coremd.BlockReducer(40, 32, "rgb")),
                (ValueError, "a number is out of its range",
                 lambda: coremd.BlockReducer(40, 32, block=65)),
                (ValueError, "a number is out of its range", lambda: coremd.BlockReducer(0, 32))]:
            with self.assertRaises(error) as caught:
                call()
            self.assertEqual(str(caught.exception), words)


if __name__ == "__main__":
    unittest.main()
