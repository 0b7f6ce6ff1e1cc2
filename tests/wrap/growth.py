"""References that calls of wrappers leave behind, whether they succeed or fail: none. And calls without memory."""
import os
import sys

import all_methods
import recorder
import values


def references(watched):
    """All that there are, in the interpreter's debug build; otherwise those to what the calls touch."""
    if hasattr(sys, 'gettotalrefcount'):
        return sys.gettotalrefcount()
    return sum(map(sys.getrefcount, watched))


def grow():
    """Makes each kind of call in rounds, and reports the rounds after which there are more references than before."""
    share = float(os.environ.get('KZ_PROVE', 0))
    rounds, calls = (7, max(1, int(60 * share))) if share else (2, 1)  # 60 of each kind, of which there are about 17

    def ways(method, is_service):
        """What to do before each call, the wrapper to call, and the arguments."""
        good = method.arguments()[0]
        codes = [0, 0x80000001, 0x80000002, 0x80000017, 0x80000004, 0x80000003, 0x80000000] if method.hasCode else [0]
        for code in codes:
            yield (lambda: method.lay_out(code)), method.wrapper, good
        recorder.answer(0, ())  # the host is not called
        if not is_service:
            yield None, type(method.wrapper)(), good
        yield None, method.wrapper, good + [1]
        for at, (kind, _) in enumerate(method.inputs):
            for bad, _ in values.wrong(kind):
                yield None, method.wrapper, good[:at] + [bad] + good[at + 1:]

    def call(prepare, function, arguments, count):
        for _ in xrange(count):
            if prepare:
                prepare()
            try:
                function(*arguments)
            except Exception:
                sys.exc_clear()
            recorder.calls()

    def work(method, is_service):
        for prepare, wrapper, arguments in ways(method, is_service):
            function = getattr(wrapper, method.name)
            call(prepare, function, arguments, 2)
            recorder.answer(0, ())
            watched = [each for each in arguments if isinstance(each, all_methods.WATCHED)] + [wrapper, type(wrapper)]
            growth = [0] * (rounds + 1)
            for turn in xrange(rounds + 1):
                before = references(watched)
                call(prepare, function, arguments, calls)
                recorder.answer(0, ())
                growth[turn] = references(watched) - before
            del growth[0]  # what the names of this function refer to for the first time
            all_methods.counts['calls'] += rounds * calls
            if any(growth):
                all_methods.counts['grown'] += 1
                method.complain('%r: the references grow by %r', arguments, growth)
    return all_methods.each_method(work)


def run_out_of_memory():
    """Calls a method of each signature while memory runs out."""
    import scarce
    signatures = set()

    def work(method, _):
        kinds = [each[0].partition(':')[0] for each in method.inputs + method.outputs]
        signature = method.returns, len(method.inputs), tuple(kinds), bool(method.lengths)
        if signature in signatures or len(signatures) == scarce.most:
            return
        signatures.add(signature)
        good = method.arguments()[0]
        function = getattr(method.wrapper, method.name)
        scarce.exhaust(method.label, lambda: method.lay_out(0), lambda: function(*good))
        recorder.answer(0, ())
    all_methods.each_method(work)
    return {'signatures': len(signatures)}
