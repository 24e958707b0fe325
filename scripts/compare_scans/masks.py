"""What may differ between two runs of one program, and why?  Everything else is compared byte by byte.

A mask replaces as little as possible, and says how often it did so.
"""
import collections
import dataclasses
import datetime
import re
import typing


@dataclasses.dataclass
class Mask:
    name: str
    reason: str
    files: str  # a pattern that the path matches
    apply: typing.Callable  # (bytes) to bytes and how often
    runs: str = ""  # a pattern that the run's name matches


def pattern(regex, replacement):
    compiled = re.compile(regex, re.DOTALL)
    return lambda data: compiled.subn(replacement, data)


NUMBER = rb"(?:[\d.e+-]+|null)"
PROGRESS = re.compile(b'{"type":"progress",' + b",".join(b'"%s":%s' % (name, NUMBER) for name in (
    b"done", b"seconds", b"elapsed", b"speed", b"left", b"events")) + b"}")


def progress_lines(data):
    """The first line of a single input is written with its first picture, all others when a second is over: these go."""
    several = re.search(rb"^mdscan: \d+ inputs?\b", data, re.MULTILINE)
    lines, count = [], 0
    for line in data.split(b"\n"):
        if PROGRESS.fullmatch(line):
            count += 1
            if count > 1:
                continue
            names = rb"\w+" if several else rb"elapsed|speed|left"
            line = re.sub(rb'"(%s)":%s' % (names, NUMBER), rb'"\1":#', line)
        lines.append(line)
    return b"\n".join(lines), count


def arrivals(data):
    """Times of day become distances from the first of them in the file."""
    first = None

    def distance(match):
        nonlocal first
        moment = datetime.datetime.fromisoformat(match[1].decode().replace("Z", "+00:00"))
        first = first or moment
        return b"arrival %+.3f s" % (moment - first).total_seconds()
    return re.subn(rb"(20\d\d-\d\d-\d\dT\d\d:\d\d:\d\d(?:\.\d+)?Z)", distance, data)


def times_behind_gap(data):
    """Behind the first gap, seconds, arrivals and the numbers of pictures that follow become distances from its end."""
    gap = re.search(rb'"type":"gap"[^\n]*?"end":([\d.]+)[^\n]*?"end_time":"arrival ([\d.+]+) s"', data)
    if not gap:
        return data, 0
    count = 0

    def from_end(end):
        def distance(match):
            nonlocal count
            value = float(match[2])
            if value < end - 0.0005:
                return match[0]
            count += 1
            return match[1] + b"gap%+.3f" % (value - end)
        return distance
    data = re.sub(rb'("(?:start|end|peak|time)":)([\d.]+)', from_end(float(gap[1])), data)
    data = re.sub(rb"(arrival )([\d.+-]+)", from_end(float(gap[2])), data)
    end = data.index(b"\n", gap.start())
    number = re.compile(rb'("(?:\w+_)?frame":)(\d+)')
    first = number.search(data, end)
    return data[:end] + number.sub(from_end(float(first[2]) if first else 0), data[end:]), count


def entries(data):
    """Behind the first line, in the order of their paths."""
    first, *rest = data.splitlines(keepends=True)
    return first + b"".join(sorted(rest)), 1


TIMES = rb"took \d+\.\d s, \d+\.\d x real time"

MASKS = [
    Mask("time taken", "how long a scan takes", r"said/\d+\.stderr", pattern(TIMES, rb"took # s, # x real time")),
    Mask("progress json", "how long, and how many lines: one a second", r"said/\d+\.stderr", progress_lines),
    Mask("progress drawn", "a line is drawn four times a second", r"said/\d+\.stderr",
         pattern(rb"(?:\r\x1b\[K(?: *\d+ %  [\d.]+ s  [\d.]+ x  \d+ events?(?:  [\d:]+ left)?)?)+", rb"#"), "terminal"),
    Mask("elapsed of states", "how long a finished input took", r"files/.*\.state",
         pattern(rb'\\"elapsed\\":[\d.e+-]+', rb'\\"elapsed\\":#')),
    Mask("checksums of states", "they are of the time as well", r"files/.*\.state",
         pattern(rb"(?m)^[0-9a-f]{8} (?=\{)", rb"# ")),
    Mask("order of entries", "inputs scanned at a time finish in any order", r"files/.*\.state", entries, "resumed/.*pages"),
    Mask("scripts and style", "of a page: bundled in another way; --scripts compares them, too", r"files/.*\.html",
         pattern(rb"(<(?P<kind>script|style)(?![^>]*application/json)[^>]*>).*?(</(?P=kind)>)", rb"\1#\3")),
    Mask("time of arrival", "a live source has the time of day at which it came", r"(files/.*|said/\d+\.stdout)", arrivals,
         "live"),
    Mask("behind a gap", "a broken source comes back some time", r"(files/.*|said/\d+\.stdout)", times_behind_gap,
         "live"),
    Mask("length with a gap", "how long a source that broke was watched", r"said/\d+\.stderr",
         pattern(rb"(pictures \()\d+\.\d( s\))", rb"\1#\2"), "live-(cut|gone)"),
]


class Masker:
    def __init__(self, without=()):
        self.masks = [mask for mask in MASKS if mask.name not in without]
        self.counts = collections.Counter()

    def __call__(self, run, path, data):
        for mask in self.masks:
            if re.fullmatch(mask.files, path) and re.match(mask.runs, run):
                data, count = mask.apply(data)
                self.counts[mask.name] += count
        return data
