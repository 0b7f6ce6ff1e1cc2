"""What scripts of the tests say with what they expect. The host runs every function check_... of such a module."""
import kz

count = [0]


def equal(found, expected):
    count[0] += 1
    assert found == expected, '%r instead of %r' % (found, expected)


def near(found, expected, within=1e-9):
    count[0] += 1
    assert len(found) == len(expected) and all(abs(a - b) <= within for a, b in zip(found, expected)), (
        '%r instead of %r' % (found, expected))


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


def run(module):
    failed = 0
    for name in sorted(vars(module)):
        before = count[0]
        if name.startswith('check_'):
            try:
                getattr(module, name)()
                assert count[0] > before, 'nothing was checked'
            except Exception:
                failed += 1
                kz.outEx(name)
    kz.out('%d checks, %d failed' % (count[0], failed))
