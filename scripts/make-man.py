#!/usr/bin/env python3
"""Is the manual page of mdscan what the program says of itself?

    scripts/make-man.py MDSCAN             writes man/mdscan.1 from man/mdscan.1.in and the program's --help
    scripts/make-man.py --check MDSCAN     fails where the page is not what would be written

The page is kept in the repository, so that building and installing need nothing; a test runs the check.
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TEMPLATE = ROOT / "man/mdscan.1.in"
PAGE = ROOT / "man/mdscan.1"


def version():
    text = (ROOT / "include/coreMD.h").read_text()
    return ".".join(re.findall(r"^#define COREMD_VERSION_(?:MAJOR|MINOR|PATCH) +(\d+)", text, re.MULTILINE))


def plain(text):
    """Text that troff prints as it stands."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text[:1] in ".'" else text


def group_of(help_text, name):
    """The part of the help below the heading that begins with this name, and the heading."""
    match = re.search(rf"^{name}\b.*:\n(?: .*\n)*", help_text, re.MULTILINE)
    return match[0] if match else ""


def options_of(help_text):
    """(words, description) of every option, in order. Descriptions begin in column 28 or on the line below."""
    options, in_options = [], False
    for line in help_text.splitlines():
        if not line.startswith(" "):
            in_options = line.endswith(":") and not line.startswith("Positionals:")
            continue
        if not in_options:
            continue
        match = re.match(r"  (-\S+(?: \S+)*?)(?: {2,}(.*))?$", line)
        if match:
            options.append([match[1], [match[2]] if match[2] else []])
        elif options:
            options[-1][1].append(line.strip())
    return [(words, " ".join(parts)) for words, parts in options]


def items(options):
    lines = []
    for words, description in options:
        names, _, rest = words.partition(" ")
        flags = " , ".join("Fl " + plain(name[1:]) for name in names.split(","))
        rest = rest.replace("...", "").replace("REQUIRED", "").strip()
        metavariable, _, shown = rest.partition("=")
        lines.append(f".It {flags}" + (f" Ar {plain(metavariable)}" if metavariable else "") +
                     (f" Bq {plain(shown)}" if shown else ""))
        lines.append(plain(description) + ".")
    return "\n".join(lines)


def archive_options(mdscan):
    """Options that only the verbs for archives have."""
    found = []
    for verb in ("plan", "work", "gather", "farm"):
        found += [option for option in options_of(group_of(help_of(mdscan, verb), "Archives")) if option not in found]
    return found


def help_of(mdscan, *command):
    return subprocess.run([mdscan, *command, "--help"], stdout=subprocess.PIPE, text=True, check=True).stdout


def page_of(mdscan):
    options = options_of(help_of(mdscan))
    why = options_of(group_of(help_of(mdscan, "explain"), "Why"))
    archives = archive_options(mdscan)
    if not options or not why or not archives:
        sys.exit("make-man.py: mdscan --help, mdscan explain --help or mdscan plan --help names no option")
    return (TEMPLATE.read_text()
            .replace("@GENERATED@", "Written by scripts/make-man.py from mdscan.1.in and mdscan --help: change those.")
            .replace("@VERSION@", version())
            .replace("@OPTIONS@", items(options))
            .replace("@EXPLAIN@", items(why))
            .replace("@ARCHIVES@", items(archives)))


def main():
    arguments = sys.argv[1:]
    check = arguments[:1] == ["--check"]
    if len(arguments) != 1 + check:
        sys.exit("usage: make-man.py [--check] MDSCAN")
    page = page_of(arguments[-1])
    if not check:
        PAGE.write_text(page)
    elif PAGE.read_text() != page:
        sys.exit(f"make-man.py: {PAGE} is out of date: run scripts/make-man.py {arguments[-1]}")


if __name__ == "__main__":
    main()
