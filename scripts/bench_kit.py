"""What do the benchmarks of programs share?  Builds them, says what goes on, and writes tables into pages."""
import os
import pathlib
import platform
import signal
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


def piped(source, command):
    """Runs the command with what the other one prints."""
    first = subprocess.Popen([str(word) for word in source], stdout=subprocess.PIPE)
    result = run(command, stdin=first.stdout)
    first.stdout.close()
    if first.wait() not in (0, -signal.SIGPIPE):  # the command may have enough before the end
        sys.exit(f"bench: {source[0]} ends with {first.returncode}")
    return result


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
