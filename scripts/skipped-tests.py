#!/usr/bin/env python3
"""Which tests were skipped, and why?  Prints one line per reason, from what ctest --output-junit wrote.

    scripts/skipped-tests.py RESULTS.xml

A program of GoogleTest says of each skipped case where it is and, below, why; Python's say "skipped" and the reason, scripts
"left out:" and what; another test that is skipped says so last.
"""
import re
import sys
import xml.etree.ElementTree


def reasons_of(case):
    lines = [line.strip() for line in case.findtext("system-out", "").splitlines() if line.strip()]
    reasons = [after for line, after in zip(lines, lines[1:]) if line.endswith(": Skipped")]
    reasons += [line for line in lines if re.search(r"skipped ['\"]|left out:", line)]
    if case.find("skipped") is not None and not reasons:
        reasons = lines[-1:] or ["no reason is given"]
    return reasons


def main():
    tests_of = {}
    for case in xml.etree.ElementTree.parse(sys.argv[1]).getroot().iter("testcase"):
        for reason in dict.fromkeys(reasons_of(case)):
            tests_of.setdefault(reason, []).append(case.get("name"))
    for reason, tests in tests_of.items():
        print(f"skipped in {', '.join(tests)}: {reason}")


if __name__ == "__main__":
    main()
