#!/usr/bin/env bash
# Does an archive's work survive a thousand killed workers, with nothing lost and nothing twice?  And does a long video in
# parts tell the events of one scan?
# usage: scripts/check-archive.sh [KILLS [BUILD [SECONDS]]]     1000 kills, and half as many in a farm; build/release; 7200
#                                                               seconds of video; 30 minutes. 0 kills, 0 seconds: without
#
# Eight workers share jobs that wait; every 0.3 s one of them is killed, stopped for a while or interrupted, and another
# one started in its place. In a farm, connections are cut and the server is killed, too. Results are compared byte for byte
# with those of one worker. Without a PostgreSQL server, that part says so.
#
# The video is a street on which somebody comes every few seconds, in twelve parts. Its events must be all that one scan
# finds, and no others, with begin and end within half a second. It needs ffmpeg and python3.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath "${2:-$root/build/release}")
kills=${1:-1000}
seconds=${3:-7200}
if ((kills > 0)); then
    export COREMD_CHAOS_WORKERS=8 COREMD_CHAOS_EVERY_MS=300
    COREMD_CHAOS_KILLS=$kills COREMD_CHAOS_JOBS=400 COREMD_CHAOS_MS=150 "$build/ArchiveChaosTest" --gtest_brief=1
    if [[ -x $build/FarmChaosTest ]]; then
        COREMD_CHAOS_KILLS=$((kills / 2)) COREMD_CHAOS_JOBS=2000 COREMD_CHAOS_MS=60 "$build/FarmChaosTest" --gtest_brief=1
    fi
fi
((seconds > 0)) || exit 0

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cd "$place"
mkdir videos
"$build/mdscene" --size 320x180 --frames $((seconds * 12)) --fps 12 --seed 5 --pause-seconds=3 |
    ffmpeg -v error -i - -c:v libx264 -preset ultrafast -g 24 videos/street.mp4
"$build/mdscan" plan videos --split $((seconds / 12))s -o a.plan
"$build/mdscan" work a.plan --into a.d -j 0
"$build/mdscan" gather a.plan --from a.d -o split.jsonl
"$build/mdscan" videos -q -o plain.jsonl
python3 - <<'END'
import json


def lines(name):
    with open(name) as file:
        return [json.loads(line) for line in file]


def events(name):
    return [line for line in lines(name) if line["type"] == "event"]


plain, split = events("plain.jsonl"), events("split.jsonl")
borders = [job["from"] for job in lines("a.plan") if job.get("from")]
within = sum(any(event["start"] < border < event["end"] for event in plain) for border in borders)
assert len(plain) == len(split) > 0, f"{len(plain)} events, {len(split)} in parts"
shift = max(abs(one[end] - other[end]) for one, other in zip(plain, split) for end in ("start", "end"))
equal = sum(one == other for one, other in zip(plain, split))
print(f"check-archive: {len(borders)} borders, {within} of them within an event; {len(plain)} events, {equal} of them "
      f"equal; begin and end at most {shift:.3f} s apart")
assert shift <= 0.5
END
