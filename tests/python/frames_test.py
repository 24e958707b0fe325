#!/usr/bin/env python3
"""Are frames of PyAV and OpenCV reduced to the blocks of their planes?"""
import types
import unittest
from unittest import mock

import numpy as np

from coremd import BlockReducer
from coremd.frames import FrameReducer, planes_of

random = np.random.default_rng(4)


def shaped(name, width, height, planes, padding=24):
    """A frame as PyAV has it, without PyAV: its planes offer their padded bytes."""
    def plane(array):
        columns = array.shape[1]
        padded = np.pad(array, ((0, 0), (0, padding)))
        width = columns // 2 if name == "nv12" and array is planes[-1] else columns
        shape = {"line_size": columns + padding, "width": width, "height": array.shape[0]}
        return type("Plane", (bytearray,), shape)(padded.tobytes())
    return types.SimpleNamespace(format=types.SimpleNamespace(name=name), width=width, height=height,
                                 planes=[plane(array) for array in planes])


class Frames(unittest.TestCase):
    def setUp(self):
        self.y = random.integers(16, 236, (48, 64), np.uint8)
        self.cb, self.cr = random.integers(16, 241, (2, 24, 32), np.uint8)

    def frame_of_pyav(self):
        try:
            import av
        except ImportError:
            self.skipTest("PyAV is not installed")
        whole = np.concatenate([self.y.ravel(), self.cb.ravel(), self.cr.ravel()]).reshape(72, 64)
        return av.VideoFrame.from_ndarray(whole, "yuv420p")

    def test_planes_as_pyav_has_them(self):
        wanted = BlockReducer(64, 48, block=8).reduce(self.y, self.cb, self.cr)
        chroma = np.stack((self.cb, self.cr), axis=2).reshape(24, 64)
        for name, planes in (("yuv420p", (self.y, self.cb, self.cr)), ("nv12", (self.y, chroma))):
            self.assertTrue((FrameReducer(block=8).reduce(shaped(name, 64, 48, planes)) == wanted).all(), name)
        self.assertEqual(planes_of(shaped("yuvj420p", 64, 48, (self.y, self.cb, self.cr)))[3], "full")

    def test_ten_bits(self):
        deep = [(plane.astype("<u2") << 2) + 1 for plane in (self.y, self.cb, self.cr)]
        wanted = BlockReducer(64, 48, "yuv420p10", block=8).reduce(*deep)
        high = [plane << 6 for plane in (deep[0], np.stack(deep[1:], axis=2).reshape(24, 64))]
        for name, planes in (("yuv420p10le", deep), ("p010le", high)):
            bytes_of = [np.ascontiguousarray(plane).view(np.uint8) for plane in planes]
            frame = shaped(name, 64, 48, bytes_of)
            for plane, array in zip(frame.planes, planes):
                type(plane).width = array.shape[1] // (2 if name == "p010le" and array is planes[-1] else 1)
            self.assertTrue((FrameReducer(block=8).reduce(frame) == wanted).all(), name)

    def test_ten_bits_of_pyav(self):
        plain = self.frame_of_pyav()
        wanted = FrameReducer(block=8).reduce(plain).astype(int)
        for name in ("yuv420p10le", "p010le"):
            frame = plain.reformat(format=name)
            self.assertEqual(planes_of(frame)[4][0].dtype, np.uint16)
            self.assertLessEqual(np.abs(FrameReducer(block=8).reduce(frame).astype(int) - wanted).max(), 1, name)

    def test_frames_of_pyav(self):
        frame = self.frame_of_pyav()
        wanted = BlockReducer(64, 48, block=8).reduce(self.y, self.cb, self.cr)
        reducer = FrameReducer(block=8)
        self.assertTrue((reducer.reduce(frame) == wanted).all())
        converted = reducer.reduce(frame.reformat(format="rgb24")).astype(int)
        self.assertLess(np.abs(converted[0] - wanted[0].astype(int)).mean(), 6, "there and back")

    def test_pictures_of_opencv(self):
        bgr = np.zeros((48, 64, 3), np.uint8)
        bgr[:, :32], bgr[:, 32:] = (255, 0, 0), (40, 200, 90)
        wanted = {0: (41, 240, 110),
                  4: (16 + 0.257 * 90 + 0.504 * 200 + 0.098 * 40, 128 - 0.148 * 90 - 0.291 * 200 + 0.439 * 40,
                      128 + 0.439 * 90 - 0.368 * 200 - 0.071 * 40)}
        for without in ((), ("cv2",)):
            with mock.patch.dict("sys.modules", {name: None for name in without}):
                blocks = FrameReducer(block=8).reduce(bgr)
                odd = FrameReducer(block=8).reduce(bgr[:47, :63])
            for column, colours in wanted.items():
                for plane in range(3):
                    self.assertLessEqual(abs(float(blocks[plane, 2, column]) - colours[plane]), 1.5, (without, plane))
            self.assertTrue((np.abs(odd.astype(int) - blocks.astype(int)) <= 1).all())
        grey = BlockReducer(64, 48, "grey", block=8).reduce(self.y)
        self.assertTrue((FrameReducer(block=8).reduce(self.y) == grey).all())

    def test_another_size_makes_another_reducer(self):
        reducer = FrameReducer(block=8)
        self.assertEqual(repr(reducer), "<coremd.FrameReducer before its first frame>")
        self.assertIsNone(reducer.reducer)
        self.assertEqual([reducer.reduce(np.zeros(shape, np.uint8)).shape for shape in ((48, 64), (16, 16), (16, 16, 3))],
                         [(3, 6, 8), (3, 2, 2), (3, 2, 2)])
        self.assertIn("16x16 to 2x2 blocks", repr(reducer))

    def test_what_is_no_frame(self):
        for error, what in ((TypeError, 3), (TypeError, np.zeros((4, 4, 3))), (ValueError, np.zeros((4, 4, 2), np.uint8)),
                            (ValueError, np.zeros((0, 4, 3), np.uint8)), (ValueError, np.zeros((0, 4), np.uint8))):
            with self.assertRaises(error):
                FrameReducer().reduce(what)


if __name__ == "__main__":
    unittest.main()
