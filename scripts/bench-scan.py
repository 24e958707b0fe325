#!/usr/bin/env python3
"""What does a scan cost, and what does it find?

    scripts/bench-scan.py [--footage FOLDER]            builds, measures, prints tables and writes them into docs/mdscan.md;
                                                        half an hour
    scripts/bench-scan.py [--footage FOLDER] --print    prints only

The machine should have nothing else to do. FOLDER holds real and labelled videos; without it, only the rendered streets are
scanned. BENCH_PRESET: build to measure, release-v3 if not set. ffmpeg (the command) is the yardstick: it decodes the same
file and does nothing else. Clips are kept in build/bench-scan: remove it after changing how they are made.
"""
import argparse
import collections
import json
import os
import pathlib
import re
import subprocess
import sys

from bench_kit import BUILD, ROOT, build, encode_scene, ffmpeg, machine, put, run, say, table

PAGE = ROOT / "docs/mdscan.md"
CLIPS = ROOT / "build/bench-scan"
REPETITIONS = int(os.environ.get("BENCH_REPETITIONS", "3"))

# Minutes in which a thing comes by now and then: how they are rendered, and encoded.
KEYFRAMES = ["-c:v", "libx264", "-preset", "veryfast", "-g", "50", "-keyint_min", "50", "-sc_threshold", "0"]
STREETS = {
    "street.mp4": (["--size", "640x360", "--fps", "25", "--frames", "7500", "--pause-seconds", "110", "--seed", "5"],
                   KEYFRAMES),
    "street-720.mp4": (["--size", "1280x720", "--fps", "25", "--frames", "3750", "--pause-seconds", "110", "--seed", "6"],
                       [*KEYFRAMES, "-b:v", "2M", "-maxrate", "2M", "-bufsize", "4M"]),
    # As cameras send it: no picture that others do not refer to.
    "camera-720.mp4": (["--size", "1280x720", "--fps", "25", "--frames", "2500", "--pause-seconds", "110", "--seed", "6"],
                       [*KEYFRAMES, "-profile:v", "baseline", "-bf", "0", "-b:v", "2M", "-maxrate", "2M", "-bufsize", "4M"]),
}
# Ten minutes in which something crosses the picture within half a second, twelve times.
VISITS = ["--empty", "--wind", "0", "--size", "320x240", "--fps", "25", "--frames", "15000", "--seed", "9"]
CROSSING = ("[0][1]overlay=x='-40+720*mod(t-25\\,48.7)':y=130:enable='gte(t\\,25)*lt(mod(t-25\\,48.7)\\,0.5)'")
VISIT_CLIPS = {"visits.mp4": KEYFRAMES,
               "visits-300k.mp4": [*KEYFRAMES, "-profile:v", "baseline", "-bf", "0", "-b:v", "300k", "-maxrate", "300k",
                                   "-bufsize", "600k"]}
QUIET = ["-ss", "24", "-t", "108"]        # of the second: nothing comes by
DECODE = ["ffmpeg", "-nostdin", "-v", "error", "-threads", "{threads}", "-i", "{file}", "-an", "-vsync", "passthrough",
          "-f", "null", "-"]


def clip(name, make):
    """A clip that is made once: make gets the path to write."""
    path = CLIPS / name
    if not path.exists():
        say(f"making {name}")
        CLIPS.mkdir(parents=True, exist_ok=True)
        part = path.with_name("part." + name)
        make(part)
        part.rename(path)
    return path


def rendered(name):
    scene, options = STREETS[name]
    return clip(name, lambda path: encode_scene(scene, *options, path))


Run = collections.namedtuple("Run", "cpu wall memory output")      # seconds, seconds, MiB, what was printed


def once(command, cores):
    def confine():
        os.sched_setaffinity(0, sorted(os.sched_getaffinity(0))[:cores])
    read, write = os.pipe()
    child = subprocess.Popen([str(word) for word in command], stdout=write, stderr=write, preexec_fn=confine)
    os.close(write)
    began = os.times().elapsed
    with os.fdopen(read) as pipe:
        output = pipe.read()
    _, status, usage = os.wait4(child.pid, 0)
    wall = os.times().elapsed - began
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode not in (0, 3):
        sys.exit(f"bench: {command} ends with {child.returncode}")
    return Run(usage.ru_utime + usage.ru_stime, wall, usage.ru_maxrss / 1024, output)


def in_turn(commands):
    """The least figures of several runs of each, and what it printed. In turn: they share the machine's moods."""
    rounds = [[once(command, cores) for command, cores in commands] for _ in range(REPETITIONS)]
    return [Run(min(run.cpu for run in runs), min(run.wall for run in runs), min(run.memory for run in runs),
                runs[-1].output) for runs in zip(*rounds)]


def events_of(output):
    lines = [json.loads(line) for line in output.splitlines() if line.startswith("{")]
    return [line for line in lines if line["type"] == "event"]


def common(these, those):
    """Seconds that lie in an event of both."""
    return sum(max(0, min(a["end"], b["end"]) - max(a["start"], b["start"])) for a in these for b in those)


def cost_tables(files):
    cost, recall = [], []
    for file in files:
        say(f"scanning {file.name}")
        decode = [word.format(threads=1, file=file) for word in DECODE]
        keys = decode[:4] + ["-skip_frame", "nokey"] + decode[4:]
        decode_pair = [word.format(threads=2, file=file) for word in DECODE]
        scan = [BUILD / "mdscan", file]
        alone, keyframes, one, fast, pair, two, fast_two = in_turn(
            [(decode, 1), (keys, 1), (scan, 1), (scan + ["--fast"], 1), (decode_pair, 2), (scan, 2), (scan + ["--fast"], 2)])
        cost.append([file.name, f"{alone.cpu:.2f}",
                     *(f"{run.cpu:.2f} ({run.cpu / alone.cpu:.2f})" for run in (one, fast, keyframes)),
                     f"{pair.wall:.2f}", *(f"{run.wall:.2f} ({run.wall / pair.wall:.2f})" for run in (two, fast_two)),
                     f"{one.memory:.0f}"])
        groups = fast.output.split("decoded ")[1].split(" groups")[0]
        whole, fast = events_of(one.output), events_of(fast.output)
        found = sum(1 for event in whole if common([event], fast) > 0)
        length = common(whole, whole)
        recall.append([file.name, groups, f"{len(whole)}", f"{found}", f"{len(fast)}",
                       f"{100 * common(whole, fast) / length:.1f} %" if length else "-"])
    return (table(["video", "decoding", "mdscan", "--fast", "keyframes alone", "decoding, 2 cores", "mdscan, 2 cores",
                   "--fast, 2 cores", "MiB"], cost),
            table(["video", "groups decoded", "events", "found with --fast", "found in all", "time in events found"],
                  recall))


def visits(name):
    crossing = ["-f", "lavfi", "-i", "testsrc2=size=40x60:rate=25", "-filter_complex", CROSSING, "-t", "600"]
    return clip(name, lambda path: encode_scene(VISITS, *crossing, *VISIT_CLIPS[name], path))


def visit_table():
    rows = []
    for name in VISIT_CLIPS:
        say(f"scanning {name}")
        scan = [BUILD / "mdscan", "--min-duration", "0", visits(name)]
        whole, fast = once(scan, 1), once(scan + ["--fast"], 1)
        there = events_of(whole.output)
        found = sum(1 for event in there if common([event], events_of(fast.output)) > 0)
        by_size = re.search(r", (\d+) because much is stored", fast.output)
        rows.append([name, fast.output.split("decoded ")[1].split(" groups")[0], by_size[1] if by_size else "0",
                     f"{len(there)}", f"{found}"])
    return table(["video", "groups decoded", "by their size", "events", "found with --fast"], rows)


def memory_table(street):
    small = clip("small.mp4", lambda path: ffmpeg("-i", street, "-t", "60", "-vf", "scale=160:90", *KEYFRAMES, path))
    rows = []
    for hours, container in ((1, "ts"), (4, "ts"), (1, "mp4"), (4, "mp4")):
        long = clip(f"{hours}h.{container}",
                    lambda path: ffmpeg("-stream_loop", str(60 * hours - 1), "-i", small, "-c", "copy", path))
        for option in ([], ["--fast"]):
            say(f"scanning {hours} hours {' '.join(option)}")
            scan = once([BUILD / "mdscan", *option, long], 2)
            name = f"{hours} h, {'MPEG-TS' if container == 'ts' else 'MP4'} {' '.join(option)}".strip()
            rows.append([name, f"{len(events_of(scan.output))}", f"{scan.memory:.0f}"])
    return table(["160x90 pictures", "events", "MiB at most"], rows)


def rate_tables(footage):
    folders = sorted(path.parent for path in footage.glob("labelled/*/temporalROI.txt")) if footage else []
    if not folders:
        say(f"rates skipped: no labelled sequences in {footage}" if footage else "rates skipped: no --footage")
        return None
    say("comparing rates and settings")
    printed = run([BUILD / "coreMD_rates", *folders], stdout=subprocess.PIPE, text=True).stdout
    lines = [json.loads(line) for line in printed.splitlines()]
    names = sorted({line["sequence"] for line in lines})

    def cells(setting, rate, block):
        row = []
        for name in names:
            wanted = (name, setting, rate, block)
            line = next(l for l in lines if (l["sequence"], l["setting"], l["rate"], l["block"]) == wanted)
            still = f"{100 * line['false_alarms'] / line['still']:.0f} %" if line["still"] else "-"
            row += [f"{100 * line['missed'] / line['moving']:.1f} %", still, f"{line['block_f']:.2f}",
                    f"{line['events_found']}/{line['events']}", f"{line['found_false']}"]
        return row

    keys = list(dict.fromkeys((line["setting"], line["rate"], line["block"]) for line in lines))
    head = [f"{what}, {name.split('_')[1]}" for name in names for what in ("missed", "false", "F", "events", "false events")]
    rates = [[f"{rate:g}", *cells(setting, rate, block)] for setting, rate, block in keys if setting == "rate"]
    partly = [[f"{rate:g}, as partly decoded H.264", *cells(setting, rate, block)] for setting, rate, block in keys
              if setting.startswith("partly")]
    others = [[f"{setting} {block}" if setting == "block" else setting, *cells(setting, rate, block)]
              for setting, rate, block in keys if setting != "rate" and not setting.startswith("partly")]
    return table(["rate", *head], rates + partly), table(["at a rate of 6, blocks of 2 pixels, but", *head], others)


def text(footage):
    streets = [rendered(name) for name in STREETS]
    camera = streets.pop()
    streets.append(clip("quiet-720.mp4", lambda path: ffmpeg(*QUIET, "-i", streets[1], "-c", "copy", path)))
    streets.append(camera)
    files = [*streets, *(sorted([*footage.glob("*.mp4"), *footage.glob("*.avi")]) if footage else [])]
    if files == streets:
        say(f"real videos skipped: none in {footage}" if footage else "real videos skipped: no --footage")
    cost, recall = cost_tables(files)
    version = run(["ffmpeg", "-version"], stdout=subprocess.PIPE, text=True).stdout.split()[2]
    parts = [f"`./dev bench scan` measured this: {machine()}, FFmpeg {version}. Runs: {REPETITIONS}, the least of them "
             "counts. "
             + "".join(f"`{name}` is `mdscene {' '.join(scene)}`, encoded with `{' '.join(options)}`; "
                       for name, (scene, options) in STREETS.items())
             + f"`quiet-720.mp4` is a part of `street-720.mp4`, `{' '.join(QUIET)}`; others are public footage.\n",
             "Processor seconds on one core, then wall seconds on two; in brackets, times those of "
             f"`{' '.join(DECODE).format(threads='N', file='VIDEO')}` with as many threads:\n", cost,
             "What `--fast` finds of a whole scan's events:\n", recall,
             "Likewise of things that cross the picture within half a second, with `--min-duration 0`, where the encoder "
             "keeps its quality and where it keeps its bit rate:\n", visit_table(),
             "Memory does not grow with the video. What grows is FFmpeg's table of the pictures in an MP4 file, three times "
             "with `--fast`; of one run:\n", memory_table(streets[0])]
    rates = rate_tables(footage)
    if rates:
        parts += ["Labelled sequences of 25 pictures a second, from every start phase (`coreMD_rates`): frames with motion "
                  "that were missed, frames without motion in which something was found, F-measure of blocks, events found "
                  "of those there are, events found where there is none:\n", rates[0], rates[1]]
    return "\n".join(parts)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--footage", type=pathlib.Path, help="folder of real and labelled videos")
    parser.add_argument("--print", action="store_true", help="print only, write nothing")
    arguments = parser.parse_args()
    build("mdscan", "mdscene", "coreMD_rates")
    result = text(arguments.footage)
    print(result)
    if not arguments.print:
        put(PAGE, result)


if __name__ == "__main__":
    main()
