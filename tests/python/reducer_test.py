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

    def test_ten_bits(self):
        for layout, eight, shift, width, height, block in (
                ("yuv420p10", "yuv420", 0, 64, 48, 8), ("p010", "nv12", 6, 50, 22, 4),
                ("yuv420p10", "yuv420", 0, 37, 29, 8)):
            planes, *_ = picture(width, height, eight)
            wanted = coremd.BlockReducer(width, height, eight, block=block).reduce(*planes)
            reducer = coremd.BlockReducer(width, height, layout, block=block)
            # Multiples of 4 are the same picture; bits beside the ten do not count.
            deep = [(plane.astype("<u2") << (2 + shift)) | (0xfc00 if shift == 0 else 0x3f) for plane in planes]
            self.assertEqual({plane.dtype.itemsize for plane in deep}, {2})
            self.assertTrue((reducer.reduce(*deep) == wanted).all(), layout)
            padded = [np.pad(plane, ((0, 0), (0, 9)) + ((0, 0),) * (plane.ndim - 2))[:, :plane.shape[1]] for plane in deep]
            self.assertTrue((reducer.reduce(*padded) == wanted).all(), layout)
            upside_down = [plane[::-1].copy()[::-1] for plane in deep]
            self.assertTrue((reducer.reduce(*upside_down) == wanted).all(), layout)

    def test_ten_bits_are_rounded_once(self):
        for layout, shift in (("yuv420p10", 0), ("p010", 6)):
            y = random.integers(0, 1024, (48, 64)).astype("<u2")
            chroma = np.full((24, 32), 512, "<u2")
            planes = (y, chroma, chroma) if shift == 0 else (y, np.stack((chroma, chroma), axis=2))
            got = coremd.BlockReducer(64, 48, layout, block=8).reduce(*(plane << shift for plane in planes))
            sums = y.astype(int).reshape(6, 8, 8, 8).sum(axis=(1, 3))
            self.assertTrue((got[0] == np.minimum((sums + 2 * 64) // (4 * 64), 255)).all(), layout)
            self.assertTrue((got[1:] == 128).all(), layout)

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
        reducer, deep = (coremd.BlockReducer(40, 32, layout, block=8) for layout in ("yuv420", "yuv420p10"))
        for error, words, call in [
                (ValueError, "yuv420 has 3 planes", lambda: reducer.reduce(y)),
                (ValueError, "plane 0 has 31 rows of 40 bytes, not 32 of 40", lambda: reducer.reduce(y[1:], c, c)),
                (ValueError, "plane 2 has 16 rows of 19 bytes, not 16 of 20", lambda: reducer.reduce(y, c, c[:, 1:])),
                (ValueError, "plane 0: the columns do not lie side by side; numpy.ascontiguousarray copies them so",
                 lambda: reducer.reduce(np.zeros((40, 32), np.uint8).T, c, c)),
                (TypeError, "plane 1 holds float64, not uint8", lambda: reducer.reduce(y, c * 1.0, c)),
                (TypeError, "plane 0 holds uint8, not uint16, lower byte first", lambda: deep.reduce(y, c, c)),
                (TypeError, "plane 0 holds >u2, not uint16, lower byte first", lambda: deep.reduce(y.astype(">u2"), c, c)),
                (TypeError, "plane 0 holds int16, not uint16, lower byte first", lambda: deep.reduce(y.astype("<i2"), c, c)),
                (TypeError, "plane 0 holds uint16, not uint8", lambda: reducer.reduce(y.astype("<u2"), c, c)),
                (ValueError, "plane 0 has 31 rows of 40 samples, not 32 of 40",
                 lambda: deep.reduce(y[1:].astype("<u2"), c, c)),
                (ValueError, "plane 0: the columns do not lie side by side; numpy.ascontiguousarray copies them so",
                 lambda: deep.reduce(np.zeros((32, 80), "<u2")[:, ::2], c, c)),
                (ValueError, "layout is one of grey, nv12, p010, yuv420, yuv420p10, yuv422, yuv444",
                 lambda: coremd.BlockReducer(40, 32, "rgb")),
                (ValueError, "a number is out of its range",
                 lambda: coremd.BlockReducer(40, 32, block=65)),
                (ValueError, "a number is out of its range", lambda: coremd.BlockReducer(0, 32))]:
            with self.assertRaises(error) as caught:
                call()
            self.assertEqual(str(caught.exception), words)


if __name__ == "__main__":
    unittest.main()
