# python
"""One child: loads the servers and puts one of them through some levels, in a host of its own.

    kzhost run child.py FOLDER      the settings are in FOLDER/settings, and the findings go to FOLDER/findings
"""

import json
import os
import random
import resource
import sys
import zlib

import kz

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

from kzvalidate import arguments, levels, shapes, targets  # noqa: E402
from kzvalidate.recorder import Recorder, Report  # noqa: E402


MEMORY = 1 << 30  # bytes that a server may use


def main(folder):
    with open(os.path.join(folder, 'settings')) as stream:
        settings = json.load(stream)
    report = Report(folder)
    shapes.load(settings['description'])
    recorder = Recorder(report, settings)
    recorder.start_watchdog()
    try:
        found = targets.find(settings['source'].encode('utf-8'), recorder)
    except targets.Unusable as error:
        report.write(unusable=str(error))
        return
    if settings['target'] is None:
        tell(report, recorder, found)
        return
    target = found[settings['target']]
    limit_memory()
    supply = arguments.Supply(random.Random(), os.getcwd())
    stage = levels.Stage(target, recorder, supply, settings)
    for level in settings['levels']:
        supply.random.seed(zlib.crc32('%s %s %s' % (settings['seed'], target.name, level)))
        stage.run(level)
    if '2' in settings['levels']:  # the required methods have had all their ordinary arguments
        recorder.tell_refused()
    report.write(done=True)


def limit_memory():
    """Lets absurd counts fail, instead of the machine."""
    with open('/proc/self/statm') as stream:
        used = int(stream.read().split()[0]) * os.sysconf('SC_PAGE_SIZE')
    resource.setrlimit(resource.RLIMIT_AS, (used + MEMORY, resource.getrlimit(resource.RLIMIT_AS)[1]))


def tell(report, recorder, found):
    """Writes which targets there are, and where their methods begin."""
    places = dict((place.label, (place.path, place.line)) for place in recorder.behind.values())
    report.write(targets=[dict(name=each.name, kinds=each.kinds, file=each.place.path, line=each.place.line)
                          for each in found], places=places)


main(kz.args()[0])
