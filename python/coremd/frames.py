"""Blocks of frames as PyAV and OpenCV have them.

    reducer = coremd.frames.FrameReducer()
    for i, bgr in enumerate(pictures):                     # or frames of PyAV
        frame = detector.detect(reducer.reduce(bgr), time=i / 6)
"""
from typing import Any, List, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from ._native import BlockReducer

__all__ = ["FrameReducer", "planes_of"]

Plane = npt.NDArray[np.uint8]
DeepPlane = npt.NDArray[np.uint16]

_LAYOUTS = {"yuv420p": "yuv420", "yuvj420p": "yuv420", "yuv422p": "yuv422", "yuvj422p": "yuv422", "yuv444p": "yuv444",
            "yuvj444p": "yuv444", "nv12": "nv12", "gray": "grey", "yuv420p10le": "yuv420p10", "p010le": "p010"}


def _yuv_of_bgr(bgr: Plane) -> Tuple[str, List[Plane]]:
    """(layout, planes) of limited range by ITU-R BT.601, as OpenCV's own conversion has it."""
    try:
        import cv2  # type: ignore[import]
    except ImportError:
        pixels = bgr.astype(np.float32)
        b, g, r = pixels[..., 0], pixels[..., 1], pixels[..., 2]
        y = 16 + 0.257 * r + 0.504 * g + 0.098 * b
        cb = 128 - 0.148 * r - 0.291 * g + 0.439 * b
        cr = 128 + 0.439 * r - 0.368 * g - 0.071 * b
        return "yuv444", [np.round(plane).astype(np.uint8) for plane in (y, cb, cr)]
    height, width = bgr.shape[:2]
    if height % 2 or width % 2:
        bgr = np.pad(bgr, ((0, height % 2), (0, width % 2), (0, 0)), mode="edge")
    rows, columns = bgr.shape[0] // 2, bgr.shape[1] // 2
    yuv: Plane = cv2.cvtColor(bgr, cv2.COLOR_BGR2YUV_I420)
    chroma = yuv[2 * rows:].reshape(2, rows, columns)
    return "yuv420", [yuv[:height, :width], chroma[0], chroma[1]]


def planes_of(frame: Any) -> Tuple[str, int, int, str, Sequence[Union[Plane, DeepPlane]]]:
    """(layout, width, height, range, planes) of a frame: PyAV's, or OpenCV's BGR [height, width, 3] or grey [height, width].

    PyAV's planes are not copied where the layout is a common one, of eight bits or ten; else the frame is converted to
    yuv420p.
    """
    if isinstance(frame, np.ndarray):
        if frame.dtype != np.uint8:
            raise TypeError(f"the picture holds {frame.dtype}, not uint8")
        if frame.ndim == 2:
            return "grey", frame.shape[1], frame.shape[0], "limited", [frame]
        if frame.ndim != 3 or frame.shape[2] != 3 or 0 in frame.shape:
            raise ValueError("a picture is [height, width, 3] of blue, green and red, or [height, width]")
        layout, planes = _yuv_of_bgr(frame)
        return layout, frame.shape[1], frame.shape[0], "limited", planes
    name = getattr(getattr(frame, "format", None), "name", None)
    if name is None:
        raise TypeError("that is no frame of PyAV, and no array")
    if name not in _LAYOUTS:
        frame, name = frame.reformat(format="yuv420p"), "yuv420p"
    interleaved = [1, 2] if name in ("nv12", "p010le") else [1, 1, 1]
    sample: "np.dtype[Any]" = np.dtype("<u2") if name in ("yuv420p10le", "p010le") else np.dtype(np.uint8)
    planes = []
    for plane, samples_per_column in zip(frame.planes, interleaved):
        rows = np.frombuffer(plane, sample).reshape(-1, plane.line_size // sample.itemsize)
        planes.append(rows[:plane.height, :plane.width * samples_per_column])
    full = name.startswith("yuvj") or int(getattr(frame, "color_range", 0) or 0) == 2
    return _LAYOUTS[name], frame.width, frame.height, "full" if full else "limited", planes


class FrameReducer:
    """A BlockReducer for frames of PyAV or OpenCV, which makes itself anew when their size or layout changes.

    block: pixels along one side of a block; 0: a power of two that gives at most 240 columns. stabilise: off, auto or on.
    """

    def __init__(self, *, block: int = 0, stabilise: str = "off") -> None:
        self._block, self._stabilise = block, stabilise
        self._format: Optional[Tuple[str, int, int, str]] = None
        self._reducer: Optional[BlockReducer] = None

    @property
    def reducer(self) -> Optional[BlockReducer]:
        """The one of the newest frame; None before the first."""
        return self._reducer

    def reduce(self, frame: Any) -> Plane:
        """uint8 [3, rows, columns], as BlockReducer.reduce."""
        layout, width, height, span, planes = planes_of(frame)
        if self._reducer is None or self._format != (layout, width, height, span):
            self._reducer = BlockReducer(width, height, layout, block=self._block, range=span,  # type: ignore[arg-type]
                                         stabilise=self._stabilise)  # type: ignore[arg-type]
            self._format = (layout, width, height, span)
        return self._reducer.reduce(*planes)

    def __repr__(self) -> str:
        said = f"of {self._reducer!r}" if self._reducer else "before its first frame"
        return f"<coremd.FrameReducer {said}>"
