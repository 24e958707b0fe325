"""Which headers does a host get, and under which names?  All that `cmake --install` puts below include/."""
import collections
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]

# name: as a host includes it; kind: interface, host or class.
Header = collections.namedtuple("Header", "name kind path")


def installed_headers():
    headers = [Header(path.name, "interface", path) for path in sorted((ROOT / "include").iterdir())]
    staged = (ROOT / "cmake/StagedHeaders.cmake").read_text()
    for kind, folder, prefix in (("host", "host", "coreMD/host/"), ("class", "src", "coreMD/")):
        listed = re.search(rf"set\(coreMD_{kind}_headers\s+([^)]*)\)", staged)
        headers += [Header(prefix + name, kind, ROOT / folder / name) for name in listed[1].split()]
    return headers
