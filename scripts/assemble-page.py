#!/usr/bin/env python3
"""How do head, style, body, script and data become one page?  A file that asks nobody for anything.

    scripts/assemble-page.py OUTPUT --parts FOLDER --style FILE --script FILE [--data ID FILE]...

head.html, style.css and body.html of the folder; --style comes before that of the folder. Data goes into a script element
with this id, as base64.
"""
import argparse
import base64
import pathlib


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("output", type=pathlib.Path)
    parser.add_argument("--parts", type=pathlib.Path, required=True)
    parser.add_argument("--style", type=pathlib.Path, required=True)
    parser.add_argument("--script", type=pathlib.Path, required=True)
    parser.add_argument("--data", nargs=2, action="append", default=[])
    asked = parser.parse_args()

    head, style, body = ((asked.parts / name).read_text() for name in ("head.html", "style.css", "body.html"))
    data = ""
    for name, file in asked.data:
        encoded = base64.b64encode(pathlib.Path(file).read_bytes()).decode()
        data += f'<script type="text/plain" id="{name}">{encoded}</script>\n'
    asked.output.write_text(f"{head}<style>\n{asked.style.read_text()}{style}</style>\n</head>\n{body}{data}"
                            f"<script>\n{asked.script.read_text()}</script>\n</body>\n</html>\n")


if __name__ == "__main__":
    main()
