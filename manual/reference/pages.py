"""How do declarations become pages of the manual?  One page per header that hosts include, one for all headers of the
classes, and a list of them, in Markdown; as many links as there are names to link."""
import html
import os
import re

from . import comments, declarations, headers

LIST_PAGE, CLASS_PAGE = "api.md", "api-classes.md"
SECTIONS = (("Macros", {"define"}), ("Types", {"struct", "class", "union", "enum", "typedef"}),
            ("Constants", {"variable"}), ("Functions", {"function"}))
GUARD = re.compile(r"COREMD_([A-Z]+_)?(H|HPP|API)$")  # no host writes them


def page_of(header):
    if header.kind == "class":
        return CLASS_PAGE
    return "api-" + re.sub(r"\.(\w+)$", r"-\1", header.name.removeprefix("coreMD/").replace("/", "-")) + ".md"


def place_of(title):
    """Where a heading is found: as the site's builder names it."""
    return re.sub(r"[-\s]+", "-", re.sub(r"[^\w\s-]", "", title).strip().lower())


def title_of(declaration):
    """Its name; of an enumeration without one what its comment says first, or what its values' names begin with."""
    if not declaration.name.startswith("@"):
        return declaration.name
    first = re.split(r"[.:](?:\s|$)", declaration.text, maxsplit=1)[0].replace("\n", " ")
    if first and len(first) <= 80:
        return first
    return os.path.commonprefix([value.name for value in declaration.members]) + "..."


class Writer:
    """Writes pages; knows where every name is explained."""

    def __init__(self, read):
        self.declarations = read
        self.links = {}
        for header in headers.installed_headers():
            page = page_of(header).replace(".md", ".html")
            for each in read.get(header.name, []):
                if not each.name.startswith(("@", "operator")) and not GUARD.match(each.name):
                    self.links.setdefault(each.name, f"{page}#{place_of(title_of(each))}")
                for value in each.members if each.kind == "enum" and each.name.startswith("@") else []:
                    self.links.setdefault(value.name, f"{page}#{place_of(title_of(each))}")
        words = [name for name in self.links if re.search(r"\d|_|[a-z][A-Z]", name)]  # no common words
        self.word = re.compile(r"\b(" + "|".join(sorted(map(re.escape, words), key=len, reverse=True)) + r")\b(?!\.[a-z]|/)")

    def linked(self, text, itself):
        """HTML of a text, with links at names that are explained elsewhere."""
        def link(match):
            name = match[1]
            return name if name == itself else f'<a href="{self.links[name]}">{name}</a>'
        return self.word.sub(link, html.escape(text, quote=False))

    def inline(self, text, itself):
        parts = text.split("`")
        if len(parts) % 2 == 0:
            return self.linked(text, itself)
        return "".join(f"<code>{self.linked(part, itself)}</code>" if i % 2 else self.linked(part, itself)
                       for i, part in enumerate(parts))

    def prose(self, text, itself=""):
        """Paragraphs, lists and code of a comment. Indented lines are as they stand: by four or more they are code."""
        out = []
        for paragraph in re.split(r"\n\s*\n", text):
            runs = []
            for line in paragraph.split("\n"):
                indent = len(line) - len(line.lstrip())
                kind = "code" if indent >= 4 else "table" if indent >= 2 and not (runs and runs[-1][0] == "list") else "text"
                if re.match(r"\s{0,3}- ", line):
                    kind = "list"
                elif runs and runs[-1][0] == "list" and indent in (2, 3):
                    kind = "list"
                elif runs and kind in {"code", "table"} and runs[-1][0] in {"code", "table"}:
                    kind = runs[-1][0]
                if runs and runs[-1][0] == kind:
                    runs[-1][1].append(line)
                else:
                    runs.append((kind, [line]))
            for kind, lines in runs:
                if kind == "code":
                    out.append("```cpp\n" + "\n".join(line[4:] for line in lines) + "\n```")
                elif kind == "table":
                    out.append("<pre>" + "\n".join(self.linked(line, itself) for line in lines) + "</pre>")
                elif kind == "list":
                    items = re.split(r"\n\s*- ", "\n" + "\n".join(lines))[1:]
                    out.append("<ul>" + "".join(f"<li>{self.inline(item, itself)}</li>" for item in items) + "</ul>")
                else:
                    out.append(f"<p>{self.inline(' '.join(lines), itself)}</p>")
        return "\n\n".join(out) + "\n"

    def table(self, heads, rows):
        head = "".join(f"<th>{name}</th>" for name in heads)
        body = "".join("<tr>" + "".join(f"<td>{cell}</td>" for cell in row) + "</tr>\n" for row in rows)
        return f'<table class="members"><thead><tr>{head}</tr></thead>\n<tbody>{body}</tbody></table>\n'

    def fields(self, members, itself):
        rows = []
        for member in members:
            declared = re.sub(rf"\s*\b{re.escape(member.name)}\b(.*)", r"\1", member.code)
            value = member.value.removeprefix("=").strip()
            rows.append((f"<code>{member.name}</code>", f"<code>{self.linked(declared, itself)}</code>",
                         self.inline(member.text.replace("\n", " "), itself) +
                         (f" <small>Default: <code>{html.escape(value)}</code></small>" if value else "")))
        return self.table(("field", "type", "meaning"), rows)

    def values(self, members, itself):
        rows = []
        for member in members:
            value = self.linked(member.value.removeprefix("=").strip(), itself)
            rows.append((f"<code>{member.name}</code>", f"<code>{value}</code>" if value else "",
                         self.inline(member.text.replace("\n", " "), itself)))
        return self.table(("name", "value", "meaning"), rows)

    @staticmethod
    def groups(members):
        """Declarations under one comment: those without one, in the lines right below."""
        groups = []
        for member in members:
            last = groups[-1][-1] if groups else None
            if last and not member.text and (member.line - last.line in (0, 1) or member.name == last.name):
                groups[-1].append(member)
            else:
                groups.append([member])
        return groups

    def block(self, group, itself):
        def declared(member):
            value = f" {member.value}" if member.kind in {"define", "variable"} and 0 < len(member.value) < 80 else ""
            return member.code + value + ("" if member.kind == "define" else ";")
        code = "\n".join(map(declared, group))
        return f"```cpp\n{code}\n```\n\n" + (self.prose(group[0].text, itself) if group[0].text else "")

    def type_body(self, declaration, level):
        name = declaration.name
        text = declaration.text
        if title_of(declaration) != name:  # what is the title already is not said twice
            text = text.replace("\n", " ").removeprefix(title_of(declaration)).lstrip(".: ")
        out = [self.prose(text, name)] if text else []
        if declaration.kind == "enum":
            return "\n".join(out + [self.values(declaration.members, name)])
        if declaration.kind == "typedef":
            return f"```cpp\n{declaration.code};\n```\n\n" + "\n".join(out)
        fields = [m for m in declaration.members if m.kind == "variable"]
        if fields:
            out.append(self.fields(fields, name))
        for member in declaration.members:
            if member.kind in {"struct", "class", "union", "enum", "typedef"}:
                out.append(f"{'#' * level} {name}::{title_of(member)}\n\n{self.type_body(member, level + 1)}")
        for group in self.groups([m for m in declaration.members if m.kind == "function"]):
            out.append(self.block(group, name))
        return "\n".join(out)

    def body(self, header, level):
        out, all_of = [], [d for d in self.declarations.get(header.name, []) if not GUARD.match(d.name)]
        for title, kinds in SECTIONS:
            members = [d for d in all_of if d.kind in kinds]
            if not members:
                continue
            if header.kind != "class":
                out.append(f"{'#' * level} {title}\n")
            if title == "Types":
                for member in members:
                    out.append(f"{'#' * (level + 1)} {title_of(member)}\n\n{self.type_body(member, level + 2)}")
                continue
            for group in self.groups(members):
                names = list(dict.fromkeys(m.name for m in group))
                # One heading; places for the others that it stands for.
                places = "".join(f'<a id="{place_of(name)}"></a>' for name in names[1:])
                out.append(f"{'#' * (level + 1)} {names[0]}\n\n" + (f"<p>{places}</p>\n\n" if places else "") +
                           self.block(group, names[0]))
        return "\n".join(out)

    def overview(self, header):
        """All names of a page, to jump to."""
        out = []
        for title, kinds in SECTIONS:
            names = dict.fromkeys(title_of(d) for d in self.declarations.get(header.name, [])
                                  if d.kind in kinds and not GUARD.match(d.name))
            links = ", ".join(f'<a href="#{place_of(name)}">{name}</a>' for name in names)
            out += [f"<p>{title}: {links}</p>\n"] if names else []
        return "\n".join(out)

    def header_page(self, header):
        opening = comments.opening_of(header.path.read_text())
        return (f"# {header.name}\n\n```cpp\n#include <{header.name}>\n```\n\n{self.prose(opening)}\n"
                f"{self.overview(header)}\n{self.body(header, 2)}")

    def class_page(self, kinds):
        out = ["# Headers of the classes\n", "What is behind a handle, for hosts that need it: "
               "[Class operations](classes.md) says what it is good for, and what it does not promise.\n"]
        for header in kinds:
            opening = comments.opening_of(header.path.read_text())
            out.append(f"## {header.name}\n\n{self.prose(opening)}\n{self.body(header, 2)}")
        return "\n".join(out)


def list_page(all_headers):
    out = ["# Headers\n", "All that is installed below `include/`, made from the headers themselves. The functions of the C "
           "interface are explained at more length in [C interface](c-interface.md), the C++ face in "
           "[C++ interface](cpp-interface.md), what prepares pictures in [Conditioning](conditioning.md).\n"]
    for kind, title in (("interface", "The interface"), ("host", "Between decoder and detector"),
                        ("class", "Behind the handle, without promise")):
        out += [f"## {title}\n", "| header | what for |", "|---|---|"]
        for header in (h for h in all_headers if h.kind == kind):
            opening = re.split(r"(?<=[.?])\s", comments.opening_of(header.path.read_text()).replace("\n", " "))[0]
            opening = re.sub(r"^coreMD: (\w)", lambda m: m[1].upper(), opening)
            place = "" if kind != "class" else "#" + place_of(header.name)
            out.append(f"| [`{header.name}`]({page_of(header)}{place}) | {html.escape(opening, quote=False)} |")
        out.append("")
    return "\n".join(out)


def pages():
    """Title and text of every page, by file name, in the order of the menu."""
    all_headers = headers.installed_headers()
    writer = Writer(declarations.read(all_headers))
    made = {LIST_PAGE: ("All headers", list_page(all_headers))}
    for header in all_headers:
        if header.kind != "class":
            made[page_of(header)] = (header.name.removeprefix("coreMD/"), writer.header_page(header))
    made[CLASS_PAGE] = ("Headers of the classes", writer.class_page([h for h in all_headers if h.kind == "class"]))
    return made
