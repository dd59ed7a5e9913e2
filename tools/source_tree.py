"""The files of the tree, for the checks beside this module: what git tracks or would track, so that build trees and
other leavings are never read."""

import re
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def files(*patterns):
    """The paths, relative to the root, that match one of the git patterns; all paths without a pattern."""
    # A tree that belongs to somebody else (a container's checkout) is as good to read as our own.
    command = ["git", "-c", "safe.directory=*", "ls-files", "-z", "--cached", "--others", "--exclude-standard", "--"]
    listing = subprocess.run(command + list(patterns), cwd=ROOT, check=True, capture_output=True, text=True).stdout
    # A file that was removed and not yet committed is still listed.
    return sorted({path for path in listing.split("\0") if path and (ROOT / path).is_file()})


def includes(path):
    """What a C++ file includes, as (line number, '<' or '"', name)."""
    found = []
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if match := INCLUDE.match(line):
            found.append((number, match[1], match[2]))
    return found


def without_comments(text):
    """C++ text with its comments blanked and its lines kept; string literals stay as they are."""
    token = re.compile(r'//[^\n]*|/\*.*?\*/|R"([^(\s]*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'', re.DOTALL)
    return token.sub(lambda m: "\n" * m[0].count("\n") if m[0].startswith("/") else m[0], text)


def functions(root, names):
    """Where the functions of the files are, as (file, first line, last line, function's name)."""
    command = ["ctags", "--languages=C++", "--langmap=C++:.h.cpp", "--kinds-C++=f", "-x",
               "--_xformat=%F\t%n\t%{end}\t%N", "-L", "-"]
    listing = subprocess.run(command, cwd=root, input="\n".join(names), check=True, capture_output=True, text=True)
    found = []
    for line in listing.stdout.splitlines():
        name, first, last, function = line.split("\t")
        if last.isdigit():
            found.append((name, int(first), int(last), function))
    return found


def report(findings):
    """Prints the findings; the exit code that says whether there were any."""
    for finding in findings:
        print(finding)
    return 1 if findings else 0
