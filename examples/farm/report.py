"""Joins the results of a run to one log, report.jsonl: one line for each file, also for those without a result.

    python3 report.py RESULTS

Ends with 0 when all assets are good, with 10 when some have faults, and with 1 when some have no result.
"""
import json
import os
import pathlib
import sys

NOTHING = {'status': None, 'faults': ['no result: its job failed, or its time ran out, each time that it was tried']}


def main(results):
    results = pathlib.Path(results)
    wanted = [name.decode() for name in (results / 'files').read_bytes().split(b'\0') if name]
    found = {}
    for path in results.glob('*.result'):
        result = json.loads(path.read_text())
        if result['file'] in found:
            sys.exit(f'{result["file"]} has two results')
        found[result['file']] = result
    rows = [found.get(name, {'file': name, **NOTHING}) for name in wanted]
    unfinished = results / f'report.{os.getpid()}'
    unfinished.write_text(''.join(json.dumps(row, sort_keys=True) + '\n' for row in rows))
    unfinished.replace(results / 'report.jsonl')
    for row in rows:
        if row['status'] != 0:
            print(f'{row["file"]}: {"; ".join(row["faults"])}')
    counts = [sum(row['status'] == status for row in rows) for status in (0, 10, None)]
    print('{} files: {} good, {} with faults, {} without a result'.format(len(rows), *counts))
    return 1 if counts[2] else 10 if counts[1] else 0


if __name__ == '__main__':
    sys.exit(main(*sys.argv[1:]))
