"""What reaches a running kzhost from outside: stops, and debuggers, here by a small client of their protocol."""
import json
import os
import re
import signal
import socket
import subprocess
import sys
import time

import checks

PROGRAM, FOLDER = sys.argv[1:]
SPIN = 'def spin():\n  while True:\n    try: pass\n    except: pass\n'
OUTER = SPIN + 'def outer():\n  while True:\n    try: spin()\n    except: pass\n'
JOB = 'import kz, kzifc, kzu.object, sys, time\nclass Job(kzifc.ThreadJob):\n  def job_Execute(self):\n    %s\n' \
      'group = kz.service.Thread().CreateGroup()\nfor each in range(%d): group.AddJob(Job())\ngroup.Execute()\n'
READY = 'import sys\nprint "ready"; sys.stdout.flush()\n'
WAIT = 'try: group.Wait()\nfinally: print "cleaned"\n'


def started(text, *options, **changed):
    path = os.path.join(FOLDER, 'outside%d.py' % len(checks.results))
    with open(path, 'w') as script:
        script.write(text)
    with open(path + '.err', 'w') as error:
        words = (PROGRAM,) + options + (os.path.basename(path),)
        environment = dict(os.environ, XDG_DATA_HOME=changed.get('data', os.environ['XDG_DATA_HOME']))
        child = subprocess.Popen(words, cwd=FOLDER, stdout=subprocess.PIPE, stderr=error, env=environment)
    return child, path


def stop(child):
    return subprocess.call((PROGRAM, 'stop', str(child.pid)))


def interrupt_twice(child):
    child.send_signal(signal.SIGINT)
    time.sleep(0.1)
    child.send_signal(signal.SIGINT)


def stop_twice(child):
    return stop(child), stop(child)


def check_stops():
    """However it is asked, the process ends with 130 and says where it was."""
    table = (
        (stop, ('run',), OUTER + READY + 'outer()',
         '\\(spin\\)\n .. outside\\d+.py: 7 \\(outer\\)\n .. outside\\d+.py: 11 \\(<module>\\)\n'),
        (interrupt_twice, ('run',), OUTER
         + 'told = 0\nwhile 1:\n  try:\n    if not told:\n      told = 1\n      ' + READY
         .replace('\n', '; ', 1) + '    outer()\n  except: pass', 'where Python was:\n'),
        (stop_twice, ('run',), READY + 'def sums():\n  return sum(xrange(10 ** 12))\nsums()',
         'code in C .*\nthread \\d+\n .. outside\\d+.py: 4 \\(sums\\)\n .*\nkzhost: ended by force.*\n$'),
        (stop, ('run',), READY + 'import time\nwhile True: time.sleep(600)', 'exception "KeyboardInterrupt"'),
        (stop, ('run',), 'import threading, time\nt = threading.Thread(target=time.sleep, args=(600,), name="idler")\n'
         't.start()\n' + READY + 't.join()', 'thread \\d+ "idler"\n(.*\n)*thread \\d+ "MainThread"\n'),
        (stop, ('run',), 'begun = []\n' + JOB % ('begun.append(1)\n    while True: pass', 9)
         + 'while not begun: time.sleep(.01)\n' + READY + WAIT,
         '\\(job_Execute\\)\n(.*\n)*thread \\d+ "MainThread"\n(.*\n)* .. outside\\d+.py: \\d+ \\(<module>\\)\n'),
        (stop, ('run',), 'import atexit\n'
         + SPIN + 'atexit.register(spin)\n' + READY, '\\(spin\\)\n .. .*\\(_run_exitf'),
        (stop, ('run',), READY
         + 'import kz\nopen("in.py", "w").write(%r)\nwhile True:\n  try: kz.eval("@in.py")\n  except: pass'
         % (SPIN + 'spin()'), 'in.py: 5 \\(<module>\\)\n .. outside\\d+.py: 6 \\(<module>\\)\n'),
        (stop, (), 'import kz\n' + SPIN + READY + 'spin()', '\\(spin\\)\n'))
    for ask, options, text, wanted in table:
        child, path = started(text, *options)
        line = child.stdout.readline()
        ask(child)
        rest, error = child.stdout.read(), open(path + '.err').read()
        found = re.search(wanted, error) is not None
        checks.equal((line, child.wait(), found or error, rest in ('', 'cleaned\n')), ('ready\n', 130, True, True))


def check_refusals():
    other = subprocess.Popen(('sleep', '600'))
    for words, wanted in (((), 'PID'), (('x',), 'should be the number'), ((str(other.pid),), 'and no kzhost'),
                          (('1',), 'kzhost' if os.access('/proc/1/exe', os.R_OK) else 'another user')):
        child = subprocess.Popen((PROGRAM, 'stop') + words, stderr=subprocess.PIPE)
        error = child.stderr.read()
        checks.equal((child.wait(), wanted in error or error), (2, True))
    other.kill()
    other.wait()
    checks.equal(stop(other), 2)


class Debugger(object):
    def __init__(self, port):
        self.stream = socket.create_connection(('127.0.0.1', port), 60).makefile('rwb', 0)
        self.events, self.sent = [], 0

    def send(self, command, **arguments):
        self.sent += 1
        text = json.dumps({'seq': self.sent, 'type': 'request', 'command': command, 'arguments': arguments})
        self.stream.write('Content-Length: %d\r\n\r\n%s' % (len(text), text))

    def read(self, wanted):
        """The body of the first message, already come or still to come, that answers a command or is such an event."""
        while True:
            for message in self.events:
                if wanted in (message.get('event'), message.get('command')):
                    self.events.remove(message)
                    return message.get('body')
            size = int(self.stream.readline().split(':')[1])
            self.stream.readline()
            self.events.append(json.loads(self.stream.read(size)))

    def ask(self, command, **arguments):
        self.send(command, **arguments)
        return self.read(command)


def debugged(text, lines):
    """A script that runs under a debugger, with its first breakpoints."""
    child, path = started(text, '--debug', '0', 'run')
    said = ''
    while not said.endswith('\n') and child.poll() is None:
        time.sleep(0.05)
        said = open(path + '.err').read()
    debugger = Debugger(int(said.rpartition(':')[2]))
    debugger.ask('initialize', adapterID='test')
    debugger.send('attach', justMyCode=False)
    debugger.read('initialized')
    debugger.ask('setBreakpoints', source={'path': path}, breakpoints=[{'line': line} for line in lines])
    debugger.ask('configurationDone')
    return child, debugger


def check_debugger():
    """Breakpoints in a served method, on a thread of the host and in the script; a step; the end with its status."""
    text = JOB % ('where = 8', 1) + 'group.Wait()\nclass Told(kzifc.Command):\n  def cmd_Execute(self, flags):\n' \
        '    inside = 5\n    print inside + 1\nkz.bless(Told, "told")\nkz.eval("told")\nlast = 7\nsys.exit(last)\n'
    child, debugger = debugged(text, (4, 12, 15))
    seen = []
    for command in 'continue', 'continue', 'next', 'continue':
        thread = debugger.read('stopped')['threadId']
        stack = debugger.ask('stackTrace', threadId=thread)['stackFrames']
        scope = debugger.ask('scopes', frameId=stack[0]['id'])['scopes'][0]['variablesReference']
        variables = debugger.ask('variables', variablesReference=scope)['variables']
        names = dict((each['name'], each['value']) for each in variables)
        value = debugger.ask('evaluate', expression='1 + 1', frameId=stack[0]['id'])['result']
        seen.append(([(each['name'], each['line']) for each in stack], names.get('inside'), names.get('last'), value))
        debugger.ask(command, threadId=thread)
    debugger.read('terminated')
    checks.equal(seen, [([('job_Execute', 4)], None, None, '2'),
                        ([('cmd_Execute', 12), ('<module>', 14)], '5', None, '2'),
                        ([('<module>', 15)], None, None, '2'), ([('<module>', 16)], None, '7', '2')])
    checks.equal((child.stdout.read(), child.wait()), ('6\n', 7))


def check_disconnecting():
    child, debugger = debugged('x = 1\nprint x\n', (2,))
    debugger.read('stopped')
    debugger.send('disconnect')
    checks.equal((child.stdout.read(), child.wait()), ('1\n', 0))


def check_bad_ports():
    taken = socket.socket()
    taken.bind(('127.0.0.1', 0))
    taken.listen(1)
    for port, status, wanted in (('x', 2, 'x should be a port'), ('65536', 2, 'should be a port'),
                                 (str(taken.getsockname()[1]), 1, 'in use')):
        child, path = started('', '--debug', port, 'run')
        error = (child.wait(), open(path + '.err').read())[1]
        checks.equal((child.returncode, wanted in error or error), (status, True))
    child, path = started('', '--debug', '0', 'run', data=FOLDER)
    checks.equal((child.wait(), './dev setup debugger' in open(path + '.err').read()), (1, True))


checks.run(sys.modules['__main__'])
