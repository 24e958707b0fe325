#!/usr/bin/env python3
"""Do the pages on the interfaces tell all that the headers and the program tell, and nothing else?

    man_pages_test.py PROJECT MDSCAN CC INCLUDE

coreMD(3): every exported C function with its very arguments, every field of every record, every status, every assertion text
that the header names; its example compiles. mdscan(1): what scripts/make-man.py writes, with every option of --help. Both:
no complaint from mandoc, or else from man, where either is installed. docs/c-interface.md: every function with its
declaration, every assertion text. docs/cpp-interface.md: every public function of coreMD.hpp's Detector and of its
namespace.
"""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

PROJECT, MDSCAN, CC, INCLUDE = (sys.argv[1:5] if len(sys.argv) >= 5 else [""] * 4)
ROOT = pathlib.Path(PROJECT)


def header():
    text = (ROOT / "include/coreMD.h").read_text()
    return text, re.sub(r"/\*.*?\*/", " ", text, flags=re.DOTALL)


def assertion_texts(comments):
    text = " ".join(line.strip(" *") for line in comments.split("\n"))
    return {found for found in re.findall(r'\("([^"]+)"', text) if not found.startswith("default")}


def declarations(code):
    """Name: (result, arguments) of every C function."""
    c_part = code.split("} /* extern", maxsplit=1)[0].split("namespace MD")[0]
    return {name: (result.strip(), [" ".join(part.split()) for part in arguments.split(",")])
            for result, name, arguments in re.findall(r"COREMD_API ([\w ]+?[ *]+)(\w+)\(([^)]*)\);", c_part)}


def words_of(page):
    """The text of a page without its macros and with words taken apart."""
    text = page.replace("\\-", "-").replace("\\&", "")
    return set(re.findall(r"[A-Za-z_]\w*", text))


class LibraryPage(unittest.TestCase):
    def setUp(self):
        self.page = (ROOT / "man/coreMD.3").read_text()
        self.comments, self.code = header()

    def test_every_function_stands_in_the_synopsis_as_declared(self):
        declared = declarations(self.code)
        self.assertGreater(len(declared), 10)
        synopsis = self.page.split(".Sh SYNOPSIS")[1].split(".Sh")[0]
        written = {}
        for result, call in re.findall(r"^\.Ft (.*)\n\.Fn (.*)$", synopsis, re.MULTILINE):
            name, _, rest = call.partition(" ")
            written[name] = (result.strip('"').strip(), re.findall(r'"([^"]*)"', rest) or rest.split())

        def plain(function):
            return function[0].replace(" ", ""), [argument.replace(" ", "") for argument in function[1]]
        self.assertEqual({name: plain(f) for name, f in written.items()}, {name: plain(f) for name, f in declared.items()})
        for name in declared:
            self.assertGreater(len(re.findall(rf"\.(?:Fn|It Fn) {name}\b", self.page)), 1, f"{name} is not explained")

    def test_every_field_and_status_is_named(self):
        fields = set()
        for body in re.findall(r"typedef struct \w+ \{(.*?)\}", self.code, re.DOTALL):
            fields.update(re.findall(r"(\w+);", body))
        self.assertGreater(len(fields), 30)
        statuses = set(re.findall(r"(COREMD_\w+)\s*=", self.code))
        self.assertFalse((fields | statuses) - words_of(self.page))

    def test_every_assertion_text_is_named(self):
        texts = assertion_texts(self.comments)
        self.assertIn("first", texts)
        written = set()
        for item in re.findall(r"^\.It Li (.*)$", self.page, re.MULTILINE):
            written.update([item] + item.split(" , "))
        self.assertFalse(texts - written)

    def test_the_example_compiles(self):
        example = self.page.split(".Bd -literal\n")[1].split("\n.Ed")[0]
        program = ("#include <coreMD.h>\n#include <stddef.h>\nvoid Report(MDObjectInfo* object);\n"
                   "void host(DetectionInfo info);\nvoid host(DetectionInfo info) {\n" + example + "\n}\n")
        with tempfile.TemporaryDirectory() as directory:
            source = pathlib.Path(directory, "example.c")
            source.write_text(program)
            done = subprocess.run([CC, "-std=c11", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", f"-I{INCLUDE}",
                                   str(source)],
                                  stderr=subprocess.PIPE, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_it_bears_the_version(self):
        version = ".".join(re.findall(r"define COREMD_VERSION_(?:MAJOR|MINOR|PATCH) +(\d+)", self.comments))
        self.assertIn(f"\n.Os coreMD {version}\n", self.page)


class InterfacePages(unittest.TestCase):
    def test_the_c_page_has_every_declaration_and_assertion_text(self):
        page = re.sub(r"^```.*?^```", "", (ROOT / "docs/c-interface.md").read_text(), flags=re.DOTALL | re.MULTILINE)
        comments, code = header()
        shown = {" ".join(text.split()).replace(" *", "*").replace("* ", "*") for text in re.findall(r"`([^`]+;)`", page)}
        for name, (result, arguments) in declarations(code).items():
            declaration = f"{result} {name}({', '.join(arguments)});".replace(" *", "*").replace("* ", "*")
            self.assertIn(declaration, shown)
        self.assertFalse(assertion_texts(comments) - set(re.findall(r"`([^`]+)`", page)))

    def test_the_cpp_page_names_every_public_function(self):
        page = words_of((ROOT / "docs/cpp-interface.md").read_text())
        text = re.sub(r"//[^\n]*", "", (ROOT / "include/coreMD.hpp").read_text())
        detector = text.split("\nclass Detector {")[1].split("\nprivate:")[0]
        members = set(re.findall(r"^    [\w:&*<>]+(?: [\w:&*<>]+)* \*?&?([A-Z]\w+)\(", detector, re.MULTILINE))
        free = set(re.findall(r"^inline [\w*]+ (\w+)\(", text, re.MULTILINE))
        self.assertGreater(len(members), 12)
        self.assertGreater(len(free), 3)
        self.assertFalse((members | free) - page)


class ScannerPage(unittest.TestCase):
    def test_it_is_what_the_generator_writes(self):
        done = subprocess.run([str(ROOT / "scripts/make-man.py"), "--check", MDSCAN], stderr=subprocess.PIPE, text=True,
                              check=False)
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_it_has_every_option_of_the_help(self):
        said = subprocess.run([MDSCAN, "--help"], stdout=subprocess.PIPE, text=True, check=True).stdout
        lines = "\n".join(line for line in said.splitlines() if line.startswith("  -"))
        options = set(re.findall(r"(?<![\w-])--?[a-z][\w-]*", lines))
        self.assertGreater(len(options), 8)
        page = (ROOT / "man/mdscan.1").read_text().replace("\\-", "-")
        written = {"-" + flag for flag in re.findall(r"Fl ([\w-]+)", page)}
        self.assertFalse(options - written)


class BothPages(unittest.TestCase):
    def test_nobody_complains(self):
        if shutil.which("mandoc"):
            command = ["mandoc", "-Tlint", "-Wwarning"]
        elif shutil.which("man"):
            command = ["man", "--local-file", "--warnings=w", "--pager=cat"]
        else:
            self.skipTest("neither mandoc nor man is installed")
        for page in ["mdscan.1", "coreMD.3"]:
            done = subprocess.run(command + [str(ROOT / "man" / page)], capture_output=True, text=True, check=False)
            complaint = done.stdout if command[0] == "mandoc" else done.stderr
            self.assertEqual((done.returncode, complaint), (0, ""), page)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[5:])
