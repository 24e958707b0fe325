#!/usr/bin/env python3
"""Are the manual's figures what the detector draws?

    scripts/figures.py MDFIGURE             draws them into docs/figures
    scripts/figures.py --check MDFIGURE     fails where a picture in docs/figures shows anything else

Pictures are compared after decompression, which versions of zlib do differently.
"""
import pathlib
import shutil
import subprocess
import sys
import tempfile
import zlib

FIGURES = pathlib.Path(__file__).resolve().parent.parent / "docs/figures"


def content_of(path):
    """The header and the filtered rows of a PNG file."""
    data, position, header, packed = path.read_bytes(), 8, b"", b""
    while position < len(data):
        length = int.from_bytes(data[position:position + 4], "big")
        kind, body = data[position + 4:position + 8], data[position + 8:position + 8 + length]
        header += body if kind == b"IHDR" else b""
        packed += body if kind == b"IDAT" else b""
        position += 12 + length
    return header, zlib.decompress(packed)


def main():
    arguments = sys.argv[1:]
    check = arguments[:1] == ["--check"]
    if len(arguments) != 1 + check:
        sys.exit("usage: figures.py [--check] MDFIGURE")
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([arguments[-1], folder], check=True)
        drawn = {path.name: path for path in pathlib.Path(folder).iterdir()}
        if not check:
            for name, path in drawn.items():
                shutil.copyfile(path, FIGURES / name)
            return
        kept = {path.name: path for path in FIGURES.glob("*.png")}
        wrong = sorted(set(drawn) ^ set(kept)) + sorted(name for name in set(drawn) & set(kept)
                                                        if content_of(drawn[name]) != content_of(kept[name]))
    if wrong:
        sys.exit(f"figures.py: not what the detector draws: {', '.join(wrong)}; run scripts/figures.py {arguments[-1]}")


if __name__ == "__main__":
    main()
