"""Which scans are compared?  The option sets below, each on many inputs, and the tales that take several steps."""
import dataclasses
import functools
import os
import re

from .runs import INT, TERM, Camera, Step

ALL, FILMS, FEW = "all", "films", "few"  # inputs of a set: films and media; films; a short film and media

MOST = "-o e.jsonl --csv e.csv --report p.html --frames --track --thumbnails t --clips c --background b.png --heatmap h.png "

# name, options, inputs. {mask} and the like are files that inputs.py makes; results get names of their own in each run.
OPTION_SETS = [
    ("plain", "", ALL),
    ("rate-0", "--rate 0 --frames", FEW),
    ("rate-2.5", "--rate 2.5 --frames", FILMS),
    ("block-16", "--block 16 --frames", ALL),
    ("block-4", "--block 4 --rate 3", FILMS),
    ("fast", "--fast", ALL),
    ("fast-frames", "--fast --frames --merge-gap 0.5 --rate 12", FILMS),
    ("shadows", "--shadows --frames", FILMS),
    ("min-size", "--min-size 0.12", FILMS),
    ("min-size-0", "--min-size 0 --min-duration 0 --frames --rate 0", FEW),
    ("min-blocks", "--min-blocks 40", FILMS),
    ("min-duration", "--min-duration 3", FILMS),
    ("merge-gap", "--merge-gap 0.3", FILMS),
    ("rolls", "--pre-roll 2 --post-roll 3.5 --merge-gap 0.5", FILMS),
    ("zone", "--zone 0,0.5,1,0.5", ALL),
    ("zone-twice", "--zone 0,0,0.4,1 --zone 0.3,0.3,0.7,0.7 --frames", FILMS),
    ("zones-file", "--zones {zones} --frames", ALL),
    ("mask", "--mask {mask} --track", FILMS),
    ("zones-mask-zone", "--zones {zones} --mask {mask} --zone 0.1,0.1,0.8,0.8 --min-size 0.02 --shadows", FILMS),
    ("output", "-o events.jsonl", ALL),
    ("frames", "--frames", FILMS),
    ("track", "--track --min-duration 0", ALL),
    ("csv", "--csv events.csv", ALL),
    ("csv-of-zones", "--csv events.csv --zones {zones} --start-time 2026-03-01T12:00:00.25+01:00", FILMS),
    ("report", "--report page.html", ALL),
    ("report-of-all", "--report ./page.html --zones {zones} --clips c --track --start-time 2024-02-29T23:59:58Z", FILMS),
    ("thumbnails", "--thumbnails pictures/deep", ALL),
    ("clips", "--clips clips", ALL),
    ("clips-rolls", "--clips clips --pre-roll 1 --post-roll 1 --merge-gap 0.4 --csv e.csv --report p.html", FILMS),
    ("background", "--background ground.png", ALL),
    ("heatmap", "--heatmap heat.png", ALL),
    ("overlay", "--overlay boxes.mp4", ALL),
    ("overlay-zones", "--overlay boxes.mp4 --zones {zones} --rate 0 --block 8 --start-time 2026-03-01T12:00:00Z", FEW),
    ("start-time", "--start-time 2026-12-31T23:59:59.5Z --frames", FEW),
    ("quiet", "--quiet", ALL),
    ("progress-json", "--progress json", ALL),
    ("progress-none", "--progress none", FEW),
    ("config", "--config {config}", ALL),
    ("config-and-words", "--config {config} --rate 3 --zone 0,0,1,0.6 --shadows=false --csv mine.csv", FILMS),
    ("everything", MOST + "--pre-roll 1 --zones {zones}", ALL),
    ("everything-fast", MOST + "--fast", FILMS),
]

CAMERA_SECONDS = 6  # how long the camera takes to send its film
EAGER = "--block 4 --rate 0 --merge-gap 0.3 --min-duration 0.1".split()
OUTPUTS = ("-o e.jsonl --csv e.csv --report p.html --track --thumbnails t --clips c --background b --heatmap h "
           "--overlay o --merge-gap 1").split()

# Command lines that are refused, or ask for text. {film} is a short video, {text} is none.
REFUSED = """
    --unknown {film}|{film} --rate|--rate fast {film}|--rate -1 {film}|--rate 1001 {film}|--rate nan {film}
    --block 65 {film}|--block x {film}|--min-size 1.5 {film}|--min-blocks 0 {film}|--min-blocks 1.5 {film}
    --merge-gap -1 {film}|--min-duration 1e7 {film}|--pre-roll soon {film}|--post-roll -0.5 {film}|--jobs 257 {film}
    -j x {film}|--reconnect -1 {film}|--progress loud {film}|--start-time noon {film}
    --start-time 2026-02-30T00:00:00Z {film}|--zone 0,0,1 {film}|--start-time 2026-03-01T12:00:00Z {film} {raw}
    --zone 0.5,0,0.6,1 {film}|--zone a,b,c,d {film}|--preview p.png {film}|--fast --overlay o.mp4 {film}
    --output a --csv a {film}|--csv a --report ./a {film}|--heatmap a --overlay a {film}|--output {film} {film}
    --csv {film} {film}|--report {film} {film}|--overlay {film} {film}|--background {film} {film}
    --heatmap {film} {film}|-o no/such/folder/e.jsonl {film}|-o . {film}|--csv . {film}|--report . {film}
    --overlay . {film}|--csv no/e.csv {film}|--report no/p.html {film}|--overlay no/o.mp4 {film}|--overlay o.xyz {film}
    --heatmap no/h.png {film}|--background no/b.png {film}|--thumbnails {film} {film}|--clips {film} {film}
    --heatmap {text} {film} {raw}|--overlay {text} {film} {raw}|--background {text} {film} {raw}|--clips c {raw}
    --clips c -j 2 {raw} {film}|no-such.mp4|--config no.conf {film}|--config . {film}|--zones no.json {film}
    --zones {text} {film}|--mask no.png {film}|--mask {text} {film}|--quiet no-such.mp4|no-such.mp4 {film}|*.nothing
    {text}|{text} {empty}|{empty}|.|/dev/null|/dev/video9|--frames {film} {film}|tcp://127.0.0.1:1|--fast -
    http://127.0.0.1:1/x?y|ftp://127.0.0.1/x|--block 1 --rate 1 {film}|--resume . {film}|--resume {text} {film}
    --resume no/such/state {film}|--write-config=yes|-h --unknown|--fast=maybe {film}|--help|--version|--write-config|-h
    explain --help|explain --version|zones --help|explain --write-config|zones --write-config|zones {film}
    zones {film} {raw}|zones|zones {text}|zones --preview {film} {film}|zones --preview no/p.png {film}|zones no.mp4
    explain {film}|explain --at 3 {film}|explain --at 3 --block 1,1 --block 2,2 {film}|explain --at 3 --block 1 {film}
    explain --at 3 --block 1,1 --pixel 4,4 {film}|explain --at never --block 1,1 {film}
    explain --at 3 --block 1,x {film}|explain --at 999 --block 1,1 {film}|explain --at 3 --block 999,1 {film}
    explain --at 3 --pixel 9,99999 {film}|explain --at 3 --block 1,1 {film} {raw}|explain --at 3 --block 1,1
    explain --at 3 --block 1,1 no.mp4|explain --at 3 --block 1,1 {text}|explain --at 1:60 --block 1,1 {film}
    explain --at 3 --block 1,1 --csv e.csv {film}|explain --at 3 --block 65 --block 1,1 {film}
    explain --at 1:00:00 --block 1,1 {film}|explain --at -1 --block 1,1 {film}
"""

BAD_CONFIGS = ["rate = fast", "rate", "= 3", "rate = 3\nrate = 4", "unknown = 1", "frames = yes", "csv = \"open", "rate =",
               "# fine\n\nconfig = x", "min-size = 2", "zone = 0,0,2,1", "preview = p.png", "start-time = noon",
               "help = true"]

# Of mdscan explain; the late ones where a video is long enough.
QUESTIONS = [
    "--at 0.5 --block 2,2",
    "--at 4.4 --pixel 50,50",
    "--at 4.48 --block 8,12 --json",
    "--at 2 --pixel 20,25 --json",
    "--at 1.9 --block 10,6 --shadows --min-size 0.2",
    "--at 0:05.2 --pixel 40,50 --block 8 --zones {zones}",
    "--at 5 --pixel 80,60 --zones {zones} --mask {mask} --json",
    "--at 4.6 --block 12,11 --min-blocks 500",
    "--at 2.1 --pixel 60,28 --min-duration 30 --progress json",
    "--at 3 --block 20,20 --fast --rate 12 --json",
]
LATE = [
    "--at 12.5 --pixel 300,200",
    "--at 15 --pixel 160,120 --shadows --json",
    "--at 0:11 --pixel 200,150",
]
PREVIEWS = [
    "--zones {zones} --preview p.png",
    "--zones {zones}",
    "--zone 0,0,0.3,0.4 --mask {mask} --preview m.png --block 16",
]

# Zone files that are refused, and lists of zones within one. * stands for sound corners.
BAD_ZONE_FILES = ["", "{", "[]", "{}", '{"zones":[]}', '{"zones":{}}', '{"zone":[]}', '{"zones":[\n{"name":"a",\n  *,}]}']
BAD_ZONES = """
    1|{}|{"name":""}|{"name":"a"}|{"name":"a","name":"b",*}|{"name":"a",*},{"name":"a",*}|{"name":"a","colour":1,*}
    {"name":"a","exclude":1,*}|{"name":"a","min_size":"x",*}|{"name":"a","min_size":1.5,*}|{"name":"a","mask":3}
    {"name":"a","exclude":true,"min_size":0.5,*}|{"name":"a","mask":"no.png"}|{"name":"a","mask":"m.png",*}
    {"name":"a","polygon":[[0,0],[1,0]]}|{"name":"a","polygon":[[0,0],[1,0],[1]]}|{"name":"only",*,"exclude":true}
    {"name":"a","polygon":[[0,0],[1,0],[1,2]]}|{"name":"a","polygon":[[0,0],[1,1],[1,0],[0,1]]}
"""


def listed(text):
    """One command line, or the like, behind each | and in each line."""
    return [item.strip() for item in re.split(r"[|\n]", text) if item.strip()]


def bad_zone_files():
    many = ",".join('{"name":"%d",*}' % i for i in range(65))
    texts = BAD_ZONE_FILES + ['{"zones":[%s]}' % zones for zones in [*listed(BAD_ZONES), many]]
    return [text.replace("*", '"polygon":[[0,0],[1,0],[1,1]]') for text in texts]


def writes(name, text):
    return lambda files: files.joinpath(name).write_text(text)


def refused(inputs, quick):
    names = {"film": inputs.raw, "raw": inputs.crossing, "text": inputs.text, "empty": inputs.empty}
    steps = [Step(line.format(**names).split()) for line in listed(REFUSED)]
    steps += [Step([]), Step([""]), Step([inputs.raw], full=True), Step([inputs.raw, inputs.crossing], full=True),
              Step(["explain", "--at", "3", "--pixel", "9,9", inputs.raw], full=True)]
    if quick:
        return {"words": steps[::5]}
    return {"words": steps,
            "config": [Step(["--config", "c.conf", inputs.raw], prepare=writes("c.conf", text)) for text in BAD_CONFIGS],
            "zones": [Step(["--zones", "z.json", inputs.raw], prepare=writes("z.json", text)) for text in bad_zone_files()]}


def configured(inputs):
    """Where a configuration file is looked for: by --config, in $XDG_CONFIG_HOME, in ~/.config."""
    def usual(files):
        for place, rate in (("xdg", 2), (".config", 3)):
            files.joinpath(place).mkdir()
            files.joinpath(place, "mdscan.conf").write_text(f"rate = {rate}\nframes = true\n")
    xdg = {"XDG_CONFIG_HOME": "{files}/xdg"}
    return {"places": [Step([inputs.raw], prepare=usual), Step([inputs.raw], environment=xdg),
                       Step([inputs.raw], environment={"XDG_CONFIG_HOME": "relative"}),
                       Step(["--config", inputs.config, inputs.raw], environment=xdg),
                       Step(["explain", "--at", "2", "--block", "3,3", inputs.raw], environment=xdg),
                       Step(["zones", inputs.raw], environment=xdg)]}


def explained(inputs, quick):
    paths = {"zones": inputs.zones, "mask": inputs.mask}
    return {film_name(film): [Step(["explain", *question.format(**paths).split(), film])
                              for question in QUESTIONS + (LATE if film != inputs.raw else [])]
            for film in ([inputs.raw] if quick else inputs.films[:3] + inputs.parts[:1])}


def previewed(inputs, quick):
    paths = {"zones": inputs.zones, "mask": inputs.mask}
    return {film_name(film): [Step(["zones", *words.format(**paths).split(), film]) for words in PREVIEWS]
            for film in ([inputs.raw, inputs.crossing] if quick else inputs.films + inputs.media)}


def batches(inputs):
    """Folders, patterns, doubles and what cannot be read, one at a time and several. On one core, as damaged() is."""
    folder = inputs.folder / "damaged"
    mixture = [inputs.crossing, "no-such.mp4", inputs.raw, inputs.text, folder, inputs.crossing, inputs.empty]
    recordings = [inputs.folder / "recordings"] if inputs.recordings else []
    runs = {"one-by-one": [Step(["--frames", *mixture])], "two-at-a-time": [Step(["-j", "2", "--frames", *mixture])],
            "as-many": [Step(["-j", "0", "--track", *mixture])], "quiet": [Step(["-q", "-j", "2", *mixture])],
            "json": [Step(["--progress", "json", "-j", "2", *mixture])],
            "outputs": [Step(["-j", "2", *OUTPUTS, *mixture, *recordings])],
            "fast": [Step(["-j", "2", "--fast", "--clips", "c", "--csv", "e.csv", *mixture, *recordings])],
            "pattern": [Step([folder / "*.mp4", inputs.folder / "[s-t]*.??*"])],
            "folder": [Step(["--report", "p.html", inputs.folder / "damaged"])]}
    return on_one_core(runs)


def on_one_core(runs):
    """Threads that decode damaged H.264 tell of the damage in any order, or not at all: two runs of one program differ."""
    return {name: [dataclasses.replace(step, one_core=True) for step in steps] for name, steps in runs.items()}


def damaged(inputs):
    options = ["--frames --track", "--fast", "--clips c --thumbnails t --overlay o.mp4 --background b.png --report p.html"]
    return on_one_core({film_name(film): [Step([*words.split(), film]) for words in options]
                        for film in inputs.damaged + inputs.recordings})


def keeps(lines, rest=0):
    """Cuts a state as if its run had been killed: behind so many lines, in the midst of the next."""
    def cut(files):
        path = files / "run.state"
        whole = path.read_bytes().splitlines(keepends=True)
        path.write_bytes(b"".join(whole[:lines]) + (whole[lines][:rest] if rest else b""))
    return cut


def has_lines(count):
    return lambda files: files.joinpath("run.state").read_bytes().count(b"\n") >= count


def resumed(inputs, quick):
    several = [inputs.raw if quick else inputs.crossing, inputs.text, inputs.damaged[2], inputs.media[0], inputs.damaged[0]]
    words = ["--resume", "run.state", *several]
    pages = ["--resume", "run.state", "-j", "2", *OUTPUTS, "--frames", *several]
    raw, piped = inputs.raw.read_bytes(), ["--resume", "run.state", "--frames", inputs.raw, inputs.media[-1], "-"]
    half = raw[:len(raw) // 2]

    def replaced(files):
        path = files / "mine.y4m"
        path.write_bytes(raw[:len(raw) * 2 // 3])
        os.utime(path, (1_700_000_000, 1_700_000_000))

    def mine(files):
        files.joinpath("mine.y4m").write_bytes(raw)
        os.utime(files / "mine.y4m", (1_600_000_000, 1_600_000_000))
    own = ["--resume", "run.state", "mine.y4m", inputs.raw]
    tales = {
        "again": [Step(words), Step(words), Step([*words, inputs.damaged[3]]), Step(["-j", "2", *words])],
        "killed": [Step(words), *(Step(words, prepare=keeps(lines, rest)) for lines, rest in
                                  ((3, 0), (2, 70), (1, 0), (0, 9), (4, 500)))],
        "pages": [Step(pages), Step(pages, prepare=keeps(3)), Step(pages)],
        "interrupted": [Step(piped, feed=half, stalls=True, until=has_lines(3), interrupt=TERM), Step(piped, feed=raw),
                        Step(piped, feed=raw)],
        "old-state": [Step(words, by_old=True), Step(words, prepare=keeps(3)), Step(words)],
        "old-state-pages": [Step(pages, by_old=True), Step(pages), Step(pages, prepare=keeps(2, 30))],
        "old-interrupted": [Step(piped, feed=half, stalls=True, until=has_lines(3), interrupt=INT, by_old=True),
                            Step(piped, feed=raw)],
        "new-state-old": [Step(words), Step(words, prepare=keeps(3), by_old=True)],
        "changed-input": [Step(own, prepare=mine), Step(own), Step(own, prepare=replaced)],
        "refused": [Step(words), Step([*words, "--rate", "3"]), Step([*words, "--csv", "run.state"]),
                    Step(words, prepare=lambda files: damage_line(files / "run.state"))],
    }
    return {name: tales[name] for name in ("again", "interrupted", "old-state", "refused")} if quick else tales


def damage_line(path):
    lines = path.read_bytes().splitlines(keepends=True)
    path.write_bytes(b"".join([lines[0], b'{"file":"x"}\n', *lines[2:]]))


def piped(inputs):
    raw = inputs.raw.read_bytes()
    half = raw[:len(raw) // 2]
    outputs = "--csv e.csv --report p.html --thumbnails t --heatmap h.png --background b.png --overlay o.mp4 --track".split()

    def stdin(*words, data=raw):
        return Step([*words], feed=data)

    def fifo(*words, data=raw):
        return Step([*words], feed=data, fifo=words[-1])

    def stalled(*words, **keywords):
        return Step([*EAGER, *words], feed=half, stalls=True, interrupt=TERM, **keywords)
    return {"stdin": [stdin("--frames", "-"), stdin("--frames", *EAGER, "-", data=half), stdin("-", data=b""),
                      stdin(*outputs, "-"), stdin("-", inputs.crossing, "-"), stdin("--clips", "c", "-")],
            "fifo": [fifo("--frames", "pipe"), fifo(*EAGER, "pipe.y4m", data=half), fifo(*outputs, "pipe"),
                     fifo("--fast", "pipe")],
            "stalled": [stalled("--frames", "-"), stalled(*outputs, "pipe", fifo="pipe"),
                        stalled("--frames", "-", inputs.raw)]}


def live(kind, words, name):
    """The camera has sent all that it has; then the scan is told to end, or gives up."""
    return lambda _: {"http": [Step([*EAGER, "--frames", *words, f"{Camera.address}/{kind}/{name}"], camera=Camera,
                                    interrupt=0 if kind == "gone" else TERM)]}


def on_terminal(inputs):
    return {"one": [Step([inputs.crossing], terminal=True), Step(["-q", inputs.raw], terminal=True),
                    Step(["--progress", "none", "-j", "2", inputs.raw, inputs.text], terminal=True)]}


def film_name(path):
    """Short, and unlike all others: the name and its folder's; of a numbered sequence, the folder."""
    path = path.parent if "%" in path.name else path
    return re.sub(r"[^\w.=-]", "_", f"{path.parent.name}-{path.name}")


def option_runs(inputs, name, words, on, quick):
    paths = {"zones": inputs.zones, "mask": inputs.mask, "config": inputs.config}
    words = [word.format(**paths) for word in words.split()]
    films = [inputs.raw, inputs.crossing] if on == FEW else inputs.films
    if quick:
        films = [inputs.raw] if on != ALL else [inputs.crossing]
    if name == "plain" and not quick:
        films = films + inputs.sequences + inputs.media
    runs = {film_name(film): [Step([*words, film])] for film in films}
    if on != FILMS and "--start-time" not in words and (not quick or name in ("plain", "everything")):
        runs["media"] = [Step([*words, *inputs.media])]
    return runs


def all_cases(inputs, quick):
    """name: (function that gives runs by name, whether they mostly wait)."""
    cases = {name: (functools.partial(option_runs, inputs, name, words, on, quick), False)
             for name, words, on in OPTION_SETS}
    for name, tale in {"refused": refused, "resumed": resumed, "explain": explained, "zones-preview": previewed}.items():
        cases[name] = functools.partial(tale, inputs, quick), False
    for name, tale in {"configured": configured, "batches": batches, "damaged": damaged, "terminal": on_terminal}.items():
        cases[name] = functools.partial(tale, inputs), False
    outputs = ["--clips", "c", "--csv", "e.csv", "--track", "--thumbnails", "t", "--heatmap", "h.png", "--report", "p.html"]
    for kind, words in (("on", outputs), ("cut", []), ("gone", ["--reconnect", "1"])):
        cases[f"live-{kind}"] = functools.partial(live(kind, words, "film"), inputs), True
    cases["piped"] = functools.partial(piped, inputs), True
    return cases
