"""What do the compared programs read?  Makes small inputs of which every byte is known: pictures, zones, damaged videos.

All of it lies in one folder that both programs read; nothing in it is ever changed by a run.
"""
import json
import pathlib
import subprocess

from grey_png import grey_png

WIDTH, HEIGHT, FRAMES_PER_SECOND = 96, 72, 25
PART = 300  # pictures of a numbered sequence; what more of them would show, videos show
VIDEO_ENDINGS = {".avi", ".flv", ".gif", ".h264", ".mkv", ".mov", ".mp4", ".png", ".ts", ".y4m"}


def square_picture(time):
    """Planes of 4:2:0. A bright square crosses within the seconds 1 to 2.6 and 4 to 5 of a textured, still picture."""
    luma = bytearray((60 + (x * 7 + y * 13) % 40) for y in range(HEIGHT) for x in range(WIDTH))
    for begin, end, top in ((1, 2.6, 20), (4, 5, 44)):
        if begin <= time < end:
            left = int((WIDTH - 16) * (time - begin) / (end - begin))
            for y in range(top, top + 16):
                luma[y * WIDTH + left:y * WIDTH + left + 16] = bytes([220]) * 16
    return bytes(luma) + bytes([118]) * (WIDTH * HEIGHT // 4) + bytes([134]) * (WIDTH * HEIGHT // 4)


def raw_video(seconds):
    head = f"YUV4MPEG2 W{WIDTH} H{HEIGHT} F{FRAMES_PER_SECOND}:1 Ip A1:1 C420jpeg\n".encode()
    pictures = (square_picture(i / FRAMES_PER_SECOND) for i in range(int(seconds * FRAMES_PER_SECOND)))
    return head + b"".join(b"FRAME\n" + picture for picture in pictures)


def png(width, height, level):
    """Grey, 8 bits; level(x, y) as fractions of the picture."""
    return grey_png([bytes(level(x / width, y / height) for x in range(width)) for y in range(height)])


ZONES = {"zones": [
    {"name": "left half", "polygon": [[0, 0], [0.5, 0], [0.5, 1], [0, 1]], "min_size": 0.05},
    {"name": "corner", "polygon": [[0.4, 0.2], [1, 0.1], [1, 0.95], [0.6, 0.7]]},
    {"name": "tree", "polygon": [[0.8, 0], [1, 0], [1, 0.2]], "exclude": True},
    {"name": "ellipse", "mask": "mask.png"},
]}

CONFIG = """\
# every kind of value, quotes and comments
rate = 4    # pictures
shadows = true
frames = false
min-size = 0.05
block = 8
merge-gap = "1.5"
csv = 'from the file.csv'
zone = 0,0,1,0.9
zone = 0.2,0.2,0.5,0.5
"""


class Inputs:
    """folder: new; footage, media: folders to read, or None and an empty list; make_clips: a program, or None."""

    def __init__(self, folder, root, footage, media, make_clips):
        self.folder = pathlib.Path(folder)
        self.crossing = root / "samples/crossing.mp4"
        self.media = sorted(path for place in media for path in pathlib.Path(place).iterdir()
                            if path.suffix in VIDEO_ENDINGS and path.is_file())
        if not self.media:
            raise SystemExit(f"no media in {', '.join(map(str, media))}")
        self._write_small()
        self._write_damaged()
        self.videos, self.sequences, self.parts = [], [], []
        if footage:
            self._find_footage(pathlib.Path(footage))
        self.recordings = self._make_recordings(make_clips)
        self.content = self.fingerprint()
        self.films = [self.crossing, self.raw, *self.videos, *self.parts]

    def write(self, name, data):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data if isinstance(data, bytes) else data.encode())
        return path

    def fingerprint(self):
        """Changes when a program writes where it should only read."""
        return {path: (path.lstat().st_mtime_ns, path.lstat().st_size) for path in [self.folder, *self.folder.rglob("*")]}

    def _write_small(self):
        self.raw = self.write("square.y4m", raw_video(6))
        self.mask = self.write("mask.png", png(80, 60, lambda x, y: 255 if (x - .5) ** 2 + (y - .6) ** 2 < .16 else 0))
        self.zones = self.write("zones.json", json.dumps(ZONES))
        self.config = self.write("some.conf", CONFIG)
        self.text = self.write("text.mp4", "This is a text.\n")
        self.empty = self.write("empty.avi", "")

    def _write_damaged(self):
        whole = self.crossing.read_bytes()
        hurt = bytearray(whole)
        for place in range(len(whole) // 3, len(whole) * 9 // 10, len(whole) // 7):
            hurt[place:place + 48] = bytes(48)
        self.damaged = [self.write("damaged/cut.mp4", whole[:len(whole) * 7 // 10]),
                        self.write("damaged/hurt.mp4", bytes(hurt)),
                        self.write("damaged/cut.y4m", self.raw.read_bytes()[:-5000]),
                        self.write("damaged/deep/noise.ts", bytes((i * i // 7 + i // 3) % 251 for i in range(40000)))]

    def _find_footage(self, footage):
        self.videos = sorted(path for path in footage.iterdir() if path.suffix in VIDEO_ENDINGS)
        for path in sorted(footage.glob("labelled/*/input")):
            pictures = sorted(path.glob("in*.jpg"))
            self.sequences.append(path / "in%06d.jpg")
            part = self.folder / "sequences" / path.parent.name
            part.mkdir(parents=True)
            for picture in pictures[len(pictures) // 2:][:PART]:
                (part / f"in{len(list(part.iterdir())):06d}.jpg").symlink_to(picture.resolve())
            self.parts.append(part / "in%06d.jpg")

    def _make_recordings(self, make_clips):
        if not make_clips:
            return []
        for words in (["recordings"], ["broadcasts", "live"]):
            subprocess.run([make_clips, self.folder / words[0], *words[1:]], check=True)
        return sorted(path for place in ("recordings", "broadcasts") for path in (self.folder / place).rglob("*.*"))
