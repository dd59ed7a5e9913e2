#!/usr/bin/env -S python3 -B
"""Runs clang-tidy over the sources in src/, several at a time. A source that passed is left alone until it changes,
or a header of ours that it includes, its compile command, or the list of checks does.

Needs build/dev/compile_commands.json, which `cmake --preset dev` writes.
"""

import hashlib
import json
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

from source_tree import ROOT, files, includes

COMMANDS = ROOT / "build/dev/compile_commands.json"
OWN_FOLDER = ROOT / "build/check/clang-tidy"
PASSED = OWN_FOLDER / "passed"

# g++'s precompiled header means nothing to clang, which reads the text behind it instead.
PRECOMPILED = re.compile(r"-Winvalid-pch|-include \S+/cmake_pch\.hxx")
READ_INSTEAD = f"-include {ROOT / 'cmake/precompiled.h'} -Wno-unknown-warning-option"


def compile_commands():
    """Writes a copy of the build's commands that clang understands; the command of each source by its path."""
    entries = json.loads(COMMANDS.read_text(encoding="utf-8"))
    for entry in entries:
        compiler, rest = PRECOMPILED.sub("", entry["command"]).split(" ", 1)
        entry["command"] = f"{compiler} {READ_INSTEAD} {rest}"
    OWN_FOLDER.mkdir(parents=True, exist_ok=True)
    (OWN_FOLDER / "compile_commands.json").write_text(json.dumps(entries), encoding="utf-8")
    return {os.path.relpath(entry["file"], ROOT): entry["command"] for entry in entries}


class Digests:
    """What a source's findings depend on, as one number each."""

    def __init__(self):
        version = subprocess.run(["clang-tidy", "--version"], check=True, capture_output=True, text=True).stdout
        self._common = version.encode()
        for name in (".clang-tidy", "cmake/precompiled.h"):
            self._common += (ROOT / name).read_bytes()
        self._direct = {}

    def _direct_includes(self, name):
        if name not in self._direct:
            used = [f"src/{header}" for _, bracket, header in includes(ROOT / name) if bracket == '"']
            self._direct[name] = [header for header in used if (ROOT / header).is_file()]
        return self._direct[name]

    def of(self, source, command):
        reached, pending = set(), [source]
        while pending:
            name = pending.pop()
            if name not in reached:
                reached.add(name)
                pending += self._direct_includes(name)
        digest = hashlib.sha256(self._common + command.encode())
        for name in sorted(reached):
            digest.update(name.encode() + b"\0" + (ROOT / name).read_bytes() + b"\0")
        return digest.hexdigest()


def check(source):
    """What clang-tidy says of one source; an empty text where all is well."""
    result = subprocess.run(["clang-tidy", "-p", str(OWN_FOLDER), "--quiet", str(ROOT / source)],
                            cwd=ROOT, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if result.returncode == 0:
        return ""
    return (result.stdout.strip() or result.stderr.strip()).replace(f"{ROOT}/", "")


def main():
    commands, digests = compile_commands(), Digests()
    sources = [name for name in files("src/*.cpp") if name in commands]
    wanted = {name: digests.of(name, commands[name]) for name in sources}
    PASSED.mkdir(parents=True, exist_ok=True)
    for stamp in PASSED.iterdir():
        if stamp.name not in wanted.values():
            stamp.unlink()
    changed = [name for name in sources if not (PASSED / wanted[name]).exists()]

    # A fault in a header shows in each source that includes it: one time is enough to read.
    faults = {}
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for number, (name, output) in enumerate(zip(changed, pool.map(check, changed)), 1):
            if output:
                faults.setdefault(output, name)
            else:
                (PASSED / wanted[name]).touch()
            if sys.stderr.isatty():
                print(f"\r\033[Kclang-tidy {number}/{len(changed)} {name}", end="", file=sys.stderr, flush=True)
    if changed and sys.stderr.isatty():
        print("\r\033[K", end="", file=sys.stderr)
    for output, name in faults.items():
        print(f"{name}:\n{output}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
