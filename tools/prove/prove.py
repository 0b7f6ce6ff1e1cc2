"""./dev prove: runs the rows of the table, several at a time, and prints and writes what they have come to."""

import argparse
import concurrent.futures
import json
import sys
import time
import traceback

from bench import NotRun, ROOT, Work, with_fault
from rows import ROWS

REACHED, MISSED, NOT_RUN = "reached", "not reached", "not run"


def wanted_rows(words):
    chosen = []
    for word in words:
        fitting = [row for row in ROWS if word in (str(row.number), row.name)]
        if not fitting:
            names = ", ".join(f"{row.number} {row.name}" for row in ROWS)
            sys.exit(f"./dev prove: no such row: {word} (there are: {names})")
        chosen += [row for row in fitting if row not in chosen]
    return chosen or list(ROWS)


def run(row, scale):
    """The row's line of the table."""
    work = Work(row, scale)
    begin = time.monotonic()
    try:
        reached, figure = row.function(work)
        verdict = REACHED if reached else MISSED
        if reached and row.control:
            found, said = row.control(work)
            figure += f"; control: {said}"
            verdict = REACHED if found else MISSED
    except NotRun as reason:
        verdict, figure = NOT_RUN, str(reason)
    except Exception as error:  # pylint: disable=broad-except
        work.note(traceback.format_exc())
        verdict, figure = MISSED, f"the row itself failed: {type(error).__name__}: {error}"
    return {"row": row.number, "name": row.name, "what": row.what, "figure": figure, "wanted": row.wanted,
            "verdict": verdict, "scale": scale, "seconds": round(time.monotonic() - begin)}


def print_table(lines):
    for line in lines:
        scaled = "" if line["scale"] == 1 else f" (scale {line['scale']:g})"
        print(f"{line['row']:>2} {line['name']:<12} {line['verdict']:<11} {line['seconds']:>5} s  {line['what']}{scaled}")
        print(f"{'':<16}wanted: {line['wanted']}")
        print(f"{'':<16}figure: {line['figure']}")


def main():
    parser = argparse.ArgumentParser(prog="./dev prove")
    parser.add_argument("--scale", type=float, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("row", nargs="*")
    parser.add_argument("--check", action="store_true", help="only see whether the planted faults still fit the code")
    options = parser.parse_args()
    if options.check:
        for each in ROWS:
            if each.plant:
                with_fault(each.plant)
        return
    rows = wanted_rows(options.row)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        # The longest come first, so that the short ones fill the gaps.
        order = sorted(rows, key=lambda row: -row.minutes)
        lines = list(pool.map(lambda row: run(row, options.scale), order))
    lines.sort(key=lambda line: line["row"])
    print_table(lines)
    with open(ROOT / "build/prove/table.json", "w", encoding="utf-8") as file:
        json.dump(lines, file, indent=1)
        file.write("\n")
    verdicts = {line["verdict"] for line in lines}
    sys.exit(1 if MISSED in verdicts else 2 if NOT_RUN in verdicts else 0)


if __name__ == "__main__":
    main()
