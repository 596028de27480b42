# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Reads every include of the sources and compares it with the table in docs/architecture.md."""

import argparse
import collections
import pathlib
import re
import sys
import tempfile

EVIDENCE = {"tests", "bench", "fuzz"}  # may include anything; nothing includes them
SKIPPED = {"build", "docs", "scripts", "cmake", ".git", "node_modules"}
SUFFIXES = {".h", ".cpp", ".c", ".rc", ".in"}
# What takes seconds to read, and the one source that may.
READ_ONCE = {"CLI": "cli/commands/command_line.cpp"}
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]+"([^"]+)"', re.MULTILINE)
FOREIGN_INCLUDE = re.compile(r"^[ \t]*#[ \t]*include[ \t]+<([^>]+)>", re.MULTILINE)
TABLE = re.compile(r"<!-- rooms -->\n(.*?)<!-- /rooms -->", re.DOTALL)
LARGEST_SHARE = 0.25


def read_table(page):
    """The rooms and what each may include, from the page's marked table."""
    found = TABLE.search(page)
    if not found:
        raise SystemExit("docs/architecture.md: no table between <!-- rooms --> and <!-- /rooms -->")
    allowed = {}
    for line in found.group(1).splitlines():
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        names = re.findall(r"`([^`]+)/`", cells[0])
        if len(cells) == 3 and names:
            allowed[names[0]] = set(re.findall(r"`([^`]+)/`", cells[2]))
    return allowed


def read_sources(root):
    """Lines of each folder, each include between folders with the place where it stands, and the
    includes that are faults whatever the table says."""
    lines = collections.Counter()
    edges = collections.defaultdict(list)
    faults = []
    for path in sorted(root.rglob("*")):
        parts = path.relative_to(root).parts
        if path.suffix not in SUFFIXES or len(parts) < 2:
            continue
        if parts[0] in EVIDENCE or SKIPPED & set(parts) or any(p.startswith(".") for p in parts):
            continue
        folder = "/".join(parts[:-1])
        text = path.read_text(encoding="utf-8")
        lines[folder] += text.count("\n")
        for include in INCLUDE.findall(text):
            target = include.rpartition("/")[0]
            if not (root / include).is_file():
                # Beside the file itself, or made while building.
                if "/" in include or not (path.parent / include).is_file():
                    faults.append(f"{path.relative_to(root)} includes {include}, which is no file")
                continue
            if target != folder:
                edges[folder, target].append(f"{path.relative_to(root)} includes {include}")
        for include in FOREIGN_INCLUDE.findall(text):
            alone = READ_ONCE.get(include.split("/")[0])
            if alone not in (None, "/".join(parts)):
                faults.append(f"{path.relative_to(root)} includes <{include}>, as {alone} alone may")
    return lines, edges, faults


def find_cycle(edges):
    """One cycle of a set of (from, to) pairs as a list of names, or nothing."""
    after = collections.defaultdict(set)
    for start, end in edges:
        after[start].add(end)
    done = set()

    def visit(name, path):
        if name in path:
            return path[path.index(name) :] + [name]
        if name in done:
            return None
        for other in sorted(after[name]):
            cycle = visit(other, path + [name])
            if cycle:
                return cycle
        done.add(name)
        return None

    for name in sorted(after):
        cycle = visit(name, [])
        if cycle:
            return cycle
    return None


def rolled_up(edges, depth):
    """The edges between folders that are seen `depth` names deep; what stays inside one is none."""
    short = {tuple("/".join(name.split("/")[:depth]) for name in edge) for edge in edges}
    return {(start, end) for start, end in short if start != end}


def faults_of(root):
    allowed = read_table((root / "docs" / "architecture.md").read_text(encoding="utf-8"))
    lines, edges, faults = read_sources(root)
    for folder in sorted(set(lines) - set(allowed)):
        faults.append(f"{folder}/ is not in the table of docs/architecture.md")
    for folder in sorted(set(allowed) - set(lines)):
        faults.append(f"docs/architecture.md lists {folder}/, where no source lies")
    for (start, end), places in sorted(edges.items()):
        if end.split("/")[0] in EVIDENCE:
            faults.append(f"{places[0]}: only tests, benchmarks and fuzzers include those")
        elif start in allowed and end not in allowed[start]:
            faults.append(f"{places[0]}: the table does not let {start}/ include {end}/")
    for name, pairs in (("sources", set(edges)), ("table", table_edges(allowed))):
        for depth in range(1, 1 + max(folder.count("/") + 1 for folder in lines)):
            cycle = find_cycle(rolled_up(pairs, depth))
            if cycle:
                faults.append(f"folders lean on each other ({name}): {' -> '.join(cycle)}")
    total = sum(lines.values())
    for folder, count in sorted(lines.items()):
        if count > LARGEST_SHARE * total:
            faults.append(f"{folder}/ holds {count} of {total} lines, more than a quarter")
    return faults


def table_edges(allowed):
    return {(start, end) for start, ends in allowed.items() for end in ends}


# ---- That each kind of fault is seen ----

SMALL = {
    "docs/architecture.md": "<!-- rooms -->\n| `a/` | x | `b/` |\n| `b/` | x | nothing |\n"
    "| `c/` | x | nothing |\n| `d/` | x | nothing |\n| `e/` | x | nothing |\n<!-- /rooms -->\n",
    "a/a.cpp": '#include "b/b.h"\n#include "a/own.h"\n',
    "a/own.h": "\n",
    "b/b.h": "\n\n\n",
    "c/c.h": "\n\n\n",
    "d/d.h": "\n\n\n",
    "e/e.h": "\n\n\n",
    "tests/t.cpp": '#include "a/own.h"\n',
}
CHANGES = [
    (None, {}),
    ("the table does not let b/ include c/", {"b/b.h": '#include "c/c.h"\n'}),
    ("lean on each other (sources): a -> b -> a", {"b/b.h": '#include "a/own.h"\n'}),
    # Neither a/x nor b stands in a circle of its own; a and b do.
    ("(sources): a -> b -> a", {"a/x/x.h": "\n", "b/b.h": '#include "a/x/x.h"\n'}),
    ("f/ is not in the table", {"f/f.h": "\n"}),
    ("holds 40 of", {"c/c.h": "\n" * 40}),
    (
        "only tests, benchmarks and fuzzers",
        {"b/b.h": '#include "tests/t.h"\n', "tests/t.h": "\n"},
    ),
    ("which is no file", {"b/b.h": '#include "b/gone.h"\n'}),
    ("b/b.h includes <CLI/CLI.hpp>", {"b/b.h": "# include <CLI/CLI.hpp>\n"}),
]


def check_the_check():
    for expected, change in CHANGES:
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, text in {**SMALL, **change}.items():
                path = root / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            faults = faults_of(root)
            seen = any(expected in fault for fault in faults) if expected else not faults
            if not seen:
                raise SystemExit(f"expected {expected or 'no fault'!r}, got {faults}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", required=True, type=pathlib.Path)
    check_the_check()
    faults = faults_of(parser.parse_args().source)
    for fault in faults:
        print(fault)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
