#!/usr/bin/env python3
"""Do two programs mdscan find, print and write the same?  For changes that shall change nothing that a user sees.

    scripts/compare-scans.py OLD NEW                    on samples/, fuzz/corpus/MediaFuzz and inputs made here
        --footage DIR          also on its videos, and on its folders labelled/*/input of pictures like in000001.jpg
        --media DIR            small media instead of fuzz/corpus/MediaFuzz; repeatable
        --make-clips PROGRAM   also on what tests/tools/mdscan/make_clips.cpp makes (target mdscan_make_clips)
        --only NAME            this option set only; repeatable. --list names them
        --quick                two films only: a minute instead of ten
        --scripts              also what scripts and style are in pages; otherwise they may be bundled in another way
        --work DIR             keep all that was written there; otherwise only what differs is kept

Both programs run in the same place, one after the other. Standard output, standard error, exit codes and every file are
compared byte by byte, but for what two runs of one program differ in; a table says what that is, why, and how often it came
up. Try OLD with OLD first where a machine is new. The exit code is 1 if anything differs.
"""
import argparse
import collections
import concurrent.futures
import pathlib
import shutil
import sys
import tempfile
import threading
import time

from compare_scans import cases
from compare_scans.differences import Comparison
from compare_scans.inputs import Inputs
from compare_scans.masks import Masker
from compare_scans.runs import Camera, Run

ROOT = pathlib.Path(__file__).resolve().parent.parent


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("old", type=pathlib.Path, nargs="?")
    parser.add_argument("new", type=pathlib.Path, nargs="?")
    parser.add_argument("--footage", type=pathlib.Path)
    parser.add_argument("--media", type=pathlib.Path, nargs="+", action="extend")
    parser.add_argument("--make-clips", type=pathlib.Path)
    parser.add_argument("--only", nargs="+", action="extend")
    parser.add_argument("--work", type=pathlib.Path)
    for name in ("--quick", "--scripts", "--list"):
        parser.add_argument(name, action="store_true")
    given = parser.parse_args()
    if not given.list and not (given.old and given.new):
        parser.error("wants an old and a new program")
    for program in (given.old, given.new, given.make_clips):
        if program and not program.is_file():
            parser.error(f"{program} is not there")
    return given


class Tally:
    """Of one option set."""

    def __init__(self):
        self.runs = self.processes = self.files = self.bytes = self.differences = 0


class Comparer:
    """Runs both programs and compares. One option set at a time in each of two threads: some only wait."""

    def __init__(self, old, new, work, masker):
        self.programs, self.old, self.work, self.mask = {"old": old, "new": new}, old, work, masker
        self.tallies, self.lock = collections.defaultdict(Tally), threading.Lock()

    def compare(self, case, name, steps):
        run = f"{case}/{name}"
        counted = 0
        for side, program in self.programs.items():
            here = self.work / "run" / case / name  # the same place for both: paths are printed
            taken = Run(program, self.old, here)
            taken.take(steps)
            counted += taken.processes
            self.place(side, run).parent.mkdir(parents=True, exist_ok=True)
            here.rename(self.place(side, run))
        with self.lock:
            found = Comparison(run, self.place("old", run), self.place("new", run), self.mask)
            tally = self.tallies[case]
            tally.runs += 1
            tally.processes += counted
            tally.files += found.files
            tally.bytes += found.bytes
            tally.differences += len(found.differences)
            for lines in found.differences:
                print(f"DIFFERS {run}: " + "\n    ".join(lines) + command_of(steps, lines[0]), flush=True)
        return found.differences

    def place(self, side, run):
        return self.work / side / run

    def take(self, some, keep):
        for case, make in some:
            for name, steps in make().items():
                different = self.compare(case, name, steps)
                if not different and not keep:
                    for side in self.programs:
                        shutil.rmtree(self.place(side, f"{case}/{name}"))
            print(f"compared: {case}", file=sys.stderr)


def command_of(steps, path):
    """Of the step that said what differs, or of all that may have written the file."""
    said = path.removeprefix("said/").split(".")[0]
    some = [steps[int(said) - 1]] if path.startswith("said/") and said.isdigit() else steps
    return "".join("\n    mdscan " + " ".join(map(str, step.words)) for step in some[:4])


def print_tables(comparer, masker, seconds):
    print(f"\n{'option set':18} {'runs':>6} {'scans':>6} {'files':>7} {'bytes':>13} {'differences':>12}")
    total = Tally()
    for case, tally in [*comparer.tallies.items(), ("all", total)]:
        print(f"{case:18} {tally.runs:6} {tally.processes:6} {tally.files:7} {tally.bytes:13,} {tally.differences:12}")
        for name in vars(total) if tally is not total else ():
            setattr(total, name, getattr(total, name) + getattr(tally, name))
    print(f"\n{'masked':20} {'times':>8}  because it differs between two runs of one program")
    for mask in (mask for mask in masker.masks if masker.counts[mask.name]):
        print(f"{mask.name:20} {masker.counts[mask.name]:8}  {mask.reason}")
    print(f"\n{total.runs} runs of {len(comparer.tallies)} option sets in {seconds:.0f} s: " +
          (f"{total.differences} DIFFERENCES" if total.differences else "equal"))
    return total.differences


def main():
    given = arguments()
    work = given.work or pathlib.Path(tempfile.mkdtemp(prefix="compare-scans-"))
    if given.work:
        for folder in ("inputs", "run", "old", "new"):
            shutil.rmtree(work / folder, ignore_errors=True)
    work = work.resolve()
    begin = time.monotonic()
    masker = Masker(["scripts and style"] if given.scripts else [])
    inputs = Inputs(work / "inputs", ROOT, given.footage, given.media or [ROOT / "fuzz/corpus/MediaFuzz"],
                    given.make_clips and given.make_clips.resolve())
    chosen = {name: case for name, case in cases.all_cases(inputs, given.quick).items() if name in (given.only or [name])}
    unknown = set(given.only or ()) - set(chosen)
    if unknown or given.list:
        shutil.rmtree(work / "inputs" if given.work else work)
        sys.exit(f"no such option set: {', '.join(sorted(unknown))}; --list names them" if unknown
                 else print(*chosen, sep="\n"))
    Camera.start(inputs.raw.read_bytes(), cases.CAMERA_SECONDS)
    comparer = Comparer(given.old.resolve(), given.new.resolve(), work, masker)
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        halves = [pool.submit(comparer.take, [(name, make) for name, (make, idle) in chosen.items() if idle == waits],
                              given.work) for waits in (False, True)]
    for half in halves:
        half.result()  # or what went wrong
    written = inputs.fingerprint() != inputs.content
    different = print_tables(comparer, masker, time.monotonic() - begin) or written
    if written:
        print(f"A SCAN HAS WRITTEN INTO {work}/inputs")
    if different or given.work:
        print(f"what was written: {work}/old, {work}/new")
    else:
        shutil.rmtree(work)
    sys.exit(1 if different else 0)


if __name__ == "__main__":
    main()
