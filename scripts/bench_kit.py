"""What do the benchmarks of programs share?  Builds them, says what goes on, and writes tables into pages."""
import os
import pathlib
import platform
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PRESET = os.environ.get("BENCH_PRESET", "release-v3")
BUILD = ROOT / "build" / PRESET
BEGIN, END = "<!-- measured: begin -->\n", "<!-- measured: end -->\n"


def say(text):
    print(f"bench: {text}", file=sys.stderr, flush=True)


def run(command, **keywords):
    return subprocess.run([str(word) for word in command], check=True, **keywords)


def build(*targets):
    say(f"building {PRESET}")
    with open(os.devnull, "w") as nowhere:
        run(["cmake", "--preset", PRESET, "-DCOREMD_BENCH=ON"], cwd=ROOT, stdout=nowhere)
        run(["cmake", "--build", "--preset", PRESET, "--target", *targets], cwd=ROOT, stdout=nowhere)


def ffmpeg(*words, **keywords):
    return run(["ffmpeg", "-nostdin", "-v", "error", "-y", *words], **keywords)


def show_scene(words, act):
    """What act makes of the scene that mdscene renders with these words; it gets a stream of YUV4MPEG2."""
    scene = subprocess.Popen([str(word) for word in (BUILD / "mdscene", *words)], stdout=subprocess.PIPE)
    result = act(scene.stdout)
    scene.stdout.close()
    if scene.wait() != 0:
        sys.exit(f"bench: mdscene ends with {scene.returncode}")
    return result


def encode_scene(words, *encoding):
    """The rendered scene, encoded: other inputs, options and the output as ffmpeg takes them."""
    return show_scene(words, lambda scene: ffmpeg("-f", "yuv4mpegpipe", "-i", "/dev/stdin", *encoding, stdin=scene))


def labelled_in(footage):
    """Folders of labelled sequences; none where there is no footage."""
    return sorted(path.parent for path in footage.glob("labelled/*/groundtruth")) if footage else []


def numbered_inputs(sequence):
    """(pattern as printf has it, number of the first as it is written) of a labelled sequence's pictures."""
    first = min((sequence / "input").glob("*.jpg"))
    digits = re.search(r"[0-9]+$", first.stem)[0]
    return first.with_name(first.stem.removesuffix(digits) + f"%0{len(digits)}d.jpg"), digits


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "|".join(["---"] + ["---:"] * (len(head) - 1)) + "|"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def percent(value):
    return f"{100 * value:.1f} %"


def prose(paragraph):
    return " ".join(paragraph.split()) + "\n"


def machine():
    model = next((line.split(":")[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")), "unknown")
    return f"{model}, {os.cpu_count()} processors, {platform.system()}, build `{PRESET}`"


def put(page, measured):
    """In place of what the page had between its marks."""
    before, rest = page.read_text().split(BEGIN)
    page.write_text(before + BEGIN + "\n" + measured + "\n" + END + rest.split(END)[1])
