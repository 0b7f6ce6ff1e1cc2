"""Checks all assets (*.mesh) below a folder with Dask's distributed, and reports. Needs Python 3 and `distributed`.

    python run_dask.py FOLDER RESULTS [--workers N | --scheduler HOST:PORT] [--kzhost PROGRAM] [--seconds LIMIT]

Without a scheduler it starts N worker processes on this machine. The folders and the program have to be where they are
here on all machines. Started again with the same RESULTS it checks what has no result yet.
"""
import argparse
import pathlib
import subprocess
import sys

from distributed import Client, LocalCluster, as_completed

import report

VERDICTS = (0, 10)


def check(path, command, results, seconds):
    """One job, on a worker. Whatever is no verdict is raised, and Dask tries it again."""
    ended = subprocess.run([*command, path, results], timeout=seconds, stdin=subprocess.DEVNULL, check=False)
    if ended.returncode not in VERDICTS:
        raise RuntimeError(f'{path}: ended with {ended.returncode}')


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('folder', type=pathlib.Path)
    parser.add_argument('results', type=pathlib.Path)
    parser.add_argument('--workers', type=int, default=2)
    parser.add_argument('--scheduler')
    parser.add_argument('--kzhost', default='kzhost')
    parser.add_argument('--seconds', type=float, default=60)
    return parser.parse_args()


def run(client, given, files):
    script = pathlib.Path(__file__).resolve().with_name('check_asset.py')
    command = [given.kzhost, '--quiet', 'run', str(script)]
    # The path is the job's name: a file that is given twice is one job. A worker that dies has its jobs run by others,
    # three times at most (distributed.scheduler.allowed-failures); `retries` counts jobs that failed by themselves.
    jobs = client.map(check, files, key=files, retries=2, command=command, results=str(given.results),
                      seconds=given.seconds)
    for job in as_completed(jobs):
        if job.status != 'finished':
            print(f'{job.key}: {job.exception()}', file=sys.stderr)


def main():
    given = arguments()
    given.results.mkdir(parents=True, exist_ok=True)
    given.results = given.results.resolve()
    files = sorted(str(path) for path in given.folder.resolve().rglob('*.mesh'))
    (given.results / 'files').write_bytes(b''.join(name.encode() + b'\0' for name in files))
    if given.scheduler:
        with Client(given.scheduler) as client:
            run(client, given, files)
    else:
        with LocalCluster(n_workers=given.workers, threads_per_worker=1, dashboard_address=None) as cluster:
            with Client(cluster) as client:
                run(client, given, files)
    return report.main(given.results)


if __name__ == '__main__':
    sys.exit(main())
