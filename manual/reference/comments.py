"""How do a header's plain comments become documentation that Doxygen reads?

Comments stand before what they tell of, without a blank line between, or behind it on the same line, with their continuation
below in the same column. They are handed over verbatim: how they are written as a page is decided in pages.py, from the
text as it stands in the header. Line numbers stay what they are.
"""
import re

# One line of a header: what of it is code, and what is comment. Comments do not begin within strings.
CODE = re.compile(r"""((?:[^"'/]|/(?![/*])|"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*')*)(.*)""", re.S)
IGNORED = re.compile(r"clang-format|NOLINT|---- |-{8}")


class Line:
    def __init__(self, code, comment, column):
        self.code, self.comment, self.column = code, comment, column

    def is_comment_only(self):
        return self.comment is not None and not self.code.strip()

    def is_ignored(self):
        return self.comment is not None and IGNORED.search(self.comment) is not None


def lines_of(text):
    """Code and comment of every line; comments without their signs."""
    lines, is_inside = [], False
    for line in text.split("\n"):
        if is_inside:
            body, is_inside = line, "*/" not in line
            lines.append(Line("", re.sub(r"^\s*\* ?", "", body.split("*/")[0]).rstrip(), 0))
            continue
        code, rest = CODE.fullmatch(line).groups()
        if rest.startswith("//"):
            lines.append(Line(code, re.sub(r"^//[/!<]*", "", rest).removeprefix(" ").rstrip(), len(code)))
        elif rest.startswith("/*"):
            comment, end, after = rest[2:].partition("*/")
            is_inside = not end
            if after.strip():  # code goes on behind it: no documentation
                lines.append(Line(line, None, 0))
            else:
                lines.append(Line(code, comment.strip(), len(code)))
        else:
            lines.append(Line(line, None, 0))
    return lines


def opening_of(text):
    """The comment with which a header begins: what question it answers."""
    opening = []
    for line in lines_of(text):
        if not line.is_comment_only():
            break
        opening.append(line.comment)
    return "\n".join(opening).strip()


def documented(text):
    """The header with its comments as Doxygen wants them, line by line."""
    lines, out, i = lines_of(text), [], 0
    while i < len(lines) and lines[i].is_comment_only():
        out.append("")
        i += 1
    while i < len(lines):
        line = lines[i]
        if line.comment is None or line.is_ignored():
            out.append(line.code)
            i += 1
            continue
        first, is_before = i, line.is_comment_only()
        i += 1
        while i < len(lines) and lines[i].is_comment_only() and not lines[i].is_ignored() and (
                is_before or lines[i].column == line.column):
            i += 1
        texts = [each.comment for each in lines[first:i]]
        following = next((each for each in lines[i:] if not each.is_ignored()), Line("", None, 0))
        tells_of_next = following.code.strip() not in {"", "}", "};"}
        opens_or_ends = line.code.rstrip().endswith(("{", "}")) and "(" not in line.code
        if not tells_of_next if is_before else opens_or_ends:
            out += [each.code for each in lines[first:i]]
            continue
        texts[0] = line.code + ("/** @verbatim " if is_before else "/**< @verbatim ") + texts[0]
        texts[-1] += " @endverbatim */"
        out += texts
    return "\n".join(out)
