#!/usr/bin/env python3
"""Holds the #include lines of all tracked sources against tools/floors.txt, the table of who may use whom.

A unit is a header and the source of the same name. Reported are includes that the table does not allow, folders that
the table does not know, and units that include each other in a circle. Paths are relative to the repository.
"""

import pathlib
import re
import subprocess
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')


def read_table(path):
    """The floors by name, each with the floors that it may use; a floor may always use itself."""
    floors = {}
    for number, line in enumerate(path.read_text().splitlines(), 1):
        text = line.split("#")[0].strip()
        if not text:
            continue
        name, colon, used = text.partition(":")
        if not colon or name in floors:
            sys.exit(f"{path}:{number}: expected 'FOLDER: FOLDER...', each folder once")
        unknown = [other for other in used.split() if other not in floors]
        if unknown:
            sys.exit(f"{path}:{number}: a folder may use only those above its line, not {', '.join(unknown)}")
        floors[name] = set(used.split()) | {name}
    return floors


def floor_of(path, floors):
    """The most specific folder of the table that holds a file."""
    for parent in pathlib.PurePath(path).parents:
        if str(parent) in floors:
            return str(parent)
    return None


def resolve(source, target, tracked):
    """The tracked file that an include means: from the root, beside the source, or among the SDK's headers."""
    for candidate in (target, str(pathlib.PurePath(source).parent / target), "sdk/include/" + target):
        if candidate in tracked:
            return candidate
    return None


def unit_of(path):
    return str(pathlib.PurePath(path).with_suffix(""))


def circles(uses):
    """Strongly connected groups of more than one unit (Tarjan), each sorted."""
    index, low, stack, found = {}, {}, [], []

    def visit(unit):
        index[unit] = low[unit] = len(index)
        stack.append(unit)
        for other in sorted(uses.get(unit, ())):
            if other not in index:
                visit(other)
            if other in stack:
                low[unit] = min(low[unit], low[other])
        if low[unit] == index[unit]:
            group = []
            while not group or group[-1] != unit:
                group.append(stack.pop())
            if len(group) > 1:
                found.append(sorted(group))

    sys.setrecursionlimit(10000)
    for unit in sorted(uses):
        if unit not in index:
            visit(unit)
    return found


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    floors = read_table(root / "tools" / "floors.txt")
    listed = subprocess.run(["git", "ls-files", "*.h", "*.cpp"], cwd=root, capture_output=True, text=True, check=True)
    tracked = set(listed.stdout.split())
    faults, uses = [], {}
    for source in sorted(tracked):
        own = floor_of(source, floors)
        if own is None:
            faults.append(f"{source}: its folder is not in tools/floors.txt")
            continue
        for number, line in enumerate((root / source).read_text().splitlines(), 1):
            match = INCLUDE.match(line)
            target = match and resolve(source, match.group(1), tracked)
            if not target:
                continue
            other = floor_of(target, floors)
            if other not in floors[own]:
                faults.append(f"{source}:{number}: {own} may not use {other} ({target})")
            if unit_of(target) != unit_of(source):
                uses.setdefault(unit_of(source), set()).add(unit_of(target))
    faults += ["a circle of includes: " + ", ".join(group) for group in circles(uses)]
    print("\n".join(faults) if faults else f"{len(tracked)} sources keep to the table of tools/floors.txt")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
