"""How do pages that live in the repository become pages of a site?  Called by mkdocs.

Links out of docs/ lead to files of the repository, which the site does not hold: there, only their text is left.
"""
import re


def on_page_markdown(markdown, **_):
    return re.sub(r"\[([^\]]*)\]\(\.\./[^)]*\)", r"\1", markdown)
