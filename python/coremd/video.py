"""What moves in a video, a stream or a camera, and when?

    for frame in coremd.video.watch("gate.mp4", rate=6):            # every picture that is analysed
        print(frame.time, frame.objects)

    for event in coremd.video.events("rtsp://camera/stream"):       # what mdscan prints
        print(event.start, event.end)

Both scan as mdscan does, with its settings and its defaults, in a thread of their own; leaving the loop ends the scan.
Settings that cannot be are a ValueError in the scanner's words; an input that cannot be read, or no further, is a ScanError
after all that was found.
"""
import atexit
import dataclasses
import os
import warnings
import weakref
from datetime import datetime
from typing import Any, Dict, Iterable, Iterator, List, Mapping, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

try:
    from . import _video
except ImportError as missing:
    raise ImportError("coremd.video is not there: it needs the scanner mdscan, built with FFmpeg's libraries") from missing

__all__ = ["Box", "Condition", "Event", "Gap", "MovingObject", "Record", "ScanError", "TrackPoint", "WatchedFrame", "Zone",
           "events", "events_table", "watch"]

Picture = npt.NDArray[np.uint8]


class ScanError(Exception):
    """An input cannot be read, or no further. health: "unreadable", "damaged", "unwritten", as mdscan calls it."""

    def __init__(self, input: str, health: str, trouble: str) -> None:
        super().__init__(f"{input}: {trouble}")
        self.input, self.health, self.trouble = input, health, trouble


@dataclasses.dataclass(frozen=True)
class Zone:
    """Where something may move. shape: corners (x, y), fractions 0..1 of the picture, or a mask [rows, columns]."""

    name: str
    shape: Any
    exclude: bool = False             # nothing is watched there, whatever other zones say
    min_size: Optional[float] = None  # smallest object, a fraction of the picture's width and height; None: as everywhere
    max_size: Optional[float] = None  # largest object, likewise


@dataclasses.dataclass(frozen=True)
class Box:
    """Pixels of the picture; blocks: how many moving blocks lie in it."""

    x: int
    y: int
    w: int
    h: int
    blocks: int


@dataclasses.dataclass(frozen=True)
class MovingObject(Box):
    """A Box, and the names of the zones that its blocks touch."""

    zones: Tuple[str, ...] = ()


@dataclasses.dataclass(frozen=True)
class TrackPoint:
    """Where the largest object was at a time, in pixels."""

    time: float
    x: int
    y: int
    w: int
    h: int


@dataclasses.dataclass(frozen=True, eq=False)
class WatchedFrame:
    """A picture that was analysed. True where something moves."""

    time: float                       # seconds since the start
    number: int                       # of the picture in the video, from 0
    exact: bool                       # whether the number is
    objects: List[MovingObject]       # largest first
    marks: npt.NDArray[np.uint8]      # [rows, columns] of each block: 0 nothing, 1 moves, 2 is a shadow
    block: int                        # pixels along one side of a block
    picture: Optional[Picture] = dataclasses.field(repr=False, default=None)  # RGB [height, width, 3], on request

    def __bool__(self) -> bool:
        return bool(self.objects)


@dataclasses.dataclass(frozen=True, eq=False)
class Event:
    """Something moved. Seconds since the start; wall clock where that is known."""

    number: int                       # from 1
    start: float
    end: float
    peak: float                       # when an object was largest
    start_frame: int
    end_frame: int
    peak_frame: int
    frame_exact: bool
    frames: int                       # analysed pictures that moved
    blocks: int                       # moving blocks at the peak
    boxes: List[Box]                  # at the peak, largest first
    flash: bool = False               # nearly everything changed at once in it
    zones: Optional[List[str]] = None         # that it touched; None: the whole picture is watched
    track: Optional[List[TrackPoint]] = None  # on request
    start_time: Optional[datetime] = None
    end_time: Optional[datetime] = None
    peak_time: Optional[datetime] = None
    picture: Optional[Picture] = dataclasses.field(repr=False, default=None)  # at the peak, RGB, on request

    @property
    def duration(self) -> float:
        """Seconds."""
        return self.end - self.start


@dataclasses.dataclass(frozen=True)
class Condition:
    """The picture changed and nothing moved, or nothing could be told: "light", "covered", "shaking" and so on."""

    condition: str
    start: float
    end: float
    start_time: Optional[datetime] = None
    end_time: Optional[datetime] = None


@dataclasses.dataclass(frozen=True)
class Gap:
    """A live source showed nothing, and why."""

    start: float
    end: float
    reason: str
    start_time: Optional[datetime] = None
    end_time: Optional[datetime] = None


Record = Union[Event, Condition, Gap]
Source = Union[str, "os.PathLike[str]"]
Zones = Union[None, Source, Mapping[str, Any], Iterable[Any]]

_open: "weakref.WeakSet[Any]" = weakref.WeakSet()


@atexit.register
def _end_all() -> None:
    for scan in list(_open):
        scan.close()


def _words(settings: Mapping[str, Any]) -> List[str]:
    """Settings as the scanner's command line has them, which also says what is wrong with them."""
    words = []
    for name, value in settings.items():
        option = "--" + name.rstrip("_").replace("_", "-")
        if name == "condition":
            value = "default" if value else "none"
        if isinstance(value, datetime):
            value = value.isoformat()
        if value is True:
            words.append(option)
        elif value is not None and value is not False:
            words.append(f"{option}={os.fsdecode(value) if isinstance(value, os.PathLike) else value}")
    return words


def _zones(zones: Zones) -> Tuple[List[str], List[Tuple[str, Any, bool, Optional[float], Optional[float]]]]:
    if zones is None:
        return [], []
    if isinstance(zones, (str, os.PathLike)):
        return [f"--zones={os.fsdecode(zones)}"], []
    named = [Zone(name, shape) for name, shape in zones.items()] if isinstance(zones, Mapping) else \
        [one if isinstance(one, Zone) else Zone(f"zone {place}", one) for place, one in enumerate(zones, 1)]
    if len({zone.name for zone in named}) < len(named):
        raise ValueError("two zones have the same name")
    for zone in named:
        for size in (zone.min_size, zone.max_size):
            if size is not None and not 0 <= size <= 1:
                raise ValueError(f"{zone.name}: a size must be a number from 0 to 1, not {size}")
    return [], [(zone.name, zone.shape, zone.exclude, zone.min_size, zone.max_size) for zone in named]


def _items(source: Source, zones: Zones, settings: Mapping[str, Any], records: bool, frames: bool,
           pictures: bool) -> Iterator[Tuple[Dict[str, Any], List[str]]]:
    name = os.fsdecode(source)
    words, shapes = _zones(zones)
    # Made here rather than at the first step, so that what is wrong is said where it was written.
    # As bytes: names of files need not be UTF-8.
    scan = _video.Scan(os.fsencode(name), [os.fsencode(word) for word in words + _words(settings)], shapes, records=records,
                       frames=frames, pictures=pictures)
    _open.add(scan)

    def steps() -> Iterator[Tuple[Dict[str, Any], List[str]]]:
        try:
            for item in iter(scan.next, None):
                if item["type"] == "warning":
                    warnings.warn(item["text"], stacklevel=3)
                else:
                    yield item, scan.zones
            end = scan.result()
            if end and end[2]:
                raise ValueError(end[1])
            if end and end[0] != "complete":
                raise ScanError(name, end[0], end[1])
        finally:
            scan.close()

    return steps()


def _time(text: Optional[str]) -> Optional[datetime]:
    return datetime.fromisoformat(text.replace("Z", "+00:00")) if text else None


def _record(item: Dict[str, Any]) -> Record:
    kind, picture = item.pop("type"), item.pop("picture")
    for name in ("start_time", "end_time", "peak_time"):
        if name in item:
            item[name] = _time(item[name])
    if kind == "condition":
        return Condition(**item)
    if kind == "gap":
        return Gap(**item)
    item["boxes"] = [Box(**box) for box in item["boxes"]]
    if "track" in item:
        item["track"] = [TrackPoint(**point) for point in item["track"]]
    return Event(number=item.pop("event"), picture=picture, **item)


def _frame(item: Dict[str, Any], names: Sequence[str]) -> WatchedFrame:
    del item["type"]
    item["objects"] = [MovingObject(x, y, w, h, blocks, tuple(name for bit, name in enumerate(names) if zones >> bit & 1))
                       for x, y, w, h, blocks, zones in item["objects"]]
    return WatchedFrame(**item)


def watch(source: Source, zones: Zones = None, *, rate: float = 6, pictures: bool = False,
          **settings: Any) -> Iterator[WatchedFrame]:
    """Every picture of a video, a stream or a camera that is analysed, in order.

    source: a file, an address like rtsp://camera/stream, /dev/video0, or - for the standard input.
    zones: where to look: a file of zones, a dict of polygons or masks by name, or a list of these or of Zone; None:
    everywhere. rate: pictures analysed a second, 0: all. pictures: with the picture itself, RGB.
    settings: mdscan's options that decide what is found, with _ for - : min_size, max_size, sensitivity, stabilise,
    condition (False: the plain detector), shadows, block, fast, memory, reconnect, from_, to.
    The first 16 seconds of a file are judged when they are known.
    """
    items = _items(source, zones, {"rate": rate, **settings}, False, True, pictures)
    return (_frame(item, names) for item, names in items)


def events(source: Source, zones: Zones = None, *, rate: float = 6, pictures: bool = False,
           **settings: Any) -> Iterator[Record]:
    """What mdscan prints, as it is found: Event, Condition and Gap.

    As watch, and: min_blocks, ignore_flashes, merge_gap, min_duration, pre_roll, post_roll in seconds, track, start_time,
    name_time. pictures: with the picture at the peak of each event, RGB, as far as it is at hand.
    """
    items = _items(source, zones, {"rate": rate, **settings}, True, False, pictures)
    return (_record(item) for item, _ in items)


_COLUMNS = ("number", "start", "end", "peak", "duration", "start_frame", "end_frame", "peak_frame", "frames", "blocks",
            "flash", "zones", "x", "y", "w", "h", "start_time", "end_time", "peak_time")


def events_table(found: Iterable[Record]) -> Dict[str, List[Any]]:
    """Events as columns, one list each: pandas.DataFrame(events_table(events(path))).

    x, y, w, h: of the largest object at the peak. zones: names, joined by commas. All else but events is left out.
    """
    table: Dict[str, List[Any]] = {name: [] for name in _COLUMNS}
    for event in found:
        if not isinstance(event, Event):
            continue
        box = event.boxes[0] if event.boxes else None
        for name in _COLUMNS:
            if name == "zones":
                table[name].append(",".join(event.zones or ()))
            elif name in ("x", "y", "w", "h"):
                table[name].append(getattr(box, name) if box else 0)
            else:
                table[name].append(getattr(event, name))
    return table
