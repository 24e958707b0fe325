#!/usr/bin/env python3
"""Do shells complete what mdscan takes?

    scripts/make-completions.py MDSCAN             writes completions/ from the program's --help
    scripts/make-completions.py --check MDSCAN     fails where the files are not what would be written

The files are kept in the repository, so that building and installing need nothing; a test runs the check.
"""
import importlib.util
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDER = ROOT / "completions"
NOTE = "# Completes the arguments of mdscan. Written by scripts/make-completions.py from mdscan --help: change those.\n"


def options(mdscan):
    """(names, argument, description) of every option; argument is empty for flags."""
    spec = importlib.util.spec_from_file_location("make_man", ROOT / "scripts/make-man.py")
    make_man = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(make_man)
    why = make_man.options_of(make_man.group_of(make_man.help_of(mdscan, "explain"), "Why"))
    found = []
    for words, description in make_man.options_of(make_man.help_of(mdscan)) + why + make_man.archive_options(mdscan):
        names, _, rest = words.partition(" ")
        if any(names.split(",") == others for others, _, _ in found):
            continue                            # --block, --from: something else in explain and gather
        found.append((names.split(","), re.sub(r"\.\.\.|REQUIRED", "", rest).partition("=")[0].strip(), description))
    if not found:
        sys.exit("make-completions.py: mdscan --help names no option")
    return found


def words_of(argument, description):
    """The words that an option takes, where it takes some of a few."""
    return re.findall(r"(?:^|; )(\w+)(?=:|$)", description) if argument in ("STYLE", "HOW") else []


def bash(all_options):
    cases = []
    for names, argument, description in all_options:
        pattern = "|".join(names)
        words = words_of(argument, description)
        if words:
            cases.append(f"    {pattern}) mapfile -t COMPREPLY < <(compgen -W '{' '.join(words)}' -- \"$current\") ;;")
        elif argument.startswith("FILE") or argument == "STATE":
            cases.append(f"    {pattern}) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$current\") ;;")
        elif argument == "DIR":
            cases.append(f"    {pattern}) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- \"$current\") ;;")
        elif argument:
            cases.append(f"    {pattern}) ;;")
    every = " ".join(name for names, _, _ in all_options for name in names)
    return (NOTE + "_mdscan() {\n"
            "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
            "    COMPREPLY=()\n    case $previous in\n" + "\n".join(cases) + "\n    *)\n"
            "        if [[ $current == -* ]]; then\n"
            f"            mapfile -t COMPREPLY < <(compgen -W '{every}' -- \"$current\")\n"
            "        else\n            compopt -o filenames\n"
            "            mapfile -t COMPREPLY < <(compgen -f -- \"$current\")\n"
            "            ((COMP_CWORD > 1)) || mapfile -t -O \"${#COMPREPLY[@]}\" COMPREPLY "
            "< <(compgen -W 'explain farm gather plan work zones' -- \"$current\")\n"
            "        fi\n        ;;\n    esac\n}\ncomplete -F _mdscan mdscan\n")


def zsh(all_options):
    lines = []
    for names, argument, description in all_options:
        text = re.sub(r"([\[\]:'])", lambda match: "'\\''" if match[1] == "'" else "\\" + match[1], description)
        words = words_of(argument, description)
        action = (f":{argument}:({' '.join(words)})" if words else f":{argument}:_files -/" if argument == "DIR" else
                  f":{argument}:_files" if argument.startswith("FILE") or argument == "STATE" else
                  f":{argument}: " if argument else "")
        for name in names:
            lines.append(f"    '{name}[{text}]{action}'")
    return "#compdef mdscan\n" + NOTE + "_arguments \\\n" + " \\\n".join(lines) + " \\\n    '*:video:_files'\n"


def fish(all_options):
    lines = []
    for names, argument, description in all_options:
        parts = ["complete -c mdscan"]
        parts += [f"-l {name[2:]}" if name.startswith("--") else f"-s {name[1:]}" for name in names]
        words = words_of(argument, description)
        if words:
            parts.append(f"-x -a '{' '.join(words)}'")
        elif argument == "DIR":
            parts.append("-x -a '(__fish_complete_directories)'")
        elif argument:
            parts.append("-r" if argument.startswith("FILE") or argument == "STATE" else "-x")
        parts.append("-d '" + description.replace("'", "\\'") + "'")
        lines.append(" ".join(parts))
    return NOTE + "\n".join(lines) + "\n"


def main():
    arguments = sys.argv[1:]
    check = arguments[:1] == ["--check"]
    if len(arguments) != 1 + check:
        sys.exit("usage: make-completions.py [--check] MDSCAN")
    found = options(arguments[-1])
    for name, text in {"mdscan.bash": bash(found), "_mdscan": zsh(found), "mdscan.fish": fish(found)}.items():
        path = FOLDER / name
        if not check:
            path.write_text(text)
        elif not path.exists() or path.read_text() != text:
            sys.exit(f"make-completions.py: {path} is out of date: run scripts/make-completions.py {arguments[-1]}")


if __name__ == "__main__":
    main()
