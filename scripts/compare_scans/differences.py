"""Where do two folders differ, to the byte?"""
import os

SHOWN = 70  # bytes on each side of a difference


def excerpt(data, place):
    begin = max(0, place - SHOWN)
    text = data[begin:place + SHOWN].decode("utf-8", "backslashreplace").replace("\n", "\\n").replace("\r", "\\r")
    return ("..." if begin else "") + text + ("..." if place + SHOWN < len(data) else "")


def first_difference(old, new):
    low, high = 0, min(len(old), len(new))
    while low < high:  # the longest common beginning
        middle = (low + high + 1) // 2
        low, high = (middle, high) if old[:middle] == new[:middle] else (low, middle - 1)
    return low


def describe(old, new):
    """Of two unequal contents."""
    place = first_difference(old, new)
    where = f"{len(old)} and {len(new)} bytes, first difference at byte {place}"
    try:
        text = b"\0" not in old and b"\0" not in new and old.decode() is not None and new.decode() is not None
    except UnicodeDecodeError:
        text = False
    if text:
        old_lines, new_lines = old.split(b"\n"), new.split(b"\n")
        unequal = sum(a != b for a, b in zip(old_lines, new_lines)) + abs(len(old_lines) - len(new_lines))
        line = old.count(b"\n", 0, place) + 1
        start = old.rfind(b"\n", 0, place) + 1
        old, new = old[start:].split(b"\n")[0], new[start:].split(b"\n")[0]
        return [f"{where}, line {line}; {unequal} of {len(old_lines)} lines differ",
                f"  old: {excerpt(old, place - start)}", f"  new: {excerpt(new, place - start)}"]
    unequal = sum(a != b for a, b in zip(old, new)) if max(len(old), len(new)) < 1 << 22 else -1
    many = f"; {unequal} bytes differ" if unequal >= 0 and len(old) == len(new) else ""
    return [where + many, f"  old: {old[place:place + 16].hex(' ')}", f"  new: {new[place:place + 16].hex(' ')}"]


def contents(folder):
    """Relative paths of all that is in there; folders end with a slash."""
    found = set()
    for place, folders, files in os.walk(folder):
        inside = os.path.relpath(place, folder)
        names = files + [name + "/" for name in folders]
        found |= {os.path.normpath(os.path.join(inside, name)) + ("/" if name.endswith("/") else "") for name in names}
    return found


class Comparison:
    """Of one run: differences as lists of lines, and what was compared."""

    def __init__(self, run, old, new, mask):
        self.files = self.bytes = 0
        self.differences = []
        before, after = contents(old), contents(new)
        for path in sorted(before | after):
            if path not in after or path not in before:
                self.differences.append([f"{path}: only {'old' if path in before else 'new'}"])
            elif not path.endswith("/"):
                self.files += 1
                contents_old, contents_new = (folder.joinpath(path).read_bytes() for folder in (old, new))
                self.bytes += len(contents_old)
                masked_old, masked_new = mask(run, path, contents_old), mask(run, path, contents_new)
                if masked_old != masked_new:
                    lines = describe(masked_old, masked_new)
                    self.differences.append([f"{path}: {lines[0]}", *lines[1:]])
