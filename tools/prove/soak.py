"""Uses the host at random for a long time, on its main thread and on four threads of its own, and watches memory, threads,
open files and the latency of what it does.

    kzhost run soak.py SECONDS SEED REPORT

REPORT is written as JSON at the end. Only what is done over and over counts: all that is made is dropped again."""
import gc
import json
import os
import random
import time

import kz
import kz.object
import kz.service
import kzifc
import kzu.object

SECONDS, SEED, REPORT = float(kz.args()[0]), int(kz.args()[1]), kz.args()[2]
THREADS = 4
draw = random.Random(SEED)
folder = os.path.dirname(REPORT)
server = os.path.join(folder, 'servers', 'soaked.py')


class Command(kzifc.Command):
    def cmd_ArgFlags(self, index):
        return 5

    def cmd_ArgClear(self, index):
        raise IndexError(index)


class Job(kzifc.ThreadJob):
    """Calls on a thread of the host."""
    def job_Execute(self):
        command = kz.object.Command(Command())
        for index in range(20):
            command.ArgFlags(index)
            try:
                command.ArgClear(index)
            except IndexError:
                pass


def run_jobs():
    group = kzu.object.ThreadGroup(kz.service.Thread().CreateGroup())
    for _ in range(THREADS):
        group.AddJob(Job())
    group.Execute()
    group.Wait()


def run_script():
    kz.eval('@{%s}' % os.path.join(folder, 'script.py'))


def run_commands():
    kz.eval('user.value soak %d' % draw.randrange(100))
    kz.evalN('user.value soak value:?')
    try:
        kz.eval('no.such.command')
    except RuntimeError:
        pass


def edit_scene():
    scenes = kz.service.Scene()
    scene = scenes.Create('soak')
    items = [scene.ItemAdd(scenes.ItemTypeLookup('mesh')) for _ in range(5)]
    for item in items:
        item.SetName('item %d' % draw.randrange(100))
    mesh = kz.service.Mesh().FromItem(items[0], 0.0, 0)
    for index in range(20):
        mesh.AddPoint((index, draw.random(), 0))
    mesh.BoundingBox(0)
    scenes.Close(scene)


def hold_storage():
    storage = kz.Storage('d', 1000)
    storage.set(range(1000))
    storage.setSize(10)


def reload_servers():
    with open(server, 'w') as file:
        file.write("import kz, kzifc\nclass Soaked(kzifc.Command):\n    def cmd_ArgFlags(self, index): return %d\n"
                   "kz.bless(Soaked, 'soaked')\n" % draw.randrange(5))
    kz.eval('server.reload')


WORK = [run_jobs, run_script, run_commands, edit_scene, hold_storage]


def measured(work):
    begin = time.time()
    work()
    return time.time() - begin


def sample():
    gc.collect()
    with open('/proc/self/statm') as file:
        pages = int(file.read().split()[1])
    return {'memory': pages * 4, 'threads': len(os.listdir('/proc/self/task')), 'files': len(os.listdir('/proc/self/fd'))}


def late(latencies):
    return sorted(latencies)[int(len(latencies) * .999)] * 1000 if latencies else 0


def fill():
    """Makes the log and the history of commands as long as they get: they keep so many entries and no more."""
    kz.service.Log().SetMaxEntries(200)
    for _ in range(1200):
        run_commands()
    run_jobs()


def main():
    samples, latencies, turn = [], [], 0
    if not os.path.isdir(os.path.dirname(server)):
        os.makedirs(os.path.dirname(server))
    with open(os.path.join(folder, 'script.py'), 'w') as file:
        file.write('# python\nimport sys\nprint sum(range(100))\nsys.exit()\n')
    fill()
    begin, step = time.time(), SECONDS / 60
    while time.time() - begin < SECONDS:
        latencies.append(measured(draw.choice(WORK)))
        turn += 1
        if time.time() - begin > step * (len(samples) + 1):
            if len(samples) % 10 == 0:
                reload_servers()  # the classes of the former version stay until the end, a few KB each time
            samples.append(dict(sample(), late=late(latencies), turns=turn))
            latencies = []
    with open(REPORT, 'w') as file:
        json.dump(samples, file)


main()
