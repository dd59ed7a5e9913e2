#!/usr/bin/env -S python3 -B
"""Checks who includes whom in src/: folders only use those beneath them, no two files include each other in a ring,
Qt's window, bus and browser classes stay in the folders that are there for them.

`--self-test` checks this check: it plants each kind of fault in a small tree and expects it to be found.
"""

import re
import sys
import tempfile
from pathlib import Path

from source_tree import ROOT, files, includes, report

# Bottom to top. A folder may use itself and every folder in the rows above its own in this table, and none in its
# own row. A folder inside one of these counts as part of it, unless it has a place of its own.
ROWS = [
    ["base"],
    ["platform"],
    ["model"],
    ["players"],
    ["lastfm", "reporting", "favorites"],
    ["search"],
    ["pandora"],
    ["remote"],
    ["hotkeys", "appearance"],
    ["ui"],
    ["ui/widgets"],
    ["app"],
]

# What stands beside the rows, with all that it may use.
ASIDE = {
    "platform/linux": ["base", "platform"],
    "main": ["app", "ctl"],
    "modules": ["base", "platform", "platform/linux", "ui", "ui/widgets", "app"],
    "page": ["base", "platform"],
    "ctl": ["base"],
}

# Who may use a folder that stands beside the rows.
OPEN_TO = {"app": ["platform/linux"]}

# Families of Qt headers and the only folders that may include them.
QT_FAMILIES = {
    "QtWidgets": ["ui/widgets", "modules"],
    "QtDBus": ["platform/linux", "app", "ctl"],
    "QtWebEngine": ["page"],
}

QT_INCLUDE_FOLDERS = ["/usr/include/*/qt6", "/usr/include/qt6"]


def allowed_uses():
    """For each folder the set of those that it may use."""
    uses, below = {}, []
    for row in ROWS:
        for folder in row:
            uses[folder] = {folder, *below, *OPEN_TO.get(folder, [])}
        below += row
    for folder, used in ASIDE.items():
        uses[folder] = {folder, *used}
    return uses


USES = allowed_uses()


def folder_of(path):
    """The folder of the table that a path relative to src/ belongs to, or None."""
    parts = Path(path).parts[:-1]
    for length in range(len(parts), 0, -1):
        if "/".join(parts[:length]) in USES:
            return "/".join(parts[:length])
    return None


def widget_headers():
    """The names of the headers of QtWidgets, as Qt's own folder lists them."""
    names = set()
    for pattern in QT_INCLUDE_FOLDERS:
        for folder in Path("/").glob(pattern.lstrip("/") + "/QtWidgets"):
            names.update(header.name for header in folder.iterdir() if header.name.startswith("Q"))
    if not names:
        sys.exit(f"no headers of QtWidgets in {' or '.join(QT_INCLUDE_FOLDERS)}: install the packages for building")
    return names


def qt_family(header, widgets):
    """Which of QT_FAMILIES a header belongs to, or None."""
    if header.startswith("QtWidgets") or header in widgets:
        return "QtWidgets"
    if re.match(r"Qt?DBus", header):
        return "QtDBus"
    if re.match(r"Qt?WebEngine", header):
        return "QtWebEngine"
    return None


def check_include(source, folder, bracket, name, paths, widgets):
    """What is wrong with one include of a file in src/, or None."""
    if bracket == "<":
        if name in paths:
            return f'our own {name} is included with quotation marks'
        family = qt_family(name, widgets)
        if family and folder not in QT_FAMILIES[family]:
            return f"{folder} may not include {family} (<{name}>)"
        return None
    if name.endswith(".moc") or Path(name).name.startswith("moc_"):
        return None
    if name not in paths:
        return f'"{name}" is not the path of a header under src/'
    used = folder_of(name)
    if used not in USES[folder]:
        return f"{folder} may not include {used} ({name})"
    return None


def find_ring(graph):
    """One ring of files that include each other, as a list whose ends are the same, or None."""
    done, path = set(), []

    def visit(name):
        if name in path:
            return path[path.index(name):] + [name]
        if name in done:
            return None
        path.append(name)
        for used in graph.get(name, []):
            if ring := visit(used):
                return ring
        done.add(path.pop())
        return None

    for name in sorted(graph):
        if ring := visit(name):
            return ring
    return None


def check_sources(src, names, widgets):
    """The findings in the C++ files `names` under the folder `src`."""
    findings, graph = [], {}
    paths = set(names)
    for name in names:
        folder = folder_of(name)
        if not folder:
            findings.append(f"src/{name}:1: its folder has no place in the table of tools/check_layers.py")
            continue
        found = includes(src / name)
        graph[name] = [used for _, bracket, used in found if bracket == '"' and used in paths]
        for line, bracket, used in found:
            if fault := check_include(name, folder, bracket, used, paths, widgets):
                findings.append(f"src/{name}:{line}: {fault}")
    if ring := find_ring(graph):
        findings.append(f"src/{ring[0]}:1: includes itself: {' -> '.join(ring)}")
    return findings


def check_guards(root, headers):
    """A finding for each header that can be read twice."""
    return [f"{name}:1: has no #pragma once" for name in headers
            if not re.search(r"^#pragma once$", (root / name).read_text(encoding="utf-8"), re.MULTILINE)]


SELF_TEST = [
    # (files, what the one finding says; nothing where all is well)
    ({"players/a.h": '#include "search/b.h"', "search/b.h": ""}, "src/players/a.h:1: players may not include search"),
    ({"search/a.h": '#include "players/b.h"', "players/b.h": ""}, None),
    ({"lastfm/a.h": '#include "favorites/b.h"', "favorites/b.h": ""}, "lastfm may not include favorites"),
    ({"ui/a.h": '\n#include "ui/widgets/b.h"', "ui/widgets/b.h": ""}, "src/ui/a.h:2: ui may not include ui/widgets"),
    ({"model/a.h": '#include "platform/linux/b.h"', "platform/linux/b.h": ""},
     "model may not include platform/linux"),
    ({"app/a.h": '#include "platform/linux/b.h"', "platform/linux/b.h": ""}, None),
    ({"main/a.cpp": '#include "base/b.h"', "base/b.h": ""}, "main may not include base"),
    ({"search/steps/a.h": '#include "remote/b.h"', "remote/b.h": ""}, "search may not include remote"),
    ({"base/a.h": '#include "base/b.h"', "base/b.h": '#include "base/c.h"', "base/c.h": '#include "base/a.h"'},
     "includes itself: base/a.h -> base/b.h -> base/c.h -> base/a.h"),
    ({"base/a.cpp": '#include "b.h"', "base/b.h": ""}, '"b.h" is not the path of a header under src/'),
    ({"base/a.cpp": "#include <base/b.h>", "base/b.h": ""}, "with quotation marks"),
    ({"strange/a.h": ""}, "has no place in the table"),
    ({"ui/a.h": "#include <QLabel>"}, "ui may not include QtWidgets (<QLabel>)"),
    ({"ui/widgets/a.h": "#include <QLabel>"}, None),
    ({"players/a.h": "#include <QDBusMessage>"}, "players may not include QtDBus"),
    ({"app/a.h": "# include <QWebEngineView>"}, "app may not include QtWebEngine"),
]


def self_test():
    """Checks each tree of SELF_TEST; the faults of this check."""
    faults = []
    for tree, expected in SELF_TEST:
        with tempfile.TemporaryDirectory() as folder:
            src = Path(folder)
            for name, text in tree.items():
                (src / name).parent.mkdir(parents=True, exist_ok=True)
                (src / name).write_text(text, encoding="utf-8")
            findings = check_sources(src, sorted(tree), {"QLabel"})
            unguarded = check_guards(src, sorted(tree))
        if len(findings) != (1 if expected else 0) or (expected and expected not in findings[0]):
            faults.append(f"self-test: expected {expected!r} for {tree}, found {findings}")
        if len(unguarded) != len(tree):
            faults.append(f"self-test: headers without #pragma once were passed over in {tree}")
    return faults


def main():
    if sys.argv[1:] == ["--self-test"]:
        return report(self_test())
    names = [name.removeprefix("src/") for name in files("src/*.h", "src/*.cpp")]
    return report(check_sources(ROOT / "src", names, widget_headers()) + check_guards(ROOT, files("*.h")))


if __name__ == "__main__":
    sys.exit(main())
