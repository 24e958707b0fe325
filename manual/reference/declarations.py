"""What does a header declare, and what is said of it?  Runs Doxygen over headers and reads its XML."""
import collections
import pathlib
import re
import subprocess
import tempfile
import xml.etree.ElementTree

from . import comments

SETTINGS = """
PROJECT_NAME = coreMD
INPUT = {input}
OUTPUT_DIRECTORY = {output}
RECURSIVE = YES
FILE_PATTERNS = *.h *.hpp
STRIP_FROM_PATH = {input}
GENERATE_HTML = NO
GENERATE_LATEX = NO
GENERATE_XML = YES
XML_PROGRAMLISTING = NO
QUIET = YES
EXTRACT_ALL = YES
HIDE_FRIEND_COMPOUNDS = YES
SORT_MEMBER_DOCS = NO
MARKDOWN_SUPPORT = NO
AUTOLINK_SUPPORT = NO
MACRO_EXPANSION = YES
EXPAND_ONLY_PREDEF = YES
PREDEFINED = COREMD_API= COREMD_HOST_API= __cplusplus=202002L
WARN_IF_DOC_ERROR = YES
"""

# kind: function, variable, enum, value, typedef, define, class or struct; text: the comment as it stands in the header.
# scope: the namespaces and classes around it.
Declaration = collections.namedtuple("Declaration", "kind name scope text line code value members")


def text_of(element):
    """The comment of a declaration."""
    found = [v.text or "" for part in ("briefdescription", "detaileddescription")
             for v in element.findall(f"{part}//verbatim")]
    return "\n".join(found).strip("\n").strip()


def plain(element, name):
    """The text of a part, with blanks as they are in the headers."""
    part = element.find(name)
    text = "" if part is None else " ".join("".join(part.itertext()).split())
    text = re.sub(r"< (?=[\w:])", "<", text) if name in {"type", "argsstring", "definition"} else text
    text = re.sub(r"(?<=[\w>*&]) >(?!=)", ">", text) if name in {"type", "argsstring", "definition"} else text
    return re.sub(r" ([*&]+)(?=\w)", r"\1 ", text) if name == "argsstring" else text


def code_of(member, kind, name):
    """As one would declare it."""
    start, arguments = plain(member, "type"), plain(member, "argsstring")
    template = [" ".join(filter(None, (plain(p, "type"), plain(p, "declname")))) for p in
                member.findall("templateparamlist/param")]
    prefix = f"template <{', '.join(template)}>\n" if template else ""
    if kind == "define":
        parameters = [plain(p, "defname") for p in member.findall("param")]
        return f"#define {name}" + (f"({', '.join(parameters)})" if parameters else "")
    if kind == "typedef":
        return plain(member, "definition").replace("= typedef ", "= ")
    if member.get("static") == "yes" and not start.startswith("static"):
        start = f"static {start}"
    start = re.sub(r" ([*&]+)$", r"\1", start)
    return prefix + f"{start} {name}{arguments}".lstrip()


def declaration_of(member, scope):
    kind, name = member.get("kind"), member.findtext("name")
    values = [Declaration("value", v.findtext("name"), scope, text_of(v), 0, v.findtext("name"), plain(v, "initializer"), [])
              for v in member.findall("enumvalue")]
    return Declaration(kind, name, scope, text_of(member), int(member.find("location").get("line")),
                       code_of(member, kind, name), plain(member, "initializer"), values)


def read_compounds(folder):
    compounds = {}
    for path in folder.glob("*.xml"):
        compound = xml.etree.ElementTree.parse(path).getroot().find("compounddef")
        if compound is not None:
            compounds[compound.get("id")] = compound
    return compounds


def members_of(compound, scope):
    for member in compound.findall("sectiondef/memberdef"):
        is_deleted = plain(member, "argsstring").endswith("delete")
        if member.get("prot") == "public" and member.get("kind") != "friend" and not is_deleted:
            yield member.find("location").get("file"), declaration_of(member, scope)


def declarations_of(folder):
    """Of every file below the XML folder, what it declares, in its order."""
    compounds, by_file = read_compounds(folder), collections.defaultdict(list)
    inner = {e.get("refid") for c in compounds.values() if c.get("kind") in {"class", "struct", "union"}
             for e in c.findall("innerclass")}

    def class_of(compound):
        scope, _, name = compound.findtext("compoundname").rpartition("::")
        members = [d for _, d in members_of(compound, f"{scope}::{name}")]
        members += [class_of(compounds[e.get("refid")])[1] for e in compound.findall("innerclass")
                    if e.get("prot") == "public"]
        place = compound.find("location")
        return place.get("file"), Declaration(compound.get("kind"), name, scope, text_of(compound), int(place.get("line")),
                                              f"{compound.get('kind')} {name}", "", sorted(members, key=lambda d: d.line))

    for compound in compounds.values():
        kind = compound.get("kind")
        if kind in {"class", "struct", "union"} and compound.get("id") not in inner and compound.get("prot") != "private":
            path, declaration = class_of(compound)
            by_file[path].append(declaration)
        elif kind in {"namespace", "file"}:
            for path, declaration in members_of(compound, compound.findtext("compoundname") if kind == "namespace" else ""):
                by_file[path].append(declaration)
    # A typedef'd struct of C comes twice; of the namespace's members, a file's compound has copies.
    for path, declarations in by_file.items():
        seen, kept = set(), []
        for declaration in sorted(declarations, key=lambda d: (d.line, d.kind == "typedef")):
            if declaration.kind == "typedef" and declaration.name in {d.name for d in kept}:
                continue
            if (declaration.kind, declaration.name, declaration.line) not in seen:
                seen.add((declaration.kind, declaration.name, declaration.line))
                kept.append(declaration)
        by_file[path] = kept
    return by_file


def read(headers):
    """Declarations by the names under which hosts include the headers. Stops where Doxygen complains."""
    with tempfile.TemporaryDirectory() as work:
        sources, output = pathlib.Path(work, "include"), pathlib.Path(work, "out")
        for header in headers:
            path = sources / header.name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(comments.documented(header.path.read_text()))
        output.mkdir()
        done = subprocess.run(["doxygen", "-"], input=SETTINGS.format(input=sources, output=output), capture_output=True,
                              text=True, check=False)
        if done.returncode or done.stderr:
            raise RuntimeError(f"doxygen: {done.stderr.replace(str(sources) + '/', '')}")
        return declarations_of(output / "xml")
