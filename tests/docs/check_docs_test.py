"""Does the check of the documentation's code blocks notice what is wrong with a block, and where?

    check_docs_test.py <check-docs.py> <installed tree> <build directory>
"""
import pathlib
import subprocess
import sys
import tempfile

CHECK, INSTALLED, BUILD = sys.argv[1:4]
MAIN = "#include <coreMD.h>\nint main(void) { return coreMD_Version() != COREMD_VERSION; }\n"


def block(kind, text, *directives):
    return "".join(f"<!-- test: {directive} -->\n" for directive in directives) + f"```{kind}\n{text}```\n"


# Name: document, and what is said about it; None where all is well.
CASES = {
    "program": (block("c", MAIN), None),
    "program that does not compile": (block("c", "int main(void) { return Nothing(); }\n"), "CASE:1: ends with 1"),
    "program with a warning": (block("c", "int main(int n, char** v) { return 0; }\n"), "unused parameter"),
    "program that fails": (block("c", MAIN.replace("!=", "==")), "CASE:1: ends with 1"),
    "program that only compiles": (block("c", MAIN.replace("!=", "=="), "compile"), None),
    "program that does not link": (block("c", "int f(void);\nint main(void) { return f(); }\n", "compile"), "undefined ref"),
    "output": (block("sh", "echo one\n") + block("text", "one\n", "output"), None),
    "other output": (block("sh", "echo one\n") + block("text", "two\n", "output"), "prints something else:\n    one"),
    "output of nothing": (block("text", "two\n", "output"), "nothing was run before"),
    "fragment in C++": (block("cpp", "detector.AddWholePicture();\n", "inside detector.cpp"), None),
    "fragment in C": (block("c", "h13(detector, info);\n", "inside detector.c"), None),
    "fragment with a mistake": ("Text.\n\n" + block("cpp", "\ndetector.Nothing();\n", "inside detector.cpp"), "CASE:6"),
    "fragment without a place": (block("cpp", "detector.AddWholePicture();\n"), "has no main function"),
    "excerpt": (block("c", "  h15(&detector);\n h12(&detector, &zone);\n", "excerpt examples/minimal.c"), None),
    "no excerpt": (block("c", "h15(&detector);\nint x;\n", "excerpt examples/minimal.c"), "is not a part of"),
    "commands": (block("sh", "test -f CMakeLists.txt && test -f build/release/CMakeCache.txt\n"), None),
    "failing commands": (block("sh", "false\ntrue\n"), "CASE:1: ends with 1"),
    "failing pipe": (block("sh", "false | true\n"), "CASE:1: ends with 1"),
    "file for commands": (block("text", "words\n", "file f.txt") + block("sh", "grep words f.txt\n"), None),
    "other commands": (block("sh", "program --long\n", "means program = echo"), None),
    "console": (block("console", "$ echo a; echo b >&2\na\nb\n$ echo \\\n  c\nc\n"), None),
    "console with another output": (block("console", "$ echo a\nb\n"), "prints something else:\n    a"),
    "console with more output": (block("console", "$ printf 'a\\nb\\n'\na\n"), "prints something else"),
    "console with less output": (block("console", "$ echo a\na\nb\n"), "prints something else"),
    "console with any lines": (block("console", "$ seq 9\n1\n...\n9\n"), None),
    "console that varies": (block("console", "$ echo took 5 s\ntook 4 s\n", r"varies \d+"), None),
    "console that varies more": (block("console", "$ echo gave 5 s\ntook 4 s\n", r"varies \d+"), "prints something else"),
    "left out": (block("sh", "false\n", "skip it fails"), None),
    "left out for reasons": (block("sh", "false\n", "skip it fails; and: why not"), None),
    "left out without a reason": (block("sh", "false\n", "skip "), "directive 'skip' says nothing"),
    "with what is there": (block("sh", "false\n", "needs build/release/CMakeCache.txt"), "CASE:1: ends with 1"),
    "without what is not there": (block("sh", "false\n", "needs build/release/nothing"), None),
    "compiled by commands": (block("c", "int main(void) { return 0; }\n", "file later.c; below") +
                             block("sh", "$CC later.c -o later && ./later\n"), None),
    "compiled by nobody": (block("c", "int main(void) { return 0; }\n", "below"), "'below' needs 'file'"),
    "file of the project": (block("text", "x\n", "file LICENSE") + block("sh", "grep -qx x LICENSE\n"), None),
    "unknown directive": (block("sh", "true\n", "skpi x"), "unknown directive 'skpi'"),
    "directive without block": ("<!-- test: skip x -->\n\nText.\n", "a directive without a block"),
    "block without end": ("```sh\ntrue\n", "has no end"),
    "cmake without a purpose": (block("cmake", "project(x)\n"), "a cmake block needs"),
    "other kinds": (block("text", "anything\n") + block("", "goes\n"), None),
    "indented block": ("1. Step\n\n   ```sh\n   test -f CMakeLists.txt\n   ```\n", None),
}


def main():
    failures = 0
    with tempfile.TemporaryDirectory() as directory:
        paths = []
        for number, (text, _) in enumerate(CASES.values()):
            paths.append(pathlib.Path(directory) / f"case{number}.md")
            paths[-1].write_text(text)
        done = subprocess.run([sys.executable, CHECK, "--installed", INSTALLED, "--build", BUILD, *map(str, paths)],
                              capture_output=True, text=True, check=False)
        for path, (name, (_, expected)) in zip(paths, CASES.items()):
            said = done.stderr[done.stderr.find(str(path)):] if str(path) in done.stderr else ""
            ends = [said.find(str(other)) for other in paths if other != path and str(other) in said]
            said = said[:min(ends, default=len(said))]
            well = not said if expected is None else expected.replace("CASE", str(path)) in said
            if not well:
                failures += 1
                print(f"{name}: expected {expected!r}, said {said!r}")
        # Blocks were run on copies: what one of them wrote over is as it was.
        if "Apache License" not in (pathlib.Path(CHECK).parent.parent / "LICENSE").read_text():
            failures += 1
            print("a block wrote into the project")
        if done.returncode != 1:
            failures += 1
            print(f"ends with {done.returncode}")
    print(f"{len(CASES)} documents, {failures} failures")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
