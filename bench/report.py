#!/usr/bin/env python3
"""What do the benchmarks say?  Reads what they wrote (one JSON file per build and part), takes the best repetition of each
figure, prints the tables and, where asked, writes them as docs/performance.md and the data of its plot.
Called by scripts/bench.sh; Python's standard library only."""

import argparse
import json
import pathlib
import re
import sys

GRIDS = ["80x45", "240x135", "480x270", "1920x1080"]
USUAL = "240x135"
LEVELS = {"release-plain": "without AVX2", "release": "as released", "release-v3": "x86-64-v3"}
PASSES = [  # what a row says, the scene's name up to the caches
    ("still scene", "pass/still/standard/1"),
    ("camera noise", "pass/noise/standard/1"),
    ("1 % moving in 5 objects, 1 zone", "pass/moving/standard/1"),
    ("1 % moving in 5 objects, 4 zones", "pass/moving/standard/4"),
    ("1 % moving in 5 objects, 16 zones", "pass/moving/standard/16"),
    ("10 % random noise, objects that merge", "pass/random/standard/1"),
    ("lattice of single blocks", "pass/lattice/standard/1"),
    ("one object covering the grid", "pass/cover/standard/1"),
    ("shadow detection, 5 % foreground", "pass/shadow5/standard/1"),
    ("shadow detection, 100 % foreground", "pass/shadow100/standard/1"),
]
INPUTS = [("complete pictures", "standard"), ("the same, objects not limited to motion", "unlimited"),
          ("MPEG-4 with reference luma", "mpeg4"), ("partly decoded H.264, one I-frame in ten", "partly")]
PEERS = [("MOG2", "mog2"), ("MOG2 without shadows", "mog2-no-shadow"), ("KNN", "knn"),
         ("KNN without shadows", "knn-no-shadow"), ("CNT, luma only", "cnt"), ("running average, luma only", "average")]
BOX_STAGES = ["contours", "components"]  # those of the stages below that tell where each object is
REDUCED = [("yuv420", "4:2:0"), ("nv12", "NV12"), ("p010", "P010"), ("yuv420p10", "4:2:0 of 10 bits")]
OBJECT_STAGES = [("contours with bounding boxes", "contours"), ("labels alone", "labels"),
                 ("components with statistics", "components")]


class Figure:
    """The best repetition: each number for itself, since whatever disturbs a run makes it slower, never faster."""

    def __init__(self):
        self.values = {}

    def add(self, benchmark):
        numbers = {k: v for k, v in benchmark.items() if isinstance(v, (int, float))}
        for key, value in numbers.items():
            self.values[key] = min(value, self.values.get(key, value))

    ns = property(lambda self: self.values["ns_block"])
    yardstick = property(lambda self: self.values["yard_ns_block"])
    ratio = property(lambda self: self.ns / self.yardstick)
    microseconds = property(lambda self: self.values["real_time"])
    objects = property(lambda self: self.values.get("objects", 0))
    ns_object = property(lambda self: self.microseconds * 1000 / self.objects)
    ratio_object = property(lambda self: self.ns_object / self.yardstick)


class Results:
    def __init__(self, folder):
        self.levels, self.context = {}, {}
        for path in sorted(pathlib.Path(folder).glob("*.json")):
            try:
                content = json.loads(path.read_text())
            except ValueError as error:
                sys.exit(f"report: {path}: {error}")
            context = content["context"]
            if not self.context or context["date"] > self.context["date"]:
                self.context = context
            figures = self.levels.setdefault(context["level"], {})
            for benchmark in content["benchmarks"]:
                if benchmark.get("error_occurred"):
                    sys.exit(f"report: {path}: {benchmark['name']}: {benchmark['error_message']}")
                if benchmark["run_type"] == "iteration":
                    name = re.sub(r"/iterations:.*", "", benchmark["run_name"])
                    figures.setdefault(name, Figure()).add(benchmark)
        if not self.levels:
            sys.exit(f"report: {folder}: no results")
        self.order = [level for level in LEVELS if level in self.levels]

    def get(self, level, name):
        return self.levels.get(level, {}).get(name)


def table(header, rows, out):
    """Markdown; columns but the first are numbers. Rows without any number are left out."""
    rows = [row for row in rows if any(cell not in ("", "–") for cell in row[1:])]
    if not rows:
        return
    cells = [header] + rows
    widths = [max(len(row[i]) for row in cells) for i in range(len(header))]
    pad = lambda row: [row[0].ljust(widths[0])] + [c.rjust(w) for c, w in zip(row[1:], widths[1:])]
    out.append("| " + " | ".join(pad(header)) + " |")
    out.append("|" + "|".join(["-" * (widths[0] + 2)] + ["-" * (w + 1) + ":" for w in widths[1:]]) + "|")
    out.extend("| " + " | ".join(pad(row)) + " |" for row in rows)
    out.append("")


def number(value):
    return f"{value:.2f}" if value < 10 else f"{value:.1f}" if value < 100 else f"{value:,.0f}".replace(",", " ")


def both(figure):
    """ns per block and, in brackets, the ratio."""
    return f"{number(figure.ns)} ({number(figure.ratio)})" if figure else "–"


# Scene and loops as count-instructions.sh names them; what a row says; what the same scene took before the loops and the
# search for objects were written anew; what is aimed at, and whether the C library's bytes count.
COUNTED = [("noise avx2", "camera noise, AVX2 loops, a block", 43.6, 28, False),
           ("still avx2", "still scene, AVX2 loops, a block", 35.6, 20, False),
           ("noise plain", "camera noise, plain loops, a block", 98.6, None, False),
           ("noise plain", "the same, the C library's bytes included", 104.6, 70, True),
           ("still plain", "still scene, plain loops, a block", 80.9, None, False),
           ("lattice avx2", "lattice of 30 916 objects, 480x270, an object", 1835.8, 918, False),
           ("random avx2", "10 % random noise with merging, thousands a frame", 7916.6, 4750, False),
           ("cover avx2", "one object covering the grid, a block, beyond noise", 133.4, 66.7, False)]


def judged(value, limit):
    return ["" if limit is None else f"≤ {number(limit)}",
            "" if limit is None else "met" if value <= limit else "**missed**"]


def instructions(path, out):
    lines = pathlib.Path(path).read_text().splitlines() if path else []
    counted = {" ".join(fields[:2]): [float(field) for field in fields[4:6]]
               for fields in map(str.split, lines) if len(fields) == 7 and fields[1] in ("avx2", "plain")}
    out.append("## Instructions\n")
    if not counted:
        out.append("None were counted: `scripts/count-instructions.sh` says why.\n")
        return
    out.append("No clock is as steady as a count, and none carries over from one machine to another. "
               "`scripts/count-instructions.sh` lets callgrind count what whole frames take that are handed over: scenes of "
               "the benchmarks, 240x135 blocks unless another grid is named, one zone, everything known, built by g++ 12. "
               "What the C library takes to copy and to clear, where a byte counts as one, is left out where nothing is "
               "said.\n")
    rows = []
    for name, what, before, limit, with_library in COUNTED:
        if name in counted:
            own, library = counted[name]
            value = own + library if with_library else own
            rows.append([what, number(before), number(value)] + judged(value, limit))
    table(["", "before", "now", "aim", ""], rows, out)
    out.append("What is missed, and why: with noise, most is learning and the window sums, and g++ 12 widens bytes to "
               "floats, and narrows them again, in more steps than AVX2 or plain x86-64 needs. In the still scene the sums "
               "stay as they are, but every block is judged and learned from anew. The frame of random noise is mostly the "
               "merge itself: all boxes grow into one, by a rule of sweeps that the result shows. The large object is "
               "mostly its growth, block by block, because the order of its blocks is part of the result. The script's "
               "`--functions` tells what each function takes; `scripts.blocks_take_few_instructions` fails where one of "
               "these counts grows.\n")


def targets(results, main, quick, out):
    rows = []

    def judge(what, value, limit):
        if value is None:
            if not quick:
                rows.append([what, "–", f"≤ {limit}", "not measured"])
            return
        rows.append([what, number(value), f"≤ {limit}", "met" if value <= limit else "**missed**"])

    moving = f"moving/{USUAL}"
    ours = results.get(main, f"pass/moving/standard/1/warm/{USUAL}")
    boxes = [results.get(main, f"peer/{name}/{moving}") for name in BOX_STAGES]
    boxes = [figure for figure in boxes if figure]
    for what, name, limit in [("part of CNT with boxes", "cnt", 1.2), ("part of MOG2 with boxes", "mog2", 0.25)]:
        figure = results.get(main, f"peer/{name}/{moving}")
        judge(f"moving scene, {what}",
              ours.ns / (figure.ns + min(s.ns for s in boxes)) if ours and figure and boxes else None, limit)
    cold = results.get(main, f"pass/noise/standard/1/cold/{USUAL}")
    judge("camera noise, cold caches, part of `memcpy` as cold", cold and cold.ratio, 1.8)
    for threads in (1, 2):
        turns = [results.get(main, f"scaling/{threads}/{count}") for count in (8, 16, 32, 64)]
        turns = [figure for figure in turns if figure]
        judge(f"8 to 64 detectors in turn, {threads} thread{'s' * (threads > 1)}, part of as many `memcpy`, the worst",
              max(figure.ratio for figure in turns) if turns else None, 1.8)
    small, large = (results.get(main, f"pass/lattice/standard/1/warm/{grid}") for grid in (USUAL, "480x270"))
    judge("lattice, four times the objects, part of the time of one", small and large and
          large.microseconds / small.microseconds, 5)
    for name, what in REDUCED:
        for across in (1920, 3840):
            figures = [results.get(main, f"host/{part}/{name}/{across}") for part in ("BlockReducer", "reading")]
            judge(f"block reduction, {what}, {across} pixels across, part of reading the samples",
                  figures[0].microseconds / figures[1].microseconds if all(figures) else None, 1.1)
    out.append("## What is aimed at\n")
    out.append(f"{USUAL} blocks, {LEVELS[main]}. Nanoseconds do not carry over from one machine to another, and parts of a "
               "`memcpy` from cache do not either: these are parts of what others take for the same on the same machine in "
               "the same run, or of what memory takes; what is aimed at beside them is counted (Instructions).\n")
    table(["", "measured", "aim", ""], rows, out)


def levels(results, out):
    out.append("## Builds\n")
    out.append(f"{USUAL} blocks, warm caches; ns per block and, in brackets, the ratio to the yardstick.\n")
    table([""] + [LEVELS[level] for level in results.order],
          [[what] + [both(results.get(level, f"{name}/warm/{USUAL}")) for level in results.order] for what, name in PASSES] +
          [["camera noise, cold caches"] +
           [both(results.get(level, f"pass/noise/standard/1/cold/{USUAL}")) for level in results.order]] +
          [[f"shadow stage alone, {share} % foreground"] +
           [both(results.get(level, f"stage/shadow{share}/{USUAL}")) for level in results.order]
           for share in (5, 100)], out)


def grids(results, main, out):
    for caches, remark in [("warm", ""), ("cold", " The largest grid fits no cache: its warm figures are cold ones.")]:
        out.append(f"## Grids, {caches} caches, {LEVELS[main]}\n")
        out.append(f"ns per block and, in brackets, the ratio to the yardstick.{remark}\n")
        table([""] + GRIDS, [[what] + [both(results.get(main, f"{name}/{caches}/{grid}")) for grid in GRIDS]
                             for what, name in PASSES], out)
    out.append(f"## Kinds of input, {LEVELS[main]}\n")
    out.append("ns per block and, in brackets, the ratio to the yardstick; warm caches where nothing is said.\n")
    rows = []
    for what, name in INPUTS:
        for scene, scene_name in [("noise", "noise"), ("1 % moving", "moving")]:
            rows.append([f"{what}, {scene}"] +
                        [both(results.get(main, f"pass/{scene_name}/{name}/1/warm/{grid}")) for grid in GRIDS])
        rows.append([f"{what}, noise, cold"] +
                    [both(results.get(main, f"pass/noise/{name}/1/cold/{grid}")) for grid in GRIDS])
    table([""] + GRIDS, rows, out)


def objects(results, main, out):
    out.append(f"## Many objects, {LEVELS[main]}\n")
    out.append("A whole frame divided by its objects, before those that touch are merged; ratios to the yardstick of one "
               "block.\n")
    rows = []
    for what, scene in [("lattice of single blocks", "lattice"), ("10 % random noise, merging", "random")]:
        for grid in GRIDS:
            figure = results.get(main, f"pass/{scene}/standard/1/warm/{grid}")
            if figure:
                rows.append([f"{what}, {grid}", number(figure.objects), number(figure.microseconds),
                             number(figure.ns_object), number(figure.ratio_object)])
    table(["", "objects", "µs a frame", "ns per object", "ratio"], rows, out)


def kernels(results, main, out):
    names = sorted({name.rsplit("/", 1)[0] for name in results.levels[main] if name.startswith(("kernel/", "stage/"))})
    if not names:
        return
    out.append(f"## Kernels and stages, {LEVELS[main]}\n")
    out.append("ns per block and, in brackets, the ratio to the yardstick. A number in a name is the share of foreground "
               "blocks.\n")
    table([""] + GRIDS, [[name.removeprefix("kernel/")] + [both(results.get(main, f"{name}/{grid}")) for grid in GRIDS]
                         for name in names], out)


def peers(results, main, out):
    out.append(f"## Others on the same grid, {LEVELS[main]}\n")
    scenes = ["still", "noise", "moving"]
    rows = [[what] + [both(results.get(main, f"peer/{name}/{scene}/{USUAL}")) for scene in scenes] for what, name in PEERS]
    rows += [[what, "", "", both(results.get(main, f"peer/{name}/moving/{USUAL}"))] for what, name in OBJECT_STAGES]
    if all(set(row[1:]) <= {"–", ""} for row in rows):
        out.append("OpenCV was not there to compare with.\n")
        return
    rows.insert(0, ["coreMD, objects included"] +
                [both(results.get(main, f"pass/{scene}/standard/1/warm/{USUAL}")) for scene in scenes])
    out.append(f"OpenCV on {USUAL} elements, one thread, on the same frames; ns per element and, in brackets, the ratio to "
               "the yardstick. Its subtractors deliver a mask; one of the object stages below them comes on top.\n")
    table(["", "still", "noise", "1 % moving"], rows, out)


def host(results, main, out):
    def micros(*names):
        figures = [results.get(main, f"host/{name}") for name in names]
        return [number(figure.microseconds) if figure else "–" for figure in figures]

    out.append(f"## Block reduction, {LEVELS[main]}\n")
    out.append("A picture of 1920x1080 pixels, 4:2:0, to 240x135 blocks, µs. From cache: the same picture again and again; "
               "from a pool: 24 pictures in turn, as a decoder delivers them.\n")
    table(["", "from cache", "from a pool"],
          [[what] + micros(f"{name}/cache", f"{name}/pool")
           for what, name in [("reading the samples", "reading"), ("coreMD, exact means", "BlockReducer"),
                              ("the same, called from C", "coreMD_Reduce"), ("block by block, as a loop in C", "plain_loop"),
                              ("libswscale, area scaling", "swscale")]], out)
    out.append("The same picture again and again, of other formats, µs: the samples read, and reduced.\n")
    table(["", "1920x1080 read", "reduced", "3840x2160 read", "reduced"],
          [[what] + micros(*(f"{part}/{name}/{across}" for across in (1920, 3840) for part in ("reading", "BlockReducer")))
           for name, what in REDUCED], out)


def scaling(results, main, out):
    counts = [1, 2, 4, 8, 16, 32, 64]
    rows = [[str(count)] + [both(results.get(main, f"scaling/{threads}/{count}")) for threads in (1, 2)] for count in counts]
    if all(row[1] == "–" for row in rows):
        return
    out.append(f"## Many detectors, {LEVELS[main]}\n")
    caches = [c for c in results.context.get("caches", []) if c["type"] != "Instruction"]
    sizes = ", ".join(f"level {c['level']} {c['size'] // 1024} KiB" for c in caches)
    out.append(f"{USUAL} blocks, 1 % moving, fed in turn; thread CPU ns per block and, in brackets, the ratio to as many "
               "yardsticks in turn. One detector touches about as much memory as one yardstick (3 MiB): both rise where "
               f"the caches end{sizes and f' ({sizes})'}.\n")
    table(["detectors", "1 thread", "2 threads"], rows, out)


def memory(results, main, out):
    rows = []
    for what, name in [("first frame", "memory/first"), ("steady state", "memory/steady"),
                       ("16 detectors, each", "memory/handles16")]:
        for shadow in ("plain", "shadow"):
            for grid in GRIDS:
                figure = results.get(main, f"{name}/{shadow}/{grid}")
                if figure:
                    v = figure.values
                    rows.append([f"{what}, {grid}" + (", shadow detection" if shadow == "shadow" else ""),
                                 number(v["resident_bytes"] / 1048576), number(v["bytes_block"]),
                                 number(v["touched_bytes_block"])])
    if not rows:
        return
    out.append(f"## Resident memory, {LEVELS[main]}\n")
    out.append("What one detector adds to the resident set, taken in a fresh process, and the sum of the buffers that a "
               "pass touches (shadow planes only where foreground is). Objects come on top. Below about 128 KiB a buffer "
               "comes from the C library's heap, which touches it on allocation.\n")
    table(["", "MiB", "bytes per block", "touched"], rows, out)


def introduction(results, arguments, out):
    context = results.context
    model = "unknown processor"
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    out.append("# Performance\n")
    out.append("<!-- Written by ./dev bench (bench/report.py). Run it again instead of editing. -->\n")
    out.append("![Ratio to the yardstick per scene and build](performance.svg)\n")
    caches = ", ".join(f"L{c['level']} {c['type'].lower()} {c['size'] // 1024} KiB" for c in context["caches"])
    out.append(f"- Machine: {model}, {context['num_cpus']} processors" + (caches and f"; caches: {caches}"))
    out.append(f"- Compiler: {arguments.compiler}")
    out.append(f"- Flags: `{arguments.flags}`, in the column x86-64-v3 that as `-march`")
    out.append(f"- Date: {context['date'][:10]}; load average at the start of the last run: {context['load_avg'][0]:.2f}\n")
    out.append("## How to read it\n")
    out.append("Figures are thread CPU time, the best of several repetitions. A whole pass is what a host does per frame: "
               "handing it over (`h13`), reading the summary, the zone result and every object (`h17`, `h19`, `h18`). "
               "Frames are rendered beforehand; stream time and number of frames are the same for every build.\n")
    out.append("The yardstick is `memcpy` of 48 bytes per block, measured in the same run, warm or cold alike. Nanoseconds "
               "depend on the machine and on what else it does; the ratio to the yardstick hardly does. Cold means that "
               "more memory than the last cache level holds was read before every frame.\n")
    out.append("All scenes but the still one have camera noise. The shadow scenes run with shadow detection, half of their "
               "foreground is shadow. On 1920x1080 blocks, random noise and lattice fill the middle 480x270: a zone holds "
               "32767 objects at most. [bench/README.md](../bench/README.md) says how to measure.\n")


def plot_data(results, path):
    short = ["still", "noise", "moving,1-zone", "moving,4-zones", "moving,16-zones", "random", "lattice", "cover",
             "shadow-5-%", "shadow-100-%"]
    lines = [" ".join(["scene"] + [LEVELS[level] for level in results.order])]
    for (_, name), label in zip(PASSES, short):
        figures = [results.get(level, f"{name}/warm/{USUAL}") for level in results.order]
        if all(figures):
            lines.append(" ".join([label] + [f"{figure.ratio:.3f}" for figure in figures]))
    pathlib.Path(path).write_text("\n".join(lines) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", help="where the JSON files are")
    parser.add_argument("--main", required=True, help="the preset of which everything was measured")
    parser.add_argument("--compiler", default="unknown")
    parser.add_argument("--flags", default="")
    parser.add_argument("--instructions", help="what count-instructions.sh printed")
    parser.add_argument("--quick", action="store_true", help="the main table only")
    parser.add_argument("--document", help="file to write, besides printing")
    parser.add_argument("--plot-data", help="file to write for plot.gnuplot")
    arguments = parser.parse_args()
    results, out = Results(arguments.folder), []

    targets(results, arguments.main, arguments.quick, out)
    if not arguments.quick:
        instructions(arguments.instructions, out)
    levels(results, out)
    if not arguments.quick:
        for part in (grids, objects, kernels, peers, host, scaling, memory):
            part(results, arguments.main, out)
    print("\n".join(out))
    if arguments.document:
        whole = []
        introduction(results, arguments, whole)
        pathlib.Path(arguments.document).write_text("\n".join(whole + out).rstrip("\n") + "\n")
    if arguments.plot_data:
        plot_data(results, arguments.plot_data)


if __name__ == "__main__":
    main()
