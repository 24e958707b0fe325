#!/usr/bin/env python3
"""What does the element coremd cost and find, beside motioncells?

    scripts/bench-gstreamer.py [--footage FOLDER] [SEQUENCE...]     builds, measures, writes tables into docs/gstreamer.md
    ... --print                                                     prints them, writes nothing

Both see the same pictures in one pipeline, each in a thread of its own, whose processor time counts from when a picture
enters the element until it leaves it. SEQUENCE: labelled pictures, as coreMD_accuracy --help says; by default those in
labelled/ of the footage. BENCH_PRESET: build to measure, release-v3 if not set.
"""
import argparse
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

from bench_kit import (BUILD, ROOT, build, encode_scene, labelled_in, machine, numbered_inputs, percent, prose, put, run,
                       say, table)
from grey_png import grey_png

os.environ["OPENCV_FOR_THREADS_NUM"] = "1"  # a thread's time is what it costs only where no others help it
os.environ["GST_PLUGIN_PATH"] = str(BUILD / "gstreamer")
import gi  # noqa: E402 (reads the environment)

gi.require_version("Gst", "1.0")
from gi.repository import Gst  # noqa: E402 (its version is asked for first)

PAGE = ROOT / "docs/gstreamer.md"
WIDTH, HEIGHT, RATE, PICTURES = 1280, 720, 25, 500
SCENE = ["--size", f"{WIDTH}x{HEIGHT}", "--fps", str(RATE), "--frames", str(PICTURES), "--seed", "6"]
REPETITIONS = int(os.environ.get("BENCH_REPETITIONS", "5"))

# What is measured, by the name that its row has.
COST = {"coremd": "coremd name={}", "coremd rate=0": "coremd rate=0 name={}",
        "videoconvert to RGB": "videoconvert name={} ! video/x-raw,format=RGB",
        "motioncells": "videoconvert ! video/x-raw,format=RGB ! motioncells display=false name={}"}
FOUND = {"coremd": "coremd json=true name={}", "coremd rate=0": "coremd rate=0 json=true name={}",
         "motioncells": "motioncells display=false postallmotion=true name={}",
         "motioncells sensitivity=0.9": "motioncells display=false postallmotion=true sensitivity=0.9 name={}",
         "motioncells gridx=32 gridy=32": "motioncells display=false postallmotion=true gridx=32 gridy=32 name={}"}
HELD = 5  # motioncells looks at each fifth picture of 25 a second; what it marks counts until the next one


def pipeline_of(source, elements):
    """A pipeline in which all of them see what comes from the source."""
    branches = "".join(f" split. ! queue ! {words.format(f'it{i}')} ! fakesink sync=false"
                       for i, words in enumerate(elements.values()))
    pipeline = Gst.parse_launch(f"{source} ! tee name=split{branches}")
    return pipeline, {name: pipeline.get_by_name(f"it{i}") for i, name in enumerate(elements)}


def play(pipeline):
    pipeline.set_state(Gst.State.PLAYING)
    end = pipeline.get_bus().timed_pop_filtered(Gst.CLOCK_TIME_NONE, Gst.MessageType.EOS | Gst.MessageType.ERROR)
    pipeline.set_state(Gst.State.NULL)
    if end.type == Gst.MessageType.ERROR:
        sys.exit(f"bench: {end.parse_error()[0].message}")


def probe(element, pad, act):
    def on_buffer(_pad, info):
        act(info.get_buffer())
        return Gst.PadProbeReturn.OK
    element.get_static_pad(pad).add_probe(Gst.PadProbeType.BUFFER, on_buffer)


class Stopwatch:
    """Processor time from a picture's arrival at an element to its departure; both are in the same thread."""

    def __init__(self, element):
        self.seconds = []
        probe(element, "sink", lambda _buffer: setattr(self, "begin", time.thread_time()))
        probe(element, "src", lambda _buffer: self.seconds.append(time.thread_time() - self.begin))


def costs():
    """Milliseconds for a picture, the mean of all; of several runs the least."""
    least = {name: float("inf") for name in COST}
    with tempfile.NamedTemporaryFile(suffix=".yuv") as pictures:
        encode_scene(SCENE, "-f", "rawvideo", "-pix_fmt", "yuv420p", pictures.name)
        source = (f"filesrc location={pictures.name} blocksize={WIDTH * HEIGHT * 3 // 2}"
                  f" ! rawvideoparse width={WIDTH} height={HEIGHT} format=i420 framerate={RATE}/1")
        for turn in range(REPETITIONS):
            say(f"timing, {turn + 1} of {REPETITIONS}")
            pipeline, elements = pipeline_of(source, COST)
            watches = {name: Stopwatch(element) for name, element in elements.items()}
            play(pipeline)
            for name, watch in watches.items():
                if len(watch.seconds) != PICTURES:
                    sys.exit(f"bench: {name} passed {len(watch.seconds)} of {PICTURES} pictures")
                least[name] = min(least[name], 1000 * statistics.mean(watch.seconds))
    return least


class Marks:
    """What is found in each picture: boxes in pixels. Those between two analysed ones have what the first of these had."""

    def __init__(self, element, width, height):
        self.element, self.size, self.boxes = element, (width, height), []
        self.last, self.left = [], 0  # what was found, and for how many pictures it counts
        self.is_ours = element.get_factory().get_name() == "coremd"
        probe(element, "src", self.on_departure)

    def on_departure(self, buffer):
        if self.is_ours:
            objects = json.loads(buffer.get_custom_meta("GstCoremdMeta").get_structure().get_string("json"))["objects"]
            self.last, self.left = [(one["x"], one["y"], one["width"], one["height"]) for one in objects], 1
        self.boxes.append(self.last if self.left > 0 else [])
        self.left -= 1

    def on_cells(self, indices):
        """Posted just before the picture leaves: "row:column,row:column"."""
        across, down = self.element.get_property("gridx"), self.element.get_property("gridy")
        width, height = self.size
        self.last, self.left = [], HELD
        for row, column in (map(int, cell.split(":")) for cell in indices.split(",") if cell):
            left, top = column * width // across, row * height // down
            self.last.append((left, top, (column + 1) * width // across - left, (row + 1) * height // down - top))


def mask_png(width, height, boxes):
    """Black, white in the boxes."""
    rows = [bytearray(width) for _ in range(height)]
    for left, top, across, down in boxes:
        for row in rows[top:top + down]:
            row[left:left + across] = b"\xff" * len(row[left:left + across])
    return grey_png(rows)


def found_in(sequence, place):
    """Folders of masks by the elements' names."""
    pattern, first = numbered_inputs(sequence)
    inputs = list((sequence / "input").glob("*.jpg"))
    source = (f'multifilesrc location="{pattern}" start-index={int(first)} caps=image/jpeg,framerate={RATE}/1'
              " ! jpegdec ! videoconvert ! video/x-raw,format=I420")
    elements = {name: ("videoconvert ! " if "motioncells" in name else "") + words for name, words in FOUND.items()}
    size = Gst.parse_launch(f'filesrc location="{inputs[0]}" ! jpegdec ! fakesink name=end')
    size.set_state(Gst.State.PAUSED)
    size.get_state(Gst.CLOCK_TIME_NONE)
    caps = size.get_by_name("end").get_static_pad("sink").get_current_caps().get_structure(0)
    size.set_state(Gst.State.NULL)
    width, height = caps.get_value("width"), caps.get_value("height")
    pipeline, named = pipeline_of(source, elements)
    marks = {name: Marks(element, width, height) for name, element in named.items()}
    by_element = {mark.element: mark for mark in marks.values()}

    def at_once(_bus, message):
        structure = message.get_structure()
        if message.type == Gst.MessageType.ELEMENT and structure.get_name() == "motion":
            by_element[message.src].on_cells(structure.get_string("motion_cells_indices") or "")
        return Gst.BusSyncReply.PASS
    pipeline.get_bus().set_sync_handler(at_once)
    play(pipeline)
    folders = {}
    for i, (name, mark) in enumerate(marks.items()):
        if len(mark.boxes) != len(inputs):
            sys.exit(f"bench: {name} passed {len(mark.boxes)} of {len(inputs)} pictures of {sequence}")
        folders[name] = place / str(i)
        folders[name].mkdir()
        for number, boxes in enumerate(mark.boxes):
            (folders[name] / f"{number}.png").write_bytes(mask_png(width, height, boxes))
    return folders


def finds(sequence):
    """Figures by the elements' names."""
    say(f"looking at {sequence.name}")
    with tempfile.TemporaryDirectory() as place:
        folders = found_in(sequence, pathlib.Path(place))
        words = [word for i, folder in enumerate(folders.values()) for word in ("--found", f"{i}={folder}")]
        printed = run([BUILD / "coreMD_accuracy", "--lines", *words, sequence], stdout=subprocess.PIPE, text=True).stdout
    lines = {line["subject"]: line for line in map(json.loads, printed.splitlines())}
    return {name: lines[str(i)]["sequences"][sequence.name] for i, name in enumerate(folders)}


COST_RULES = """`./dev bench gstreamer` measured this: {machine}, GStreamer {version}. Milliseconds of processor time for a
    picture of {width}×{height} in I420, the mean of {pictures} pictures at {rate} a second, of which coremd analyses six a
    second, or all with `rate=0`, and motioncells five; of {repetitions} runs the least. All see the same pictures in one
    pipeline; OpenCV may use one thread. `motioncells` takes RGB only, so that what a camera sends has to
    be converted for it; its row is without, and nothing is drawn."""
FOUND_RULES = """What each finds in labelled sequences, scored as in [Accuracy](accuracy.md): *missed*, pictures with
    motion in which nothing is marked; *false*, pictures without motion in which something is; events of the thirds of the
    picture. What is marked counts until the next analysed picture: coremd's boxes, which are larger than what moves, and
    the cells of motioncells, 10×10 in a picture if nothing is said, 32×32 at most."""


def cost_table(least):
    rows = [[f"`{name}`" if " to " not in name else name, f"{value:.3f}", f"{value / least['motioncells']:.2f}"]
            for name, value in least.items()]
    return table(["element", "ms for a picture", "times motioncells"], rows)


def found_table(figures):
    rows = []
    for sequence, elements in figures.items():
        for name, one in elements.items():
            thirds = [sum(column) for column in zip(*one["thirds"])]
            false = f"{one['false'] * one['still']:.0f} of {one['still']}"
            rows.append([sequence, f"`{name}`", percent(one["missed"]), false,
                         f"{thirds[1]} of {thirds[0]}, {thirds[2]}", f"{one['precision']:.2f}", f"{one['recall']:.2f}"])
    return table(["sequence", "element", "missed", "false", "events found, false ones", "precision of what is marked",
                  "recall"], rows)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--footage", type=pathlib.Path, help="a folder whose labelled/ holds labelled sequences")
    parser.add_argument("--print", action="store_true", help="print only, write nothing")
    parser.add_argument("sequences", nargs="*", type=pathlib.Path, metavar="SEQUENCE", help="a labelled sequence")
    arguments = parser.parse_args()
    sequences = arguments.sequences or labelled_in(arguments.footage)
    build("gstcoremd", "mdscene", "coreMD_accuracy")
    Gst.init(None)
    missing = [name for name in ("coremd", "motioncells", "jpegdec") if not Gst.ElementFactory.find(name)]
    if missing:
        sys.exit("bench: there is no element " + ", ".join(missing))
    rules = COST_RULES.format(machine=machine(), version=Gst.version_string().split()[1], width=WIDTH, height=HEIGHT,
                              pictures=PICTURES, rate=RATE, repetitions=REPETITIONS)
    parts = [prose(rules), cost_table(costs())]
    if sequences:
        parts += [prose(FOUND_RULES), found_table({sequence.name: finds(sequence) for sequence in sequences})]
    else:
        say("what is found: skipped, no labelled sequences; name their folders")
    result = "\n".join(parts)
    print(result)
    if not arguments.print:
        put(PAGE, result)


if __name__ == "__main__":
    main()
