#!/usr/bin/env bash
# Does an archive's work survive a thousand killed workers, with nothing lost and nothing twice?  And does a long video in
# parts tell the events of one scan?
# usage: scripts/check-archive.sh [KILLS [BUILD [SECONDS]]]     1000 kills; build/release; 7200 seconds of video, 240 at
#                                                               least; more than an hour. 0 kills, 0 seconds: without
#
# Eight workers share jobs that wait; every 0.3 s one of them is killed, stopped for a while or interrupted, and another
# one started in its place. In a farm, connections are cut and the server is killed, too. Results are compared byte for byte
# with those of one worker. Without a PostgreSQL server, that part says so.
#
# Then four workers scan 200 rendered videos, and the real ones that are kept beside the checkout where there are some. A
# twentieth of the kills hits them. What is gathered must be what one scan says, byte by byte.
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
        COREMD_CHAOS_KILLS=$kills COREMD_CHAOS_JOBS=2000 COREMD_CHAOS_MS=60 "$build/FarmChaosTest" --gtest_brief=1
    fi
fi
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cd "$place"

render() { # size, pictures, seed, file, options of mdscene...
    "$build/mdscene" --size "$1" --frames "$2" --fps 12 --seed "$3" "${@:5}" |
        ffmpeg -v error -i - -c:v libx264 -preset ultrafast -g 24 "$4"
}

# Works on real.plan with four workers, and kills as many as are still to be killed.
work_and_kill() {
    local workers=() i left=1 looks=0
    while ((left)); do
        ((++looks < 2000)) || return 1
        for i in {0..3}; do
            if [[ -z ${workers[i]:-} ]] || ! kill -0 "${workers[i]}" 2>/dev/null; then
                "$build/mdscan" work real.plan --into real.d -q &
                workers[i]=$!
            fi
        done
        sleep 0.5
        left=$(($(wc -l <real.plan) - 1 - $(find real.d -name '*.result' | wc -l)))
        if ((left && killed < kills / 20)) && kill -KILL "${workers[RANDOM % 4]}"; then
            killed=$((killed + 1))
        fi
    done
    wait
} 2>/dev/null # the shell tells each that it saw killed

if ((kills > 0)); then
    mkdir real
    for seed in {101..300}; do
        render 320x180 360 "$seed" "real/$seed.mp4" --pause-seconds=1
    done
    footage=$root/../shared/footage
    [[ ! -d $footage ]] || find "$footage" -type f '(' -name '*.mp4' -o -name '*.avi' ')' -exec cp {} real ';'
    "$build/mdscan" real -q -j 64 -o real.jsonl --csv real.csv
    "$build/mdscan" plan real -q -o real.plan
    killed=0 rounds=0
    while ((killed < kills / 20)); do
        rm -rf real.d
        work_and_kill || { echo "check-archive: four workers do not come to an end" >&2; exit 1; }
        "$build/mdscan" gather real.plan -q --from real.d -o shared.jsonl --csv shared.csv
        cmp real.jsonl shared.jsonl
        cmp real.csv shared.csv
        rounds=$((rounds + 1))
    done
    echo "check-archive: $(($(wc -l <real.plan) - 1)) videos, $(grep -c '"type":"event"' real.jsonl) events, four" \
        "workers, of which $killed were killed in $rounds rounds: lines and table are those of one scan"
fi
((seconds > 0)) || exit 0
mkdir videos
render 320x180 $((seconds * 12)) 5 videos/street.mp4 --pause-seconds=3
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
