"""How do pages that live in the repository become pages of a site?  Called by mkdocs.

Links out of docs/ lead to files of the repository, which the site does not hold: there, only their text is left.
The page that detects motion is a file of the site where `./dev docs` has built it; elsewhere nothing leads to it.
docs/performance.md is written by `./dev bench`, docs/accuracy.md by `./dev bench accuracy`: they are listed where they are
there. The reference is made from the installed headers (manual/reference), colours of code for a light and a dark page.
"""
import pathlib
import re
import shutil
import sys
import tempfile

import mkdocs.structure.files
import pygments.formatters

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "build/page/wasm/detect.html"
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "manual"))
from reference import pages  # noqa: E402  # pylint: disable=wrong-import-position

made = pathlib.Path()  # where generated files are, from the configuration to the end of the build


def colours_of_code():
    def rules(style):
        return pygments.formatters.HtmlFormatter(style=style).get_style_defs(".codehilite")
    return f"{rules('default')}\n@media (prefers-color-scheme: dark) {{\n{rules('github-dark')}\n}}\n"


def on_config(config, **_):
    global made  # mkdocs calls functions: there is no object to keep it in
    facts = next(section["Facts"] for section in config["nav"] if "Facts" in section)
    for title, page in (("Performance", "performance.md"), ("Accuracy", "accuracy.md")):
        if pathlib.Path(config["docs_dir"], page).exists():
            facts.append({title: page})
    made = pathlib.Path(tempfile.mkdtemp())
    (made / "css").mkdir()
    (made / "css/code.css").write_text(colours_of_code())
    reference = pages.pages()
    for name, (_, text) in reference.items():
        (made / name).write_text(text)
    config["nav"].append({"Reference": [{title: name} for name, (title, _) in reference.items()]})
    header = (ROOT / "include/coreMD.h").read_text()
    version = ".".join(re.search(rf"COREMD_VERSION_{part} (\d+)", header)[1] for part in ("MAJOR", "MINOR", "PATCH"))
    config["extra"]["version"] = version
    return config


def on_files(files, config, **_):
    for folder, paths in ((made, made.rglob("*")), (PAGE.parent, [PAGE])):
        for path in sorted(p for p in paths if p.is_file()):
            files.append(mkdocs.structure.files.File(str(path.relative_to(folder)), str(folder), config["site_dir"],
                                                     config["use_directory_urls"]))
    return files


def on_page_markdown(markdown, **_):
    if not PAGE.exists():
        markdown = re.sub(r"\[([^\]]*)\]\(detect\.html\)", r"\1 (`./dev docs` builds it)", markdown)
    return re.sub(r"\[([^\]]*)\]\(\.\./[^)]*\)", r"\1", markdown)


def on_post_build(**_):
    shutil.rmtree(made)
