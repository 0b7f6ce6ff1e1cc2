"""Interviews: questions of a server's, which commands answer one after another."""
import kz
import kzifc
from checks import code_of, equal, fails

INTERVIEWS, MESSAGES = kz.service.Interviewer(), kz.service.Message()
TEXTS = {1: 'What is it called?', 2: 'How big is it?', 3: 'Is it done?'}
TOLD = []  # what the interviewers of a check have heard


class Asks(kzifc.Interviewer):
    missing = None  # a question without a text
    during = None   # what it does while it takes an answer

    def intrv_Question(self, index):
        if index == self.missing:
            kz.throw(kz.result.NOTFOUND)
        return TEXTS[index]

    def intrv_Answer(self, index, value):
        text = kz.object.Value(value).GetString()
        if text == 'wrong':
            kz.throw(kz.result.INVALIDARG)
        TOLD.append((index, text))
        if self.during:
            self.during()

    def intrv_Next(self, index):
        return (index + 1) % 4

    def intrv_Finish(self, cancelled):
        TOLD.append(('finish', cancelled))


def begin(**attributes):
    del TOLD[:]
    INTERVIEWS.Start(type('Asks', (Asks,), attributes)(), 'A lamp')


def answer(text):
    kz.eval('interview.answer {%s}' % text)


def question():
    return kz.eval('interview.answer question:?')


def code(line):
    code_of(kz.eval, line)
    return kz.lastResult()


def check_questions_are_answered_in_turn():
    equal(INTERVIEWS.IsActive(), False)
    begin()
    equal((INTERVIEWS.IsActive(), question(), kz.eval('interview.answer title:?')), (True, TEXTS[1], 'A lamp'))
    fails('NOTAVAILABLE', (INTERVIEWS.Start, Asks(), 'another'))
    fails('OUTOFBOUNDS', (INTERVIEWS.Back,))
    equal((code('interview.answer wrong'), question(), TOLD), (kz.result.INVALIDARG, TEXTS[1], []))
    answer('Lamp')
    answer('two words')
    equal((question(), TOLD), (TEXTS[3], [(1, 'Lamp'), (2, 'two words')]))
    INTERVIEWS.Back()
    kz.eval('interview.back')
    equal((question(), code('interview.back')), (TEXTS[1], kz.result.OUTOFBOUNDS))
    for text in 'Moon', '3', 'yes':
        answer(text)
    equal((TOLD[2:], INTERVIEWS.IsActive()), ([(1, 'Moon'), (2, '3'), (3, 'yes'), ('finish', 0)], False))
    log = kz.service.Log().SubSystemLookup('interview')
    equal('A lamp: ' + TEXTS[2] in [log.EntryByIndex(index).Desc() for index in range(log.EntryCount())], True)


def check_an_interview_is_cancelled_once():
    begin()
    INTERVIEWS.Cancel(None)
    equal((TOLD, INTERVIEWS.IsActive()), ([('finish', 1)], False))
    message = MESSAGES.Allocate()
    begin()
    INTERVIEWS.Cancel(message)
    begin()
    kz.eval('interview.cancel {no time}')
    equal(TOLD, [('finish', 1)])
    fails('NOTAVAILABLE', (INTERVIEWS.Cancel, None), (INTERVIEWS.Back,))
    for line in 'interview.answer a', 'interview.answer question:?', 'interview.cancel':
        equal((line, code(line)), (line, kz.result.NOTAVAILABLE))
    value = kz.service.Value().CreateValue('string')
    fails('INVALIDARG', (INTERVIEWS.Start, value, 'x'), (INTERVIEWS.Start, None, 'x'))
    begin()
    fails('INVALIDARG', (INTERVIEWS.Cancel, value))
    INTERVIEWS.Cancel(None)


def check_interviewers_that_interfere_or_lie():
    fails('NOTFOUND', (lambda: begin(missing=1),))
    equal((TOLD, INTERVIEWS.IsActive()), ([('finish', 1)], False))
    begin(missing=2)
    equal((code('interview.answer a'), TOLD, INTERVIEWS.IsActive()),
          (kz.result.NOTFOUND, [(1, 'a'), ('finish', 1)], False))
    begin(during=lambda self: INTERVIEWS.Cancel(None))
    answer('a')
    equal((TOLD, INTERVIEWS.IsActive()), ([(1, 'a'), ('finish', 1)], False))
    refused = []
    begin(during=lambda self: refused.append([code('interview.back'), code('interview.answer b')]))
    answer('a')
    equal((refused, question()), ([[kz.result.NOTREADY] * 2], TEXTS[2]))
    INTERVIEWS.Cancel(None)
    begin(intrv_Finish=lambda self, cancelled: INTERVIEWS.Start(Asks(), 'the next one'))
    INTERVIEWS.Cancel(None)
    equal((INTERVIEWS.IsActive(), kz.eval('interview.answer title:?')), (True, 'the next one'))
    INTERVIEWS.Cancel(None)
    begin(intrv_Next=lambda self, index: 1 / 0)
    code('interview.answer a')
    equal(INTERVIEWS.IsActive(), False)  # no question follows
    begin(intrv_Finish=lambda self, cancelled: kz.throw(kz.result.FAILED))
    equal(code('interview.cancel'), kz.result.FAILED)
    equal(INTERVIEWS.IsActive(), False)


def check_what_goes_on_ends_with_the_host():
    begin()
    equal(INTERVIEWS.IsActive(), True)
