#!/usr/bin/env python3
"""How right is the scanner, beside others, and where does it fail?

    scripts/bench-accuracy.py [--footage FOLDER] [FOLDER...]     builds, measures, writes docs/accuracy.md and its picture;
                                                                 ten minutes on an idle machine
    ... --print                                                  prints the page, writes nothing
    ... --reuse                                                  writes the page again from the last run's figures

FOLDER: labelled sequences, as coreMD_accuracy --help says; by default those in labelled/ of the footage. BENCH_PRESET:
build to measure, release-v3 if not set. Figures are kept in build/bench-accuracy: JSON Lines, by subject and share.
"""
import argparse
import itertools
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from bench_kit import (BUILD, ROOT, build, ffmpeg, labelled_in, machine, numbered_inputs, percent, prose, run, say,
                       show_scene, table)

PAGE, PICTURE = ROOT / "docs/accuracy.md", ROOT / "docs/accuracy.png"
KEPT = ROOT / "build/bench-accuracy"

# What is tried beside the defaults, one at a time.
SETTINGS = {"": []}
SETTINGS.update({words: words.split() for words in (
    "--condition none", "--sensitivity low", "--sensitivity high", "--stabilise on", "--stabilise off", "--rate 3",
    "--rate 12.5", "--rate 25", "--block 2", "--block 4", "--block 5", "--block 8", "--min-size 0.015", "--min-size 0.02",
    "--min-size 0.04", "--min-size 0.06")})
SETTINGS.update({"a quarter of a block covered": ["--share", "0.25"],
                 "`--condition none`, a quarter of a block covered": ["--condition", "none", "--share", "0.25"]})

# Nothing moves in these but leaves, water and what is wrong with camera or light: 80 s, wrong from 20 s on.
SCENE = ["--empty", "--size", "320x240", "--fps", "12.5", "--frames", "1000"]
STILL = {"noise alone": ["--wind", "0"], "leaves in a light breeze": ["--wind", "1", "--foliage", "0.3"],
         "leaves in wind 3": ["--wind", "3", "--foliage", "0.4"], "leaves in wind 4": ["--wind", "4", "--foliage", "0.3"],
         "leaves in wind 6": ["--wind", "6", "--foliage", "0.4"], "water in wind 3": ["--wind", "3", "--water", "0.4"]}
KINDS = ["light", "ramp", "infrared", "exposure", "banding", "headlights", "shake", "moved", "rain", "snow", "insects",
         "web", "covered", "frozen"]
STILL.update({kind: ["--wind", "0", "--disturbance", f"{kind}@20"] for kind in KINDS})
STILL_SETTINGS = {"defaults": [], "`--condition none`": ["--condition", "none"],
                  "`--sensitivity low`": ["--sensitivity", "low"], "`--sensitivity high`": ["--sensitivity", "high"]}
VIDEO_SETTINGS = dict(list(STILL_SETTINGS.items())[:2])

# The labelled sequences as cameras send them: how good, and how many pictures from one keyframe to the next.
QUALITIES, GROUPS = (24, 31, 38), (50, 250)
ENCODING = "-c:v libx264 -preset veryfast -profile:v baseline -pix_fmt yuv420p -sc_threshold 0"


def keep(name, lines):
    KEPT.mkdir(parents=True, exist_ok=True)
    (KEPT / name).write_text("".join(json.dumps(line) + "\n" for line in lines))


def kept(name):
    return [json.loads(line) for line in (KEPT / name).read_text().splitlines()]


def accuracy(*words, **keywords):
    printed = run([BUILD / "coreMD_accuracy", "--lines", *words], stdout=subprocess.PIPE, text=True, **keywords).stdout
    return [json.loads(line) for line in printed.splitlines()]


def measure_subjects(folders):
    """All subjects on the same pictures; the scanner alone where there is no OpenCV."""
    say("judging the scanner and its peers")
    KEPT.mkdir(parents=True, exist_ok=True)
    words = ["--masks", KEPT / "masks.png", *folders]
    try:
        lines = accuracy("--peers", *words)
    except subprocess.CalledProcessError as error:
        if error.returncode != 2:
            raise
        say("peers skipped: OpenCV with bgsegm is missing")
        lines = accuracy(*words)
    keep("subjects.jsonl", lines)


def measure_settings(folders):
    lines = []
    for name, words in SETTINGS.items():
        say(f"trying {name or 'the defaults'}")
        lines.append({"setting": name, **accuracy(*words, *folders)[0]})
    keep("settings.jsonl", lines)


def measure_still():
    lines = []
    for name, words in STILL.items():
        say(f"rendering: {name}")
        for setting, options in STILL_SETTINGS.items():
            line = show_scene([*SCENE, *words],
                              lambda scene, options=options: accuracy(*options, "--still", "/dev/stdin", stdin=scene)[0])
            lines.append({"scene": name, "setting": setting, **line["still"]["stdin"]})
    keep("still.jsonl", lines)


def measure_videos(folder):
    """Somebody's videos in which nothing moves."""
    lines = []
    videos = sorted(folder.glob("*.mp4")) if folder else []
    for setting, options in VIDEO_SETTINGS.items():
        say(f"judging {len(videos)} videos in which nothing moves: {setting}")
        found = accuracy(*options, "--still", *videos)[0]["still"] if videos else {}
        lines += [{"scene": name.removesuffix(".mp4"), "setting": setting, **one} for name, one in found.items()]
    keep("videos.jsonl", lines)


def recoded(folder, quality, group):
    """The sequence, encoded: its video."""
    video = KEPT / f"{folder.name}-{quality}-{group}.mp4"
    if not video.exists():
        pattern, first = numbered_inputs(folder)
        part = video.with_name("part." + video.name)
        ffmpeg("-framerate", "25", "-start_number", first, "-i", pattern, *ENCODING.split(), "-crf", quality, "-g", group,
               "-keyint_min", group, part)
        part.rename(video)
    return video


def measure_coding(folders):
    """What is left of it without the filter that the decoder runs over the edges of its blocks?"""
    lines = []
    KEPT.mkdir(parents=True, exist_ok=True)
    for folder, quality, group in itertools.product(folders, QUALITIES, GROUPS):
        video = recoded(folder, quality, group)
        for skipped in ("none", "all"):
            say(f"judging {video.stem}, loop filter left out: {skipped}")
            with tempfile.TemporaryDirectory(dir=KEPT) as place:
                labelled = pathlib.Path(place) / folder.name
                (labelled / "input").mkdir(parents=True)
                (labelled / "groundtruth").symlink_to((folder / "groundtruth").resolve())
                if (folder / "temporalROI.txt").exists():
                    shutil.copy(folder / "temporalROI.txt", labelled)
                _, first = numbered_inputs(folder)
                ffmpeg("-skip_loop_filter", skipped, "-i", video, "-vsync", "passthrough", "-start_number", first,
                       labelled / "input/%06d.bmp")
                line = accuracy(labelled)[0]
            lines.append({"sequence": folder.name, "quality": quality, "group": group, "skipped": skipped,
                          "bytes": video.stat().st_size, **line["sequences"][folder.name]})
    keep("coding.jsonl", lines)


def figures(line):
    mean = line["mean"]
    return [f"{mean['f']:.3f}", f"{mean['precision']:.2f}", f"{mean['recall']:.2f}", percent(mean["missed"])]


def sequence_table(line):
    rows = []
    for name, one in line["sequences"].items():
        still = percent(one["false"]) if one["still"] else "–"
        thirds = ", ".join(f"{found} of {real}" + (f" and {extra} false" if extra else "")
                           for real, found, extra in one["thirds"])
        rows.append([name, f"{one['f']:.3f}", f"{one['precision']:.2f}", f"{one['recall']:.2f}", percent(one["missed"]),
                     still, f"{one['moving']}, {one['still']}", thirds, f"{one['cpu_ms']:.2f}"])
    rows.append(["mean", *figures(line), percent(line["mean"]["false"]), "", "", ""])
    return table(["sequence", "F", "precision", "recall", "missed", "false", "pictures with motion, without",
                  "events found in the thirds", "ms"], rows)


def cost(line):
    each = [one["cpu_ms"] for one in line["sequences"].values()]
    return f"{sum(each) / len(each):.2f}" if "opened" not in line["subject"] else ""


def subject_table(lines):
    rows = [[line["subject"], "quarter" if line["share"] == 0.25 else "half", *figures(line), f"{line['settled']['f']:.3f}",
             cost(line)] for line in lines]
    return table(["subject", "covered", "F", "precision", "recall", "missed", "F, settled", "ms per picture"], rows)


def best_peers(lines):
    """The best row of every peer, by its settled F."""
    best = {}
    for line in lines[1:]:
        name = line["subject"].split(",")[0]
        if name not in best or line["settled"]["f"] > best[name]["settled"]["f"]:
            best[name] = line
    return list(best.values())


def named(setting):
    return f"`{setting}`" if setting.startswith("-") else setting


def setting_table(lines):
    names = list(lines[0]["sequences"])
    return table(["mdscan, but", "F, mean", *(f"F, {name}" for name in names), "precision", "recall", "missed"],
                 [[named(line["setting"]) or "nothing: its defaults", f"{line['mean']['f']:.3f}",
                   *(f"{line['sequences'][name]['f']:.3f}" for name in names), f"{line['mean']['precision']:.2f}",
                   f"{line['mean']['recall']:.2f}", percent(line["mean"]["missed"])] for line in lines])


def still_table(lines, settings):
    rows = []
    for scene in dict.fromkeys(line["scene"] for line in lines):
        these = {line["setting"]: line for line in lines if line["scene"] == scene}
        rows.append([scene, *(f"{one['seconds']:.1f}; {one['told']:.1f} ({one['events']})"
                              for one in (these[name] for name in settings)), ", ".join(these["defaults"]["conditions"])])
    return table(["nothing moves, but", *settings, "told by the defaults"], rows)



def coding_table(lines):
    rows = []
    for smooth, plain in zip(lines[::2], lines[1::2]):
        rows.append([smooth["sequence"], f"{smooth['quality']}", f"{smooth['group']}", f"{smooth['bytes'] / 1024:.0f}",
                     f"{smooth['f']:.3f}", f"{plain['f']:.3f}", percent(smooth["missed"]), percent(plain["missed"]),
                     *(f"{sum(third[2] for third in one['thirds'])}" for one in (smooth, plain))])
    return table(["sequence", "quality", "group", "KiB", "F", "F without", "missed", "missed without", "false events",
                  "false events without"], rows)


def coding_verdict(lines):
    pairs = list(zip(lines[::2], lines[1::2]))
    f = max((plain["f"] - smooth["f"] for smooth, plain in pairs), key=abs)
    missed = max((plain["missed"] - smooth["missed"] for smooth, plain in pairs), key=abs)
    return f"At most, F moves by {f:+.3f} and what is missed by {100 * missed:+.1f} %.\n"


def failures(subjects, settings, still):
    """Sentences that follow from the figures."""
    mdscan = subjects[0]["sequences"]
    worst = min(mdscan, key=lambda name: mdscan[name]["f"])
    one = mdscan[worst]
    side = "more is marked than moves" if one["precision"] < one["recall"] else "more moves than is marked"
    lines = [f"- The worst sequence is {worst}: F {one['f']:.2f}, precision {one['precision']:.2f}, recall "
             f"{one['recall']:.2f}; {side}. Of its pictures with motion, {percent(one['missed'])} pass without a find."]
    alarms = [line for line in still if line["setting"] == "defaults" and line["told"] > 0]
    alarms.sort(key=lambda line: -line["told"])
    lines += ["- Of the rendered scenes in which nothing moves, the defaults tell events in "
              + (", ".join(f"{line['scene']} ({line['told']:.0f} of {line['length']:.0f} s)" for line in alarms)
                 or "none") + "."]
    better = [peer for peer in best_peers(subjects) if peer["settled"]["f"] > subjects[0]["settled"]["f"]]
    if better:
        lines += ["- Ahead of the defaults once they have settled: " +
                  ", ".join(f"{peer['subject']} ({peer['settled']['f']:.3f} against {subjects[0]['settled']['f']:.3f})"
                            for peer in better) + "."]
    helps = sorted((line for line in settings[1:] if line["mean"]["f"] > settings[0]["mean"]["f"]),
                   key=lambda line: -line["mean"]["f"])
    lines += ["- Settings that help on these sequences: "
              + (", ".join(f"{named(line['setting'])} ({line['mean']['f']:.3f})" for line in helps) or "none that was tried")
              + f"; the defaults reach {settings[0]['mean']['f']:.3f}."]
    false = [f"{percent(one['false'])} of {one['still']} in {name}" for name, one in mdscan.items() if one["false"]]
    lines += ["- Of the pictures without motion, something is found in " + (", ".join(false) or "none")
              + "."]
    return "\n".join(lines) + "\n"


TITLE = """# Accuracy

<!-- Written by ./dev bench accuracy (scripts/bench-accuracy.py). Run it again instead of editing. -->
"""
RULES = """How right is what `mdscan` finds, with its defaults, and where does it fail? Labelled public sequences
    ({sequences}) say where something moves; `coreMD_accuracy` shows them to the scanner's own watcher, 25 pictures a
    second, and scores blocks of 8×8 pixels, whatever the blocks of analysis are. A block is unknown where fewer than
    half of its pixels are known, moving where at least a quarter of the known ones move, else still; shadows are
    still. A mask finds a block where it covers half of it. Only analysed pictures count. *Missed*: pictures with
    motion in which nothing was found; *false*: pictures without motion in which something was. In the mean every
    sequence weighs the same. These are few sequences: what holds on them need not hold on yours."""
COLUMNS = """Events are those of the left, the middle and the right third, each as if it were a picture of its own:
    found, of those that the labels tell. Milliseconds are processor time per analysed picture, without decoding;
    other load disturbs it: {machine}."""
MASKS = """Of each sequence the picture in which the defaults are most wrong. Blocks of 8×8 pixels, from left to
    right: {columns}. White: found, and moving; red: found, and still; blue: moving, and not found; grey: unknown."""
PEERS = """OpenCV's background subtractors, one thread, with their own defaults, on full pictures in colour: every
    picture, and every fourth as the scanner; with and without morphological opening (3×3). Shadows that they tell are
    still. They know nothing before the first picture, and some mark all of it until they do, so that a sequence which
    is scored from its first picture on weighs heavily: *F, settled* leaves out the first 100 pictures of every
    sequence, or the first third of a shorter one. The best of each, by that, of all rates and shares covered:"""
SCENES = """Rendered with `mdscene {scene}`: 80 s, of which 20 pass before anything is wrong; leaves and water move
    from the beginning. Seconds of pictures in which something is found; then seconds of the events that are told, in
    brackets how many: what a disturbance voids is none. Last, what `mdscan` calls the disturbance."""
VIDEOS = """Likewise, the empty scenes of the labelled sequences with simulated noise, 100 s each, of which 20 pass before
    a simulated disturbance begins: a step or a ramp of light, exposure that hunts, banding, a switch to infrared, a
    camera that shakes, is moved or covered, rain, a low bit rate."""
CODING = """`--skip-loop-filter` decodes H.264 without smoothing the edges of its blocks. Later pictures refer to what
    was left out, so that errors drift until the next keyframe. The labelled sequences, encoded with `{encoding}`,
    `-crf` quality and `-g` group, decoded with and without and scored as above:"""
CODING_RULE = """Had it moved F by no more than 0.005 and what is missed by no more than 0.5 %, scans would do it wherever
    nobody looks at pictures. It is an option: long groups and low qualities are what it spoils."""
LAYOUT = """A folder holds numbered pictures in `input/`, label pictures of the same numbers in `groundtruth/` (255
    moving, 50 shadow, 0 still, 85 outside, 170 unknown), and perhaps the first and the last number to score in
    `temporalROI.txt`. [bench/README.md](../bench/README.md) says more."""
COMMANDS = """<!-- test: skip takes minutes, and wants labelled sequences -->
```sh
./dev bench accuracy FOLDER...     # labelled sequences; writes this page
build/release/coreMD_accuracy --help
```
"""


def text(subjects, settings, still, videos, coding):
    drawn = dict.fromkeys(line["subject"] for line in subjects if "," not in line["subject"])
    parts = [TITLE, prose(RULES.format(sequences=", ".join(subjects[0]["sequences"]))),
             "## The defaults\n", sequence_table(subjects[0]), prose(COLUMNS.format(machine=machine())),
             "## Where it fails, and what helps\n", failures(subjects, settings, still)]
    if (KEPT / "masks.png").exists():
        parts += ["![Masks side by side](accuracy.png)\n",
                  prose(MASKS.format(columns=", ".join(["labels", *drawn])))]
    parts += ["## Others\n"]
    if len(subjects) > 1:
        parts += [prose(PEERS), subject_table([subjects[0], *best_peers(subjects)]), "All of them:\n",
                  subject_table(subjects)]
    else:
        parts += ["Not measured: OpenCV with bgsegm was not found.\n"]
    parts += ["## Settings\n", "One change at a time:\n", setting_table(settings), "## Scenes in which nothing moves\n",
              prose(SCENES.format(scene=" ".join(SCENE))), still_table(still, STILL_SETTINGS)]
    if videos:
        parts += [prose(VIDEOS), still_table(videos, VIDEO_SETTINGS)]
    parts += ["## Without the loop filter\n", prose(CODING.format(encoding=ENCODING)), coding_table(coding),
              coding_verdict(coding), prose(CODING_RULE)]
    parts += ["## How to measure\n", COMMANDS, prose(LAYOUT)]
    return "\n".join(parts)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--footage", type=pathlib.Path, help="folder of videos; its labelled/ holds labelled sequences")
    parser.add_argument("--scenes", type=pathlib.Path, help="folder of MP4 videos in which nothing moves")
    parser.add_argument("--print", action="store_true", help="print only, write nothing")
    parser.add_argument("--reuse", action="store_true", help="take the figures of the last run")
    parser.add_argument("folders", nargs="*", type=pathlib.Path, metavar="FOLDER", help="a labelled sequence")
    arguments = parser.parse_args()
    if not arguments.reuse:
        folders = arguments.folders or labelled_in(arguments.footage)
        if not folders:
            sys.exit("bench: no labelled sequences: name their folders")
        build("coreMD_accuracy", "mdscene")
        measure_subjects(folders)
        measure_settings(folders)
        measure_still()
        measure_videos(arguments.scenes)
        measure_coding(folders)
    result = text(kept("subjects.jsonl"), kept("settings.jsonl"), kept("still.jsonl"),
                  kept("videos.jsonl"), kept("coding.jsonl"))
    if arguments.print:
        print(result)
        return
    PAGE.write_text(result)
    if (KEPT / "masks.png").exists():
        shutil.copyfile(KEPT / "masks.png", PICTURE)
    say(f"written to {PAGE}")


if __name__ == "__main__":
    main()
