#!/usr/bin/env python3
"""Does coreMD_accuracy print what it promises, and nothing else?

    program_test.py PROGRAM
"""
import json
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile

WIDTH, HEIGHT = 64, 48
FIGURES = {"f", "precision", "recall", "missed", "false"}


def bitmap(path, grey_at):
    """24 bits a pixel, bottom row first."""
    rows = b"".join(bytes([grey_at(x, y)] * 3) for y in reversed(range(HEIGHT)) for x in range(WIDTH))
    head = struct.pack("<2sIHHI", b"BM", 54 + len(rows), 0, 0, 54)
    info = struct.pack("<IiiHHIIiiII", 40, WIDTH, HEIGHT, 1, 24, 0, len(rows), 0, 0, 0, 0)
    path.write_bytes(head + info + rows)


def sequence(folder):
    """A bright square goes from left to right over a grey ground, after four seconds."""
    for name in ("input", "groundtruth"):
        (folder / name).mkdir(parents=True)
    for number in range(200):
        left = number - 110

        def inside(x, y, left=left):
            return left <= x < left + 16 and 16 <= y < 32
        bitmap(folder / "input" / f"{number:03}.bmp", lambda x, y: 220 if inside(x, y) else 90 + (x + y) % 3)
        bitmap(folder / "groundtruth" / f"{number}.bmp", lambda x, y: 255 if inside(x, y) else 0)


def main():
    program = sys.argv[1]

    def run(*words):
        return subprocess.run([program, *map(str, words)], capture_output=True, text=True, check=False)

    with tempfile.TemporaryDirectory() as top:
        folders = [pathlib.Path(top) / name for name in ("one", 'a "quoted" one')]
        for folder in folders:
            sequence(folder)
        done = run("--json", "--condition", "none", "--share", "0.25", *folders)
        assert (done.returncode, done.stderr) == (0, ""), done
        result = json.loads(done.stdout)
        assert set(result) == {"sequences", "mean"}, result
        assert set(result["sequences"]) == {folder.name for folder in folders}, result
        for figures in [*result["sequences"].values(), result["mean"]]:
            assert set(figures) == FIGURES and all(0 <= value <= 1 for value in figures.values()), result
        assert result["mean"]["f"] > 0.4 and result["mean"]["recall"] > 0.6, result
        assert run("--json", folders[0]).stdout == run("--json", folders[0]).stdout

        table = run(folders[0])
        assert table.returncode == 0 and table.stdout.splitlines()[-1].startswith("mean "), table
        still = run("--json", "--still", folders[0] / "input/%03d.bmp")
        assert still.returncode == 0, still
        alarm = json.loads(still.stdout)["still"]["%03d.bmp"]
        assert 1 <= alarm["seconds"] <= 4 and alarm["events"] == 1 and alarm["length"] == 8, alarm
        assert 1 <= alarm["told"] <= alarm["seconds"] and alarm["conditions"] == [], alarm
        for words in (("--sensitivity", "low"), ("--stabilise", "off"), ("--condition", "none")):
            assert run("--json", *words, folders[0]).returncode == 0, words

        labels, fewer = folders[0] / "groundtruth", pathlib.Path(top) / "fewer"
        shutil.copytree(labels, fewer)
        (fewer / "7.bmp").unlink()
        nothing = pathlib.Path(top) / "nothing"
        nothing.mkdir()
        for number in range(200):
            bitmap(nothing / f"{number}.bmp", lambda x, y: 0)
        done = run("--lines", "--share", "0.25", "--found", f"all={labels}", "--found", f"nobody={nothing}", folders[0])
        judged = [json.loads(line) for line in done.stdout.splitlines()]
        assert [line["subject"] for line in judged] == ["mdscan", "all", "nobody"], judged
        whole, none = (line["sequences"]["one"] for line in judged[1:])
        assert (whole["f"], whole["missed"], whole["false"]) == (1, 0, 0), whole
        assert (none["f"], none["missed"], none["false"]) == (0, 1, 0), none
        few = run("--lines", "--found", f"few={fewer}", folders[0])
        assert few.returncode == 1 and "fewer masks than pictures" in few.stderr, few

        for words, code in (([top], 1), (["--found", "x", folders[0]], 2), (["--found", f"x={labels}", *folders], 2),
                            (["--found", f"x={top}/none", folders[0]], 1),
                            (["--json", folders[0] / "input"], 1), ([], 2), (["--rate", "x", folders[0]], 2),
                            (["--rate"], 2), (["--sensitivity", "x", folders[0]], 2), (["--stabilise"], 2),
                            (["--condition", "non", folders[0]], 2),
                            (["--unknown", folders[0]], 2), (["--still", top + "/none.mp4"], 1)):
            failed = run(*words)
            assert failed.returncode == code and failed.stdout == "", (words, failed)
            assert failed.stderr.startswith("coreMD_accuracy: ") and failed.stderr.count("\n") == 1, (words, failed)


main()
