"""How do pages that live in the repository become pages of a site?  Called by mkdocs.

Links out of docs/ lead to files of the repository, which the site does not hold: there, only their text is left.
docs/performance.md is written by `./dev bench`, docs/accuracy.md by `./dev bench accuracy`: they are listed where they are
there.
"""
import pathlib
import re


def on_config(config, **_):
    for title, page in (("Performance", "performance.md"), ("Accuracy", "accuracy.md")):
        if pathlib.Path(config["docs_dir"], page).exists():
            config["nav"].append({title: page})
    return config


def on_page_markdown(markdown, **_):
    return re.sub(r"\[([^\]]*)\]\(\.\./[^)]*\)", r"\1", markdown)
