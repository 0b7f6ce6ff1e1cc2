"""Work that the host cuts into parts while a script waits: ranges, shares and lists of jobs."""
import threading

import kz
import kzifc
from checks import code_of, equal, fails, reasons

THREADS = kz.service.Thread()
VALUE = kz.service.Value().CreateValue('string')


class Range(kzifc.ThreadRangeWorker):
    def __init__(self, fail_at=None):
        self.seen, self.threads, self.shared, self.fail_at = [], set(), [], fail_at

    def rngw_Execute(self, first, last, shared):
        self.threads.add(threading.current_thread().ident)
        self.seen.extend(range(first, last + 1))
        self.shared.append(kz.object.Unknown(shared).__peekobj__())
        if self.fail_at is not None and first <= self.fail_at <= last:
            kz.throw(kz.result.ABORT)


def check_ranges_are_covered_once():
    for first, last in ((-3, 97), (5, 4), (7, 7), (2 ** 31 - 3, 2 ** 31 - 1), (-2 ** 31, -2 ** 31 + 1)):
        worker = Range()
        THREADS.ProcessRange(None, first, last, worker)
        equal(((first, last), sorted(worker.seen)), ((first, last), range(first, last + 1)))
        equal(worker.threads <= set([threading.current_thread().ident]), True)  # that has Python's lock
    worker = Range()
    THREADS.ProcessRange(VALUE, 0, 0, worker)
    equal(worker.shared, [kz.object.Unknown(VALUE).__peekobj__()])
    fails('INVALIDARG', (THREADS.ProcessRange, None, 0, 1, None), (THREADS.ProcessRange, None, 0, 1, VALUE))
    equal(any('ThreadRangeWorker' in line for line in reasons()), True)


def check_the_first_failure_ends_a_range():
    fails('ABORT', (THREADS.ProcessRange, None, 0, 100, Range(fail_at=99)))
    inner = Range(fail_at=0)

    class Outer(kzifc.ThreadRangeWorker):
        """It begins other work, which is not cut."""
        def rngw_Execute(self, first, last, shared):
            THREADS.ProcessRange(None, 0, 100, inner)

    fails('ABORT', (THREADS.ProcessRange, None, 0, 0, Outer()))
    equal((len(inner.shared), len(inner.threads), len(inner.seen) < 101), (1, 1, True))

    class Raises(kzifc.ThreadRangeWorker):
        def rngw_Execute(self, first, last, shared):
            raise ValueError('no such part')

    equal(code_of(THREADS.ProcessRange, None, 0, 3, Raises()) != '', True)


class Sum(kzifc.SharedWork):
    """Adds up numbers, each worker its own part of them."""
    calls = []

    def __init__(self, numbers=()):
        self.numbers, self.sum, self.thread = list(numbers), 0, None

    def share_Evaluate(self):
        self.thread = threading.current_thread().ident
        while self.numbers:
            self.sum += self.numbers.pop()

    def share_Spawn(self):
        made = type(self)()
        Sum.calls.append(made)
        return served(made)

    def share_Share(self, other, split):
        other = BEHIND[kz.object.SharedWork(other).__peekobj__()][0]
        if split:
            half = len(other.numbers) // 2
            self.numbers, other.numbers = other.numbers[half:], other.numbers[:half]
        else:
            self.sum += other.sum
            self.numbers += other.numbers


BEHIND = {}  # the worker behind each object that the host has, with that object


def served(work):
    made = kz.object.SharedWork(work)
    BEHIND[made.__peekobj__()] = (work, made)
    return made


def shared(work):
    del Sum.calls[:]
    try:
        return code_of(THREADS.ProcessShared, served(work))
    finally:
        BEHIND.clear()


def check_shares_are_split_done_and_merged():
    work = Sum(range(1000))
    equal((shared(work), work.sum, len(Sum.calls)), (None, 499500, THREADS.ProcessorCount() - 1))
    threads = set(each.thread for each in [work] + Sum.calls)
    equal(threads, set([threading.current_thread().ident]))


def check_shares_that_fail_or_lie():
    class Whole(Sum):
        """It cannot be shared."""
        def share_Spawn(self):
            kz.throw(kz.result.NOTAVAILABLE)

    class Itself(Sum):
        def share_Spawn(self):
            return next(made for work, made in BEHIND.values() if work is self)

    class Other(Sum):
        def share_Spawn(self):
            return Range()

    class Unsplit(Sum):
        def share_Share(self, other, split):
            kz.throw(kz.result.FAILED)

    for kind in Whole, Itself, Other, Unsplit:
        work = kind(range(100))
        equal((kind.__name__, shared(work), work.sum), (kind.__name__, None, 4950))

    class Fails(Sum):
        def share_Evaluate(self):
            kz.throw(kz.result.NOACCESS)

    work = Fails(range(100))
    equal((shared(work), sorted(work.numbers)), ('NOACCESS', range(100)))  # what was given away is back

    class Unmerged(Sum):
        def share_Share(self, other, split):
            if not split:
                kz.throw(kz.result.NOACCESS)
            Sum.share_Share(self, other, split)

    equal(shared(Unmerged(range(100))), 'NOACCESS' if THREADS.ProcessorCount() > 1 else None)

    class Again(Sum):
        """It does itself, again and again."""
        def share_Evaluate(self):
            THREADS.ProcessShared(self)

    equal(shared(Again(range(2))), 'FAILED')
    fails('INVALIDARG', (THREADS.ProcessShared, None), (THREADS.ProcessShared, VALUE))


class Job(kzifc.ThreadJob):
    def __init__(self, done, number):
        self.done, self.number = done, number

    def job_Execute(self):
        self.done.append(self.number)


class Jobs(kzifc.WorkList):
    def __init__(self, items):
        self.items, self.cleared = list(items), 0

    def work_IsEmpty(self):
        return not self.items

    def work_Next(self):
        if not self.items:
            kz.throw(kz.result.NOTFOUND)
        return self.items.pop(0)

    def work_Split(self):
        half = len(self.items) // 2
        rest = type(self)(self.items[half:])
        self.items = self.items[:half]
        LISTS.append(rest)
        return rest

    def work_Clear(self):
        self.cleared += 1
        self.items = []


LISTS = []


def check_lists_of_work_are_done():
    done = []
    sums = [Sum(range(10)), Sum(range(20))]
    THREADS.ProcessShared(Jobs([Job(done, number) for number in range(50)] + sums))
    equal((sorted(done), [each.sum for each in sums]), (range(50), [45, 190]))
    THREADS.ProcessShared(Jobs([]))

    class Fails(Sum):
        def share_Evaluate(self):
            kz.throw(kz.result.ABORT)

    del LISTS[:], done[:]
    work = Jobs([Fails()] + [Job(done, number) for number in range(1000)])
    fails('ABORT', (THREADS.ProcessShared, work))
    equal((work.cleared, [each.cleared for each in LISTS]), (1, [1] * len(LISTS)))

    class Itself(Jobs):
        def work_Split(self):
            return self

    del done[:]
    THREADS.ProcessShared(Itself([Job(done, number) for number in range(5)]))
    equal(done, range(5))
    fails('INVALIDARG', (THREADS.ProcessShared, Jobs([Range()])))

    class Endless(Jobs):
        count = 0

        def work_Next(self):
            self.count += 1
            return Job(done, self.count) if self.count < 3 else self.missing  # no such attribute

    del done[:]
    equal(code_of(THREADS.ProcessShared, Endless([1])) != '', True)
    equal(len(done) >= 2, True)
