#!/usr/bin/env python3
"""Does every include run down the stairs, and does every room keep to a dozen units?

    scripts/check-rooms.py [--table]     --table: also prints units and includes of every room
    scripts/check-rooms.py --prove       is an include that runs up noticed, and a room that is too full?
"""
import collections
import pathlib
import re
import shutil
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
# From the ground up: a room includes itself and those before it.
VIDEO = ["video/" + room for room in ("time", "base", "files", "zones", "media", "watch", "scout", "pictures")]
MDSCAN = ["tools/mdscan/" + room for room in ("settings", "results", "outputs", "run", "archive", "farm", "ask", "command")]
STAIRS = VIDEO + MDSCAN
MOST_UNITS = 12


def room_of(name):
    """The room of an included name; None: none of these."""
    for prefix in ("", "tools/mdscan/"):
        place = prefix + str(pathlib.PurePosixPath(name).parent)
        if place in STAIRS:
            return place
    return None


def check(root, table):
    """What is wrong, one line each."""
    units, includes, faults = {}, collections.Counter(), []
    for room in STAIRS:
        sources = sorted(source for source in (root / room).iterdir() if source.suffix in (".h", ".cpp"))
        units[room] = {source.stem.split("-")[0] for source in sources}
        if len(units[room]) > MOST_UNITS:
            faults.append(f"{room}: {len(units[room])} units, at most {MOST_UNITS}")
        for source in sources:
            for name in re.findall(r'^#include "([^"]+)"', source.read_text(), re.M):
                other = room_of(name)
                if "/" not in name and (root / room / name).exists():
                    faults.append(f"{source.relative_to(root)}: includes \"{name}\" without its room")
                if other is None or other == room:
                    continue
                includes[room, other] += 1
                if STAIRS.index(other) > STAIRS.index(room):
                    faults.append(f"{source.relative_to(root)}: includes \"{name}\", which lies above")
    if not any(includes.values()):
        faults.append("no include between rooms was found")
    if table:
        for room in STAIRS:
            into = {other: count for (one, other), count in sorted(includes.items()) if one == room}
            print(f"{room:22} {len(units[room]):3} units  " + ", ".join(f"{other} {count}" for other, count in into.items()))
        print(f"{len(includes)} pairs of rooms, {sum(includes.values())} includes between them")
    return faults


def prove():
    """Whether planted faults are noticed, and nothing else."""
    plants = {"an include that runs up": ("video/base/Box.h", '#include "video/watch/Events.h"\n'),
              "an include without its room": ("video/base/Box.h", '#include "Gap.h"\n'),
              "too many units": ("video/media/{}.h", "")}
    for what, (name, text) in plants.items():
        with tempfile.TemporaryDirectory() as folder:
            copy = pathlib.Path(folder)
            for top in ("video", "tools/mdscan"):
                shutil.copytree(ROOT / top, copy / top)
            names = [name.format(f"Unit{i}") for i in range(MOST_UNITS + 1)] if "{}" in name else [name]
            for one in names:
                with (copy / one).open("a") as file:
                    file.write(text)
            if len(check(copy, False)) != 1:
                return [f"does not notice {what}"]
    return []


def main():
    faults = prove() if "--prove" in sys.argv[1:] else check(ROOT, "--table" in sys.argv[1:])
    for fault in faults:
        print("check-rooms: " + fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
