#!/usr/bin/env -S python3 -B
"""Checks the Markdown files: what they link to is there, headings after a # included, and so is every file of the
tree that they name in `backticks` or call in a block of commands.

`--self-test` checks this check on two small pages.
"""

import re
import sys
import tempfile
from pathlib import Path
from urllib.parse import unquote

from source_tree import ROOT, files, report

LINK = re.compile(r"!?\[[^\]]*\]\(<?([^)\s>]+)>?(?:\s+\"[^\"]*\")?\)|^\[[^\]]+\]:\s*<?([^\s>]+)>?")
CODE_SPAN = re.compile(r"`+([^`]+)`+")
HEADING = re.compile(r"^#{1,6}\s+(.*?)\s*#*\s*$")
NAMED_ANCHOR = re.compile(r"<a\s+(?:name|id)=\"([^\"]+)\"")
FENCE = re.compile(r"^\s*(```|~~~)")
COMMAND = re.compile(r"^\s*(?:\$ )?(\./[\w./-]+|tools/[\w./-]+)")

# Marks of a name that stands for others: placeholders and variables.
PLACEHOLDER = re.compile(r"[<>$%{}()|]|\.\.\.|…")
# Made by a build, thus not there in a fresh tree.
MADE = ("build/", "./build/")


def slug(heading):
    """The anchor that Markdown readers give a heading."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "")
    return re.sub(r"[^\w\- ]", "", text.strip().lower()).replace(" ", "-")


def lines_with_fences(path):
    """The lines of a page as (number, line, whether it stands in a fenced block)."""
    fenced = False
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if FENCE.match(line):
            fenced = not fenced
        else:
            yield number, line, fenced


def anchors(path):
    """All that may stand after # in a link to a page."""
    found, seen = set(), {}
    for _, line, fenced in lines_with_fences(path):
        found.update(NAMED_ANCHOR.findall(line))
        if not fenced and (match := HEADING.match(line)):
            name = slug(match[1])
            count = seen.get(name, 0)
            seen[name] = count + 1
            found.add(f"{name}-{count}" if count else name)
    return found


def broken_link(root, page, target):
    """What is wrong with a link from a page, or None."""
    if re.match(r"[a-zA-Z][a-zA-Z0-9+.-]*:", target):
        return None
    name, _, anchor = unquote(target).partition("#")
    linked = page if not name else root / name.lstrip("/") if name.startswith("/") else page.parent / name
    if not linked.exists():
        return f"links to {target}, which is not there"
    if anchor and linked.suffix == ".md" and anchor not in anchors(linked):
        return f"links to {target}, which has no such heading"
    return None


def named_path(root, text):
    """The path that a piece of code names, relative to the root, or None where it names something else."""
    words = text.split()
    if not words or PLACEHOLDER.search(words[0]) or words[0].startswith(MADE):
        return None
    name = re.sub(r":\d+$", "", words[0])
    if name.startswith("./"):
        return name[2:] or None
    if len(words) > 1 or "/" not in name:
        return None
    first = name.split("/")[0]
    if first and (root / first).is_dir():
        return name
    # Headers are named as they are included.
    if first and (root / "src" / first).is_dir() and re.search(r"\.(h|cpp)$", name):
        return f"src/{name}"
    return None


def exists(root, name):
    return any(root.glob(name.rstrip("/"))) if "*" in name else (root / name).exists()


def check_page(root, name):
    """The findings in one page."""
    page, findings = root / name, []
    for number, line, fenced in lines_with_fences(page):
        if fenced:
            codes = COMMAND.findall(line)
        else:
            codes = CODE_SPAN.findall(line)
            for match in LINK.finditer(CODE_SPAN.sub("code", line)):
                if fault := broken_link(root, page, match[1] or match[2]):
                    findings.append(f"{name}:{number}: {fault}")
        for code in codes:
            path = named_path(root, code)
            if path and not exists(root, path):
                findings.append(f"{name}:{number}: names {code}, which is not there")
    return findings


SELF_TEST = {
    "docs/other.md": "# One heading, `coded`\n# Same\n# Same\n",
    "src/base/a.h": "",
    "page.md": """[a](docs/other.md) [b](docs/other.md#one-heading-coded) ![c](/docs/other.md#same-1) [d](https://x.y/z)
[e](docs/none.md)
[f](docs/other.md#no-such)
[g](#page)
`src/base/a.h` `base/a.h:12` `docs/*.md` `src/<folder>/x.h` `build/none` `a/b` `[h](docs/none.md)`
`src/base/none.h`
`base/none.h`
`docs/*.txt`
```
# Page
./none --now
```
[i]: docs/gone.md
""",
}
SELF_TEST_LINES = [2, 3, 4, 6, 7, 8, 11, 13]


def self_test():
    with tempfile.TemporaryDirectory() as folder:
        for name, text in SELF_TEST.items():
            (Path(folder) / name).parent.mkdir(parents=True, exist_ok=True)
            (Path(folder) / name).write_text(text, encoding="utf-8")
        findings = check_page(Path(folder), "page.md")
    lines = [int(finding.split(":")[1]) for finding in findings]
    return [] if lines == SELF_TEST_LINES else [f"self-test: expected lines {SELF_TEST_LINES}, found {findings}"]


def main():
    if sys.argv[1:] == ["--self-test"]:
        return report(self_test())
    return report([finding for name in files("*.md") for finding in check_page(ROOT, name)])


if __name__ == "__main__":
    sys.exit(main())
