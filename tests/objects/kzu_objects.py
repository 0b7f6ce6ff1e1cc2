"""What kzu.object adds to the wrappers: they answer as Python's own objects do."""
import threading
import time

import kz
import kzifc
import kzu.object as k
from checks import equal, fails


def array(kind, *values):
    made = k.ValueArray(kz.service.Value().CreateValueArray(kind))
    for value in values:
        made.append(value)
    return made


def raised(action):
    try:
        action()
    except Exception as error:
        return type(error)


def check_value_arrays_are_sequences():
    three = array('integer', 3, 1, 2)
    equal((len(three), list(three), three[0], three[-1], three[1:]), (3, [3, 1, 2], 3, 2, [1, 2]))
    equal((str(three), isinstance(three, kz.object.ValueArray)), ('<ValueArray integer [3, 1, 2]>', True))
    equal((raised(lambda: three[3]), raised(lambda: three[-4])), (IndexError, IndexError))
    equal((bool(array('string')), three == None, three != 5, three == 'x'), (True, False, True, False))
    same, empty = type(three)(three), type(three)()
    equal((same == three, same is three, len({same: 1, three: 2})), (True, False, 1))
    equal((str(empty), bool(empty)), ('<ValueArray (empty)>', False))
    equal((list(array('string', 'a', u'b')), array('float', 1.5, 2)[:]), (['a', 'b'], [1.5, 2.0]))


def check_values_logs_and_monitors_are_shown():
    value, log = k.Value(kz.service.Value().CreateValue('angle')), kz.service.Log()
    value.SetFlt(0.5)
    equal((str(value), value.get()), ('<Value angle 0.5>', 0.5))
    lines, entry = k.Log(log.SubSystemLookup('test')), log.CreateEntry(1, 'parent')
    lines.AddEntry(entry)
    entry.AddEntry(log.CreateEntry(1, 'child'))
    equal((len(lines), str(lines), [child.Desc() for child in lines[0]]), (1, '<Log test of 1>', ['child']))
    with k.Monitor(kz.service.StdDialog().MonitorAllocate('work')) as monitor:
        monitor.Initialize(2)
        equal(kz.service.StdDialog().MonitorDepth(), 1)
    equal(kz.service.StdDialog().MonitorDepth(), 0)


class Job(kzifc.ThreadJob):
    runs = 0

    def job_Execute(self):
        time.sleep(0.001)
        self.runs += 1


def started(jobs):
    group = kz.service.Thread().CreateGroup()
    for job in jobs:
        group.AddJob(job)
    group.Execute()
    return group


def check_threads_go_on_while_another_waits():
    jobs = [Job() for _ in range(50)]
    for wait in k.ThreadGroup.Wait, k.ThreadGroup.Kill:
        group = started(jobs)
        wait(group)
        equal((str(group), group.Running()), ('<ThreadGroup of 50>', False))
    equal([job.runs for job in jobs], [2] * 50)
    started(jobs)  # lets go of them all: those that run need the lock that is held here
    mutex, entered = kz.service.Thread().CreateMutex(), threading.Event()
    fails('INVALIDARG', (group.AddJob, None), (group.AddJob, mutex))

    def hold():
        with mutex:
            entered.set()
            time.sleep(0.02)
            jobs[:] = []

    holder = threading.Thread(target=hold)
    holder.start()
    entered.wait()
    with mutex:
        equal(jobs, [])
    holder.join()
