"""What scripts of the tests say with what they expect. The host runs every function check_... of such a module."""
import kz

results = []  # '' or what is wrong, for each check


def equal(found, expected):
    results.append('' if found == expected else '%r instead of %r' % (found, expected))


def near(found, expected, within=1e-9):
    close = len(found) == len(expected) and all(abs(a - b) <= within for a, b in zip(found, expected))
    equal(found, found if close else expected)


def storage(letter, *values):
    made = kz.Storage(letter, len(values))
    made.set(values)
    return made


def code_of(function, *arguments):
    """The name of the code with which the host ends the call, or what it raises when the host is not reached."""
    kz.service.Application().Name()
    try:
        function(*arguments)
    except Exception as error:
        code = kz.lastResult()
        return next((name for name, value in vars(kz.result).items() if value == code != 0), str(error))


def result_of(function, *arguments):
    """What the call returns, or the name of the code with which it ends."""
    found = []
    return code_of(lambda: found.append(function(*arguments))) or found[0]


def fails(code, *calls):
    """Each call, a function and its arguments, ends with that code."""
    for call in calls:
        found = code_of(*call)
        equal((call, found, getattr(kz.result, found or '', None)), (call, found, getattr(kz.result, code)))


def reasons(subsystem='objects'):
    """Why the host's own objects have refused something, or what it noted otherwise, as far as its log tells."""
    lines = kz.service.Log().SubSystemLookup(subsystem)
    return [lines.EntryByIndex(index).Desc() for index in range(lines.EntryCount())]


def run(module):
    for name in sorted(vars(module)):
        if name.startswith('check_'):
            before = len(results)
            try:
                getattr(module, name)()
            except Exception:
                kz.outEx(name)
                results.append('an exception')
            for problem in results[before:] or ['nothing was checked']:
                if problem:
                    kz.out('%s: %s' % (name, problem))
    kz.out('%d checks, %d failed' % (len(results), len(filter(None, results))))
