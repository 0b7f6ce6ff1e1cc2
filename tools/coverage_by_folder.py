#!/usr/bin/env python3
"""Prints the executed share of lines and functions of each top folder from gcovr's JSON summary."""

import collections
import json
import sys


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        files = json.load(file)["files"]
    totals = collections.defaultdict(lambda: [0, 0, 0, 0])
    for entry in files:
        for folder in (entry["filename"].split("/")[0], "all"):
            for place, key in enumerate(("line_covered", "line_total", "function_covered", "function_total")):
                totals[folder][place] += entry[key]
    print(f"{'folder':<10} {'lines':>7} {'of':>7} {'share':>7}   {'functions':>9}")
    for folder in sorted(totals, key=lambda name: (name == "all", name)):
        lines, all_lines, functions, all_functions = totals[folder]
        print(f"{folder:<10} {lines:>7} {all_lines:>7} {lines / max(all_lines, 1):>7.1%}"
              f"   {functions / max(all_functions, 1):>9.1%}")


if __name__ == "__main__":
    main()
