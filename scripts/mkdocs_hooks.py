"""How do pages that live in the repository become pages of a site?  Called by mkdocs.

Links out of docs/ lead to files of the repository, which the site does not hold: there, only their text is left.
docs/performance.md is written by `./dev bench`: it is listed where it is there.
"""
import pathlib
import re


def on_config(config, **_):
    if pathlib.Path(config["docs_dir"], "performance.md").exists():
        config["nav"].append({"Performance": "performance.md"})
    return config


def on_page_markdown(markdown, **_):
    return re.sub(r"\[([^\]]*)\]\(\.\./[^)]*\)", r"\1", markdown)
