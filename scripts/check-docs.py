#!/usr/bin/env python3
"""Does every code block of the documentation do what it says?

    scripts/check-docs.py --installed PREFIX --build DIRECTORY [--work DIRECTORY] DOCUMENT.md...

Blocks marked c, cpp, cmake, sh and console in Markdown are tested against an installed tree; a block of these kinds that is
not tested has to say why. Other blocks are left alone, unless a directive stands before them.

  c, cpp     with a main function: compiled, linked and run, must end with 0. Without: needs `inside` or `excerpt`.
  sh         run, in order, in a directory that stands for the project's root: must end with 0.
  console    lines that begin with "$ " are run; what follows is what they print (stdout and stderr), where a line "..."
             stands for any lines. Where nothing follows, nothing is compared.
  cmake      needs `file`, `excerpt` or `skip`.

A directive is a comment on the line before the block, invisible to readers; several are separated by ";":

  <!-- test: skip REASON -->           not tested
  <!-- test: needs PATH -->            not tested where this file is not there, as what is built of the project varies
  <!-- test: compile -->               c, cpp: not run
  <!-- test: inside NAME -->           c, cpp: takes the place of the line BLOCK in tests/docs/wrappers/NAME
  <!-- test: excerpt PATH -->          the block's lines stand in this file of the project, one after another
  <!-- test: below -->                 c, cpp, with `file`: compiled by commands to come, not here
  <!-- test: file NAME -->             also written as NAME into the directory, for blocks to come
  <!-- test: output -->                is what the previous program or sh block printed on stdout
  <!-- test: means TEXT = OTHER -->    sh, console: run with OTHER in the place of TEXT
  <!-- test: varies REGEX -->          console, output: what matches is not compared

The directory is one per document. It holds a copy of the project, the build as build/release, and recording.mp4; programs
and libraries of the installed tree come first in PATH, for pkg-config, CMake and the loader. HOME is a directory in it.
"""
import argparse
import concurrent.futures
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
WRAPPERS = ROOT / "tests/docs/wrappers"
TESTED_KINDS = {"c", "cpp", "cmake", "sh", "console"}
COMPILERS = {"c": [os.environ.get("CC", "cc"), "-std=c11"], "cpp": [os.environ.get("CXX", "c++"), "-std=c++20"]}
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
DIRECTIVES = {"skip", "compile", "inside", "excerpt", "file", "output", "means", "varies", "below", "needs"}
LONGEST = 120  # seconds of one command
NEED_ARGUMENT = {"skip", "inside", "excerpt", "file", "means", "varies", "needs"}


class Failure(Exception):
    """A block that does not do what it says."""


class Block:
    def __init__(self, line, kind, text, directives):
        self.line, self.kind, self.text, self.directives = line, kind, text, directives

    def get(self, name):
        """The arguments of all directives of this name."""
        return [argument for word, argument in self.directives if word == name]


def read_directives(comment):
    directives = []
    for part in [comment] if comment.startswith("skip ") else comment.split(";"):
        word, _, argument = part.strip().partition(" ")
        if word not in DIRECTIVES:
            raise Failure(f"unknown directive '{word}'")
        if word in NEED_ARGUMENT and not argument.strip():
            raise Failure(f"directive '{word}' says nothing")
        directives.append((word, argument.strip()))
    return directives


def read_blocks(text):
    """The fenced blocks of a document with their directives, in order."""
    lines = text.split("\n")
    blocks, i, directives = [], 0, []
    while i < len(lines):
        comment = re.fullmatch(r"\s*<!-- test: (.*) -->\s*", lines[i])
        fence = re.fullmatch(r"(\s*)(`{3,}|~{3,})\s*([\w+-]*).*", lines[i])
        if comment:
            directives = directives + read_directives(comment[1])
        elif fence:
            first, indent = i + 1, len(fence[1])
            i += 1
            while i < len(lines) and lines[i].strip() != fence[2]:
                i += 1
            if i == len(lines):
                raise Failure(f"the block of line {first} has no end")
            body = [line[indent:] if not line[:indent].strip() else line for line in lines[first:i]]
            blocks.append(Block(first, fence[3], "".join(line + "\n" for line in body), directives))
            directives = []
        elif lines[i].strip():
            if directives:
                raise Failure(f"line {i}: a directive without a block")
        i += 1
    return blocks


def pattern_of(expected, varies):
    """A regular expression of what is expected: lines of "..." are any lines, what varies is anything."""
    pattern = ""
    for line in expected.splitlines():
        if line.strip() == "...":
            pattern += r"(?:.*\n)*?"
            continue
        pieces = [line]
        for regex in varies:
            pieces = [inner for piece in pieces for inner in re.split(regex, piece)]
        pattern += ".*?".join(re.escape(piece) for piece in pieces) + "\n"
    return pattern


def compare(expected, printed, varies):
    if printed and not printed.endswith("\n"):
        printed += "\n"
    if not re.fullmatch(pattern_of(expected, varies), printed):
        raise Failure(f"prints something else:\n{textwrap.indent(printed, '    ')}")


class Document:
    """One document with the directory in which its blocks are run."""

    def __init__(self, path, work, installed, build):
        self.path, self.directory = path, work / re.sub(r"\W", "_", str(path))
        self.printed, self.counts, self.skipped = None, {}, []
        # A copy, never links: blocks may write over what is there.
        shutil.rmtree(self.directory, ignore_errors=True)
        shutil.copytree(ROOT, self.directory, ignore=shutil.ignore_patterns("build", ".git", "__pycache__"))
        shutil.copy(ROOT / "samples/crossing.mp4", self.directory / "recording.mp4")
        (self.directory / "home").mkdir()
        (self.directory / "build").mkdir()
        (self.directory / "build/release").symlink_to(build)

        libraries = next(installed.rglob("libcoreMD.so")).parent
        self.environment = dict(
            os.environ, HOME=str(self.directory / "home"), XDG_CONFIG_HOME=str(self.directory / "home/.config"),
            PATH=f"{installed}/bin:{os.environ['PATH']}", LC_ALL="C",
            PKG_CONFIG_PATH=f"{libraries}/pkgconfig", CMAKE_PREFIX_PATH=str(installed), LD_LIBRARY_PATH=str(libraries))

    def run(self, command, merge=False):
        """What the command prints; fails where it does not end with 0 in time."""
        with subprocess.Popen(command, cwd=self.directory, env=self.environment, text=True, start_new_session=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT if merge else subprocess.PIPE) as process:
            try:
                output, errors = process.communicate(timeout=LONGEST)
            except subprocess.TimeoutExpired as late:
                os.killpg(process.pid, signal.SIGKILL)  # with all that it started
                raise Failure(f"takes more than {LONGEST} s") from late
        if process.returncode:
            raise Failure(f"ends with {process.returncode}:\n{textwrap.indent(output + (errors or ''), '    ')}")
        return output

    def check(self):
        """All failures, as lines of text."""
        failures = []
        try:
            blocks = read_blocks(self.path.read_text())
        except Failure as failure:
            return [f"{self.path}: {failure}"]
        for block in blocks:
            try:
                what = self.check_block(block)
                self.counts[what] = self.counts.get(what, 0) + 1
            except (Failure, OSError) as failure:
                failures.append(f"{self.path}:{block.line}: {failure}")
        return failures

    def check_block(self, block):
        """Tests one block; tells what was done."""
        if block.get("skip"):
            self.skipped.append(f"{self.path}:{block.line}: {block.get('skip')[0]}")
            return "left out"
        for path in block.get("needs"):
            if not (self.directory / path).exists():
                self.skipped.append(f"{self.path}:{block.line}: needs {path}")
                return "left out"
        for name in block.get("file"):
            self.write(name, block.text)
        for path in block.get("excerpt"):
            self.check_excerpt(block, path)
        if block.get("output"):
            if self.printed is None:
                raise Failure("nothing was run before")
            compare(block.text, self.printed, block.get("varies"))
            return "outputs"
        if block.get("excerpt"):
            return "excerpts"
        if block.get("below"):
            if not block.get("file"):
                raise Failure("'below' needs 'file'")
            return "files"
        if block.kind in COMPILERS:
            return self.check_program(block)
        if block.kind in {"sh", "console"}:
            return self.check_commands(block)
        if block.kind in TESTED_KINDS and not block.get("file"):
            raise Failure(f"a {block.kind} block needs 'file', 'excerpt' or 'skip'")
        return "files" if block.get("file") else "not code"

    def write(self, name, text):
        """Never through a link: those lead to the project's own files."""
        path = self.directory / name
        if any(parent.is_symlink() for parent in path.parents):
            raise Failure(f"'file {name}' would write into the project")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.unlink(missing_ok=True)
        path.write_text(text)

    @staticmethod
    def check_excerpt(block, path):
        wanted = [line.strip() for line in block.text.splitlines() if line.strip()]
        there = [line.strip() for line in (ROOT / path).read_text().splitlines() if line.strip()]
        if not any(there[i:i + len(wanted)] == wanted for i in range(len(there))):
            raise Failure(f"is not a part of {path}")

    def check_program(self, block):
        text, inside = block.text, block.get("inside")
        if inside:
            wrapper = (WRAPPERS / inside[0]).read_text()
            head, found, tail = wrapper.partition("\nBLOCK\n")
            if not found:
                raise Failure(f"{inside[0]} has no line BLOCK")
            text = f'{head}\n#line {block.line + 1} "{self.path}"\n{text}{tail}'
        elif not re.search(r"^int main\(", text, re.MULTILINE):
            raise Failure("has no main function: needs 'inside', 'excerpt' or 'skip'")
        source = self.directory / f"home/block{block.line}.{block.kind}"
        source.write_text(text)
        program = str(source.with_suffix(""))
        flags = self.run(["pkg-config", "--cflags", "--libs", "coreMD-host-classes", "coreMD-host", "coreMD"]).split()
        self.run(COMPILERS[block.kind] + WARNINGS + [str(source), "-o", program, "-pthread"] + flags, merge=True)
        if inside or block.get("compile"):
            return "fragments"
        self.printed = self.run([program])
        return "programs"

    def check_commands(self, block):
        def meant(command):
            for rule in block.get("means"):
                text, _, other = rule.partition(" = ")
                if not other:
                    raise Failure(f"'means {rule}' has no ' = '")
                command = command.replace(text, other)
            return command

        if block.kind == "sh":
            self.printed = self.run(["bash", "-euo", "pipefail", "-c", meant(block.text)])
            return "commands"
        steps = re.split(r"^\$ ", block.text, flags=re.MULTILINE)
        if steps[0] or len(steps) < 2:
            raise Failure("a console block begins with '$ '")
        for step in steps[1:]:
            command, expected = re.fullmatch(r"((?:.*\\\n)*.*\n)([\s\S]*)", step).groups()
            printed = self.run(["bash", "-euo", "pipefail", "-c", meant(command)], merge=True)
            if expected.strip():
                compare(expected, printed, block.get("varies"))
        return "commands"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("documents", nargs="+", type=pathlib.Path)
    parser.add_argument("--installed", required=True, type=pathlib.Path, help="prefix of an installed tree")
    parser.add_argument("--build", required=True, type=pathlib.Path, help="build directory it was installed from")
    parser.add_argument("--work", type=pathlib.Path, help="where blocks are run; kept. Default: a temporary directory")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as temporary:
        work = (arguments.work or pathlib.Path(temporary)).resolve()
        installed, build = arguments.installed.resolve(), arguments.build.resolve()
        documents = [Document(path, work, installed, build) for path in arguments.documents]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            longest_first = sorted(documents, key=lambda document: document.path.read_text().count("```cpp"), reverse=True)
            failures = [failure for of_document in pool.map(Document.check, longest_first) for failure in of_document]
    for document in documents:
        counts = ", ".join(f"{count} {what}" for what, count in sorted(document.counts.items()))
        print(f"{document.path}: {counts or 'no blocks'}")
        for reason in document.skipped:
            print(f"  left out: {reason}")
    for failure in failures:
        print(failure, file=sys.stderr)
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
