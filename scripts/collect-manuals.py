#!/usr/bin/env python3
"""How do the manuals of several versions stand side by side?

    scripts/collect-manuals.py SITE FOLDER

Copies the manual that scripts/docs.sh built in SITE to FOLDER/VERSION, in the place of one that was there, and writes
versions.json, the newest version first, and an index.html that leads to it. Then the pages of all versions get a menu: each
leads to the same page of the other manuals, or to their first one where there is none. No script is needed to read them, no
server, and what is collected once is not built again.
"""
import html
import json
import pathlib
import re
import shutil
import sys

MARKS = re.compile(r"(<!-- version -->).*?(<!-- /version -->)", re.S)
VERSION = re.compile(r"<!-- version -->\s*(\d+\.\d+\.\d+)\s*<!-- /version -->")


def number(version):
    return [int(part) for part in version.split(".")]


def menu(version, versions, page, folder):
    """What stands in place of the version: itself alone, or a list to choose from."""
    if len(versions) == 1:
        return version
    up = "../" * len(page.parts)
    items = []
    for other in versions:
        there = page if (folder / other / page).exists() else pathlib.Path("index.html")
        current = ' aria-current="true"' if other == version else ""
        items.append(f'<li><a href="{html.escape(up + other + "/" + there.as_posix())}"{current}>{other}</a></li>')
    return f'<details><summary>{version}</summary><ul>{"".join(items)}</ul></details>'


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: collect-manuals.py SITE FOLDER")
    site, folder = map(pathlib.Path, sys.argv[1:])
    try:
        found = VERSION.search((site / "index.html").read_text())
    except OSError as failure:
        sys.exit(f"collect-manuals: {failure}")
    if not found:
        sys.exit(f"collect-manuals: {site}/index.html is no manual that was just built")
    shutil.rmtree(folder / found[1], ignore_errors=True)
    shutil.copytree(site, folder / found[1])

    versions = sorted((p.name for p in folder.iterdir() if re.fullmatch(r"\d+\.\d+\.\d+", p.name)), key=number, reverse=True)
    for version in versions:
        for path in sorted((folder / version).rglob("*.html")):
            text, page = path.read_text(), path.relative_to(folder / version)
            # A server shows 404.html at any address: no link of a menu would be right.
            shown = version if page.name == "404.html" else menu(version, versions, page, folder)
            path.write_text(MARKS.sub(lambda match, shown=shown: match[1] + shown + match[2], text))
    (folder / "versions.json").write_text(json.dumps({"newest": versions[0], "versions": versions}, indent=2) + "\n")
    (folder / "index.html").write_text(
        f'<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8"><title>coreMD</title>\n'
        f'<meta http-equiv="refresh" content="0; url={versions[0]}/index.html"></head>\n'
        f'<body><a href="{versions[0]}/index.html">coreMD {versions[0]}</a></body></html>\n')
    print(f"manuals in {folder}: {', '.join(versions)}")


if __name__ == "__main__":
    main()
