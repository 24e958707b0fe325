#!/usr/bin/env python3
"""What does a scan cost, and what does it find?

    scripts/bench-scan.py            builds, measures, prints tables and writes them into docs/mdscan.md; some ten minutes
    scripts/bench-scan.py --print    prints only

The machine should have nothing else to do. Real and labelled videos are taken from the folder ../shared/footage, or from
COREMD_FOOTAGE, where there is one; without it, only the rendered street is measured. BENCH_PRESET: build to measure,
release-v3 if not set. ffmpeg (the command) is the yardstick: it decodes the same file and does nothing else.
"""
import json
import os
import pathlib
import platform
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/mdscan.md"
BEGIN, END = "<!-- measured: begin -->\n", "<!-- measured: end -->\n"
PRESET = os.environ.get("BENCH_PRESET", "release-v3")
BUILD = ROOT / "build" / PRESET
CLIPS = ROOT / "build/bench-scan"
FOOTAGE = pathlib.Path(os.environ.get("COREMD_FOOTAGE", ROOT.parent / "shared/footage"))
REPETITIONS = int(os.environ.get("BENCH_REPETITIONS", "3"))

STREET = ["--size", "640x360", "--fps", "25", "--frames", "15000", "--pause-seconds", "110", "--seed", "5"]
ENCODE = ["-c:v", "libx264", "-preset", "veryfast", "-g", "50", "-keyint_min", "50", "-sc_threshold", "0"]
DECODE = ["ffmpeg", "-nostdin", "-v", "error", "-threads", "{threads}", "-i", "{file}", "-an", "-vsync", "passthrough",
          "-f", "null", "-"]


def say(text):
    print(f"bench: {text}", file=sys.stderr, flush=True)


def run(command, **keywords):
    return subprocess.run([str(word) for word in command], check=True, **keywords)


def build():
    say(f"building {PRESET}")
    with open(os.devnull, "w") as nowhere:
        run(["cmake", "--preset", PRESET, "-DCOREMD_BENCH=ON"], cwd=ROOT, stdout=nowhere)
        run(["cmake", "--build", "--preset", PRESET, "--target", "mdscan", "mdscene", "coreMD_rates"], cwd=ROOT, stdout=nowhere)


def rendered_street():
    """Ten minutes in which five things come by."""
    clip = CLIPS / "street.mp4"
    if not clip.exists():
        say("rendering ten minutes of a street")
        CLIPS.mkdir(parents=True, exist_ok=True)
        part = clip.with_suffix(".part.mp4")
        scene = subprocess.Popen([BUILD / "mdscene", *STREET], stdout=subprocess.PIPE)
        run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "yuv4mpegpipe", "-i", "/dev/stdin", *ENCODE, part],
            stdin=scene.stdout)
        part.rename(clip)
    return clip


def measured(command, cores):
    """Least processor time, wall time and memory of several runs; the last run's standard output."""
    def confine():
        os.sched_setaffinity(0, sorted(os.sched_getaffinity(0))[:cores])
    best = None
    for _ in range(REPETITIONS):
        read, write = os.pipe()
        child = subprocess.Popen([str(word) for word in command], stdout=write, stderr=subprocess.DEVNULL, preexec_fn=confine)
        os.close(write)
        began = os.times().elapsed
        with os.fdopen(read) as pipe:
            output = pipe.read()
        _, status, usage = os.wait4(child.pid, 0)
        wall = os.times().elapsed - began
        child.returncode = os.waitstatus_to_exitcode(status)
        if child.returncode not in (0, 3):
            sys.exit(f"bench: {command} ends with {child.returncode}")
        figures = (usage.ru_utime + usage.ru_stime, wall, usage.ru_maxrss / 1024)
        best = figures if best is None else tuple(map(min, best, figures))
    return best, output


def events_of(output):
    return [line for line in map(json.loads, output.splitlines()) if line["type"] == "event"]


def common(these, those):
    """Seconds that lie in an event of both."""
    return sum(max(0, min(a["end"], b["end"]) - max(a["start"], b["start"])) for a in these for b in those)


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "|".join(["---"] + ["---:"] * (len(head) - 1)) + "|"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def cost_tables(files):
    cost, recall = [], []
    for file in files:
        say(f"scanning {file.name}")
        decode = [word.format(threads=1, file=file) for word in DECODE]
        keys = decode[:4] + ["-skip_frame", "nokey"] + decode[4:]
        pair = [word.format(threads=2, file=file) for word in DECODE]
        scan = [BUILD / "mdscan", "-q", file]
        (alone, _, _), _ = measured(decode, 1)
        (key_time, _, _), _ = measured(keys, 1)
        (scan_time, _, memory), whole = measured(scan, 1)
        (fast_time, _, _), fast = measured(scan + ["--fast"], 1)
        (_, decode_wall, _), _ = measured(pair, 2)
        (_, scan_wall, _), _ = measured(scan, 2)
        (_, fast_wall, _), _ = measured(scan + ["--fast"], 2)
        cost.append([file.name, f"{alone:.2f}", f"{scan_time:.2f} ({scan_time / alone:.2f})",
                     f"{fast_time:.2f} ({fast_time / alone:.2f})", f"{key_time:.2f} ({key_time / alone:.2f})",
                     f"{decode_wall:.2f}", f"{scan_wall:.2f} ({scan_wall / decode_wall:.2f})",
                     f"{fast_wall:.2f} ({fast_wall / decode_wall:.2f})", f"{memory:.0f}"])
        said = run([BUILD / "mdscan", "--fast", file], stderr=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True).stderr
        groups = said.split("decoded ")[1].split(" groups")[0]
        whole, fast = events_of(whole), events_of(fast)
        found = sum(1 for event in whole if common([event], fast) > 0)
        length = common(whole, whole)
        recall.append([file.name, groups, f"{len(whole)}", f"{found}", f"{len(fast)}",
                       f"{100 * common(whole, fast) / length:.1f} %" if length else "-"])
    return (table(["video", "decoding", "mdscan", "--fast", "keyframes alone", "decoding, 2 cores", "mdscan, 2 cores",
                   "--fast, 2 cores", "MiB"], cost),
            table(["video", "groups decoded", "events", "found with --fast", "found in all", "time in events found"], recall))


def memory_table(street):
    rows = []
    for hours, container in ((1, "ts"), (10, "ts"), (1, "mp4"), (10, "mp4")):
        clip = CLIPS / f"{hours}h.{container}"
        if not clip.exists():
            small = CLIPS / "small.mp4"
            run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", street, "-t", "60", "-vf", "scale=160:90", *ENCODE, small])
            run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-stream_loop", str(60 * hours - 1), "-i", small, "-c", "copy", clip])
        for option in ([], ["--fast"]):
            say(f"scanning {hours} hours {' '.join(option)}")
            (_, _, memory), output = measured([BUILD / "mdscan", "-q", *option, clip], 2)
            rows.append([f"{hours} h, {'MPEG-TS' if container == 'ts' else 'MP4'} {' '.join(option)}".strip(), f"{len(events_of(output))}", f"{memory:.0f}"])
    return table(["160x90 pictures", "events", "MiB at most"], rows)


def rate_tables():
    folders = sorted(path.parent for path in FOOTAGE.glob("labelled/*/temporalROI.txt"))
    if not folders:
        say(f"rates skipped: no labelled sequences in {FOOTAGE}")
        return None
    say("comparing rates and settings")
    lines = [json.loads(line) for line in run([BUILD / "coreMD_rates", *folders], stdout=subprocess.PIPE, text=True).stdout.splitlines()]
    names = sorted({line["sequence"] for line in lines})

    def cells(setting, rate, block):
        row = []
        for name in names:
            line = next(l for l in lines if (l["sequence"], l["setting"], l["rate"], l["block"]) == (name, setting, rate, block))
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


def text():
    street = rendered_street()
    files = [street, *sorted([*FOOTAGE.glob("*.mp4"), *FOOTAGE.glob("*.avi")])]
    if len(files) == 1:
        say(f"real videos skipped: none in {FOOTAGE}")
    cost, recall = cost_tables(files)
    model = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")), "unknown")
    ffmpeg = run(["ffmpeg", "-version"], stdout=subprocess.PIPE, text=True).stdout.split()[2]
    parts = [f"`./dev bench scan` measured this: {model}, {os.cpu_count()} processors, {platform.system()}, build `{PRESET}`, "
             f"FFmpeg {ffmpeg}. Runs: {REPETITIONS}, the least of them counts. `street.mp4` is `mdscene {' '.join(STREET)}`, encoded with "
             f"`{' '.join(ENCODE)}`; others are public footage.\n",
             "Processor seconds on one core, then wall seconds on two; in brackets, times those of "
             f"`{' '.join(DECODE).format(threads='N', file='VIDEO')}` with as many threads:\n", cost,
             "What `--fast` finds of a whole scan's events:\n", recall,
             "Memory does not grow with the video. What grows is FFmpeg's table of the pictures in an MP4 file, twice with `--fast`:\n", memory_table(street)]
    rates = rate_tables()
    if rates:
        parts += ["Labelled sequences of 25 pictures a second, from every start phase (`coreMD_rates`): frames with motion that "
                  "were missed, frames without motion in which something was found, F-measure of blocks, events found of those "
                  "there are, events found where there is none:\n", rates[0], rates[1]]
    return "\n".join(parts)


def main():
    if sys.argv[1:] not in ([], ["--print"]):
        sys.exit(__doc__)
    build()
    result = text()
    print(result)
    if not sys.argv[1:]:
        before, rest = PAGE.read_text().split(BEGIN)
        PAGE.write_text(before + BEGIN + "\n" + result + "\n" + END + rest.split(END)[1])


if __name__ == "__main__":
    main()
