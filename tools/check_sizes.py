#!/usr/bin/env -S python3 -B
"""Finds functions and files of C++ that have grown beyond what can be read in one go."""

import sys

from source_tree import ROOT, files, functions, report

# The very most, in lines; a normal function has 5 to 25, a normal file up to 400.
MOST_IN_FUNCTION = 80
MOST_IN_FILE = 600


def main():
    names = files("*.h", "*.cpp")
    findings = []
    for name in names:
        count = len((ROOT / name).read_text(encoding="utf-8").splitlines())
        if count > MOST_IN_FILE:
            findings.append(f"{name}:1: {count} lines; {MOST_IN_FILE} are the most")
    for name, first, last, function in functions(ROOT, names):
        count = last - first + 1
        if count > MOST_IN_FUNCTION:
            findings.append(f"{name}:{first}: {function} has {count} lines; {MOST_IN_FUNCTION} are the most")
    return report(findings)


if __name__ == "__main__":
    sys.exit(main())
