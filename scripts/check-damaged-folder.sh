#!/usr/bin/env bash
# Does a scan of a large folder with broken files name exactly these, miss no event of the others, and survive being ended?
# usage: scripts/check-damaged-folder.sh [FILES [MDSCAN]]     2000 files, build/release/mdscan; needs ffmpeg and python3
#
# Makes the folder below build/: short clips in which a square crosses, or nothing moves; unusual ones that are sound; 20
# broken ones. Scans it once, then with an end at random moments (SIGKILL and SIGINT) and --resume, and compares results byte
# for byte.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
count=${1:-2000}
mdscan=$(realpath "${2:-$root/build/release/mdscan}")
work=$root/build/damaged-folder-$count
export XDG_CONFIG_HOME=$work/none                    # nobody's own options
fail() { echo "check-damaged-folder.sh: $*" >&2; exit 1; }
for program in ffmpeg python3; do
    command -v $program >/dev/null || { echo "check-damaged-folder.sh: $program is not installed: skipped"; exit 77; }
done

rm -rf "$work"
mkdir -p "$work/clips" "$work/videos/deep"
cd "$work"
trap 'rm -rf "$work/videos" "$work/clips"' EXIT

# clip NAME FROM [ffmpeg options]: eight seconds; a square crosses for two of them, from FROM on; 99: never.
clip() {
    local name=$1 from=$2
    shift 2
    ffmpeg -nostdin -v error -y -f lavfi -i "smptebars=size=160x120:rate=10:duration=8" \
        -f lavfi -i "color=white:size=24x24:rate=10:duration=8" \
        -filter_complex "[0][1]overlay=x='if(between(t,$from,$from+2),(t-$from)*92-24,-100)':y=30${filter:-}" \
        "$@" "clips/$name"
}
mp4=(-c:v mpeg4 -q:v 3 -g 12 -pix_fmt yuv420p -movflags +faststart)
clip still.mp4 99 "${mp4[@]}"
clip early.mp4 3 "${mp4[@]}"
clip late.mp4 4.5 "${mp4[@]}"
clip tables.mp4 3 -c:v mpeg4 -q:v 3 -pix_fmt yuv420p
clip plain.avi 3 -c:v mpeg4 -q:v 3 -pix_fmt yuv420p
clip plain.mkv 3 -c:v mpeg4 -q:v 3 -pix_fmt yuv420p

# Name, status and number of events of every file; * any number.
expect() { printf '%s\t%s\t%s\n' "$1" "$2" "$3" >>expected.tsv; }

# Sound, though unusual.
clip ../videos/tenbits.mkv 3 -c:v ffv1 -pix_fmt yuv420p10le && expect tenbits.mkv complete 1
filter=",pad=161:121" clip ../videos/odd.mkv 3 -c:v ffv1 -pix_fmt yuv444p && expect odd.mkv complete 1
filter=",select='not(mod(n,2))+lt(t,2)'" clip ../videos/uneven.mkv 3 -c:v ffv1 -vsync vfr && expect uneven.mkv complete 1
ffmpeg -nostdin -v error -y -i clips/early.mp4 -c copy -metadata:s:v rotate=90 videos/rotated.mp4 &&
    expect rotated.mp4 complete 1
clip small.mjpeg 3 -c:v mjpeg -q:v 3 -f mjpeg
filter=",scale=320:240" clip large.mjpeg 3 -c:v mjpeg -q:v 3 -f mjpeg
cat clips/small.mjpeg clips/large.mjpeg >clips/grows.mjpeg
ffmpeg -nostdin -v error -y -r 10 -f mjpeg -i clips/grows.mjpeg -c copy videos/grows.avi && expect grows.avi complete 2
clip ../videos/transport.ts 3 -c:v mpeg2video -q:v 3 -pix_fmt yuv420p -f mpegts && expect transport.ts complete 1
ffmpeg -nostdin -v error -y -i clips/early.mp4 -f lavfi -i sine=duration=8 -c:v copy -c:a aac -shortest videos/sound.mp4 &&
    expect sound.mp4 complete 1

# Broken, 20 of them.
part() { head -c "$(($(stat -c %s "$1") * $2 / 100))" "$1"; }
for percent in 50 70 90; do
    part clips/early.mp4 $percent >"videos/deep/cut$percent.mp4" && expect "deep/cut$percent.mp4" damaged '*'
    part clips/plain.avi $percent >"videos/cut$percent.avi" && expect "cut$percent.avi" damaged '*'
    part clips/plain.mkv $percent >"videos/cut$percent.mkv" && expect "cut$percent.mkv" damaged '*'
done
for percent in 40 95; do
    part clips/tables.mp4 $percent >"videos/tables$percent.mp4" && expect "tables$percent.mp4" unreadable 0
done
hole() { printf '%0.s\xa5\x00\x37' {1..1500} | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }
for place in 3 2; do
    cp clips/early.mp4 "videos/hole$place.mp4"
    hole "videos/hole$place.mp4" "$(($(stat -c %s clips/early.mp4) / place))"
    expect "hole$place.mp4" damaged '*'
done
: >videos/empty.mp4 && expect empty.mp4 unreadable 0
printf 'This is a text.\nIt has two lines.\n' >videos/text.mp4 && expect text.mp4 unreadable 0
head -c 50000 /dev/zero >videos/zeros.avi && expect zeros.avi unreadable 0
python3 -c 'import random, sys; random.seed(1); sys.stdout.buffer.write(random.randbytes(50000))' >videos/noise.mkv &&
    expect noise.mkv unreadable 0
head -c 60 clips/early.mp4 >videos/start.mp4 && expect start.mp4 unreadable 0
ffmpeg -nostdin -v error -y -f lavfi -i sine=duration=2 -c:a pcm_s16le -f wav videos/wave.avi && expect wave.avi unreadable 0
ffmpeg -nostdin -v error -y -f lavfi -i sine=duration=2 -c:a aac -f mp4 videos/tone.mp4 && expect tone.mp4 unreadable 0
broken=$(grep -cvP '\tcomplete\t' expected.tsv)
((broken == 20)) || fail "$broken broken files were made, not 20"

# The rest: sound, every third still.
for ((i = $(wc -l <expected.tsv); i < count; ++i)); do
    case $((i % 3)) in 0) kind=early events=1 ;; 1) kind=late events=1 ;; 2) kind=still events=0 ;; esac
    name=$(printf '%s%05d.mp4' "$( ((i % 2)) && echo deep/)" "$i")
    cp "clips/$kind.mp4" "videos/$name"
    expect "$name" complete $events
done

begin=$(date +%s%N)
code=0
"$mdscan" -j 2 -o whole.jsonl videos 2>whole.err || code=$?
took=$((($(date +%s%N) - begin) / 1000000))          # milliseconds
((code == 1)) || fail "exit code $code, not 1: $(tail -1 whole.err)"
echo "$count files, $broken of them broken: $(tail -1 whole.err | sed 's/^mdscan: //')"

python3 - expected.tsv whole.jsonl whole.err <<'CHECK'
import json
import sys

expected = {}
for line in open(sys.argv[1]):
    name, status, events = line.rstrip("\n").split("\t")
    expected["videos/" + name] = (status, events)
files, events = {}, {}
for line in map(json.loads, open(sys.argv[2])):
    if line["type"] == "event":
        events.setdefault(line["file"], []).append(line)
    elif line["type"] == "file":
        assert line["file"] not in files, f"twice: {line}"
        files[line["file"]] = line
wrong = [f"{name} is missing" for name in expected.keys() - files.keys()]
wrong += [f"{name} was never made" for name in files.keys() - expected.keys()]
errors = open(sys.argv[3]).read().splitlines()
for name, line in files.items():
    status, count = expected.get(name, ("", "*"))
    found = events.get(name, [])
    named = sum(error.startswith(f"mdscan: {name}: ") for error in errors)
    if line["status"] != status or named != (status != "complete") or (status != "complete") != bool(line.get("reason")):
        wrong.append(f"not {status} as it should be, or not named once: {line}")
    if count != "*" and len(found) != int(count):
        wrong.append(f"{len(found)} events, not {count}: {line}")
    moment = 4.5 if name.endswith(".mp4") and name[-9:-4].isdigit() and int(name[-9:-4]) % 3 == 1 else 3
    if found and status == "complete" and abs(found[0]["start"] - moment) > 0.7:
        wrong.append(f"not at {moment} s: {found[0]}")
for line in wrong:
    print(line, file=sys.stderr)
sys.exit(bool(wrong))
CHECK

# The same, ended at random moments.
RANDOM=1
ended=0
for ((round = 0; round < 8; ++round)); do
    "$mdscan" -j 2 --resume state -o resumed.jsonl videos 2>resumed.err &
    scan=$!
    sleep "$(awk -v ms=$((took / 40 + RANDOM % (took / 6 + 1))) 'BEGIN { print ms / 1000 }')"
    signal=$( ((round % 3 == 2)) && echo INT || echo KILL)
    kill -s "$signal" $scan 2>/dev/null || break     # it is over
    wait $scan 2>/dev/null || true
    ((++ended))
done
((ended >= 3)) || fail "the scan was over before it could be ended three times"
code=0
"$mdscan" -j 2 --resume state -o resumed.jsonl videos 2>resumed.err || code=$?
((code == 1)) || fail "resumed: exit code $code, not 1: $(tail -1 resumed.err)"
cmp whole.jsonl resumed.jsonl || fail "results differ after $ended ends and resumptions"
echo "ended $ended times and resumed: the same results, byte for byte"
