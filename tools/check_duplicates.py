#!/usr/bin/env -S python3 -B
"""Finds functions in src/ whose bodies say the same: eight lines or more that differ in comments and spaces only.

`--self-test` checks this check on three small files.
"""

import sys
import tempfile
from collections import defaultdict
from pathlib import Path

from source_tree import ROOT, files, functions, report, without_comments

# Shorter bodies repeat by nature: a null check, a lock and a call.
FEWEST_LINES = 8


def body_lines(lines, first, last):
    """The lines of a function's body without spaces, between its braces; empty ones left out."""
    text = "\n".join(lines[first - 1:last])
    body = text[text.find("{") + 1:text.rfind("}")]
    return ["".join(line.split()) for line in body.splitlines() if line.strip()]


def duplicates(root, names):
    """A finding for each group of functions with the same body."""
    lines_of = {name: without_comments((root / name).read_text(encoding="utf-8")).splitlines() for name in names}
    places = defaultdict(list)
    for name, first, last, function in functions(root, names):
        body = body_lines(lines_of[name], first, last)
        if len(body) >= FEWEST_LINES:
            # Joined, so that a body broken into lines in another way is still the same.
            places["".join(body)].append(f"{name}:{first} {function}")
    return [f"the same body in {' and '.join(same)}" for same in places.values() if len(same) > 1]


SELF_TEST_BODY = "".join(f"    total += value[{index}] * 2; // term {index}\n" for index in range(FEWEST_LINES))
SELF_TEST = {
    "one.cpp": "int one() {\n" + SELF_TEST_BODY + "}\n",
    "two.h": "struct Two {\n  int two(int x) const {\n" + SELF_TEST_BODY.replace("term", "other") + "  }\n};\n",
    "three.cpp": "int three() {\n" + SELF_TEST_BODY.replace("* 2", "* 3") + "}\n",
}


def self_test():
    with tempfile.TemporaryDirectory() as folder:
        for name, text in SELF_TEST.items():
            (Path(folder) / name).write_text(text, encoding="utf-8")
        found = duplicates(Path(folder), sorted(SELF_TEST))
    expected = ["the same body in one.cpp:1 one and two.h:2 two"]
    return [] if found == expected else [f"self-test: expected {expected}, found {found}"]


def main():
    if sys.argv[1:] == ["--self-test"]:
        return report(self_test())
    return report(duplicates(ROOT, files("src/*.h", "src/*.cpp")))


if __name__ == "__main__":
    sys.exit(main())
