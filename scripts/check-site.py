#!/usr/bin/env python3
"""Can the built site be read without a network, and does every link in it lead somewhere?

    scripts/check-site.py DIRECTORY

Fails where a page loads a script, style, picture or font from another place, or where a link's file or its place within the
file does not exist. Links to other sites are allowed in the text and not followed.
"""
import html.parser
import pathlib
import re
import sys
import urllib.parse

LOADED = {("script", "src"), ("img", "src"), ("iframe", "src"), ("source", "src"), ("embed", "src"), ("object", "data")}
LOADED_RELATIONS = {"stylesheet", "icon", "shortcut", "preload", "manifest", "modulepreload", "preconnect", "dns-prefetch"}


class Page(html.parser.HTMLParser):
    """What one page loads, what it links to, and the places in it."""

    def __init__(self, text):
        super().__init__()
        self.loaded, self.links, self.places = [], [], set()
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.places.update(value for name, value in attrs if value and (name == "id" or (tag, name) == ("a", "name")))
        self.loaded += [value for name, value in attrs if value and (tag, name) in LOADED]
        if tag == "link" and LOADED_RELATIONS & set((attributes.get("rel") or "").lower().split()):
            self.loaded.append(attributes.get("href") or "")
        if tag == "a" and attributes.get("href"):
            self.links.append(attributes["href"])


def faults_of(site):
    pages = {path: Page(path.read_text()) for path in sorted(site.rglob("*.html"))}
    if not pages:
        yield f"{site}: no page"
    for path, page in pages.items():
        if path.name == "404.html":  # a server shows it at any address: its links begin at the root
            page.links, page.loaded = [], [u for u in page.loaded if not u.startswith("/")]
        for url in page.loaded + page.links:
            parts = urllib.parse.urlsplit(url)
            if parts.scheme or parts.netloc:
                if url in page.loaded and parts.scheme != "data":
                    yield f"{path}: loads {url}"
                continue
            target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
            if target.is_dir():
                target /= "index.html"
            if not target.exists():
                yield f"{path}: {url} leads nowhere"
            elif parts.fragment and target in pages and urllib.parse.unquote(parts.fragment) not in pages[target].places:
                yield f"{path}: {url}: the page has no such place"
    for path in sorted(site.rglob("*.css")):
        for url in re.findall(r"(?:url\(|@import\s*)[\"']?((?:https?:)?//[^\"')\s]+)", path.read_text()):
            yield f"{path}: loads {url}"


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check-site.py DIRECTORY")
    faults = list(faults_of(pathlib.Path(sys.argv[1]).resolve()))
    for fault in faults:
        print(fault, file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
