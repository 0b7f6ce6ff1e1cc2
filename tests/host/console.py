"""The console as somebody at a terminal meets it: what is typed and what can be read then, and how the terminal is left."""
import fcntl
import os
import re
import select
import signal
import struct
import subprocess
import sys
import termios
import time

import checks

PROGRAM = sys.argv[1]
HISTORY = os.environ['XDG_STATE_HOME'] + '/kzhost/history'
os.makedirs(os.path.dirname(HISTORY), 0700)


class Terminal(object):
    def __init__(self, *words):
        self.keys, self.screen = os.openpty()
        fcntl.ioctl(self.screen, termios.TIOCSWINSZ, struct.pack('HHHH', 24, 80, 0, 0))
        self.settings = termios.tcgetattr(self.screen)
        self.child = os.fork()
        if not self.child:
            os.setsid()
            fcntl.ioctl(self.screen, termios.TIOCSCTTY, 0)
            for descriptor in range(3):
                os.dup2(self.screen, descriptor)
            os.execv(PROGRAM, (PROGRAM,) + (words or ('console',)))
        self.read('>>> ')

    def read(self, wanted, atPrompt=True):
        """Reads until that shows, or nothing comes any more. The answer is what came, without what moves the cursor."""
        raw = shown = ''
        while wanted not in shown or atPrompt and not shown.endswith(('>>> ', '... ', '(Pdb) ')):
            if not select.select([self.keys], [], [], 10)[0]:
                break
            raw += os.read(self.keys, 4096)
            shown = re.sub('\x1b\\[[?0-9;]*[A-Za-z]|[\r\x07]', '', raw)
        return shown

    def type(self, typed, wanted):
        os.write(self.keys, typed)
        shown = self.read(wanted, typed.endswith(('\r', '\n', '\x03', '\x04')))
        checks.equal((typed, wanted in shown or shown), (typed, True))
        if wanted not in shown:
            raise EOFError('the rest is not typed')

    def end(self, typed=None, sent=None):
        """The status, and whether the terminal is as it was."""
        if typed:
            os.write(self.keys, typed)
        if sent:
            os.kill(self.child, sent)
        status = os.waitpid(self.child, 0)[1]
        same = termios.tcgetattr(self.screen) == self.settings
        os.close(self.keys)
        os.close(self.screen)
        return status, same


TYPED = (
    ('1+1\r', '\n2\n'),
    ('_ * 3\r', '\n6\n'),
    ("u'd\xc3\xa9j\xc3\xa0', len(u'\xe6\x97\xa5')\r", "d\xc3\xa9j\xc3\xa0\n1\n"),
    ("'\xe6\x97\xa5e\xcc\x81b", 'b'), ('\x01', 5 * '\x08'),  # a wide character takes two columns, a combining one none
    ("\x05\x02\x7f\xc3\xbc\x05'\r", '\n\xe6\x97\xa5\xc3\xbcb\n'),
    ('\x1b[200~for i in 1, 2:\n\tprint i\n\nprint "x"\x1b[201~', '"x"'), ('\r', '\n1\n2\nx\n'),
    ('started / 0\r', 'modulo by zero'), ('import pdb; pdb.pm()\r', '(Pdb) '), ('p started\r', '\n1\n'), ('q\r', ''),
    ('def\r', '\n    def\n      ^\n'),
    ('from __future__ import division\r', ''), ('1/2\r', '\n0.5\n'),
    ('range(100)\r', '\n21\n... 78 more lines: Enter shows'), ('\r', '\n43\n... 56 more'), ("'a' * 170\r", '\naaa'),
    ("import subprocess; subprocess.call(['%s', 'eval', 'range(60)'])\r" % PROGRAM, '\n59\n'),
    ('half a line\x03', '^C\n'),
    ('if 1:\r', ''), ('\t', 4 * ' '), ('print 3\r', ''), ('\x04', '\n3\n'),
    ("import os; os.system('stty -a')\r", ' icanon iexten echo '),
    ('import kz, pdb, readline, rlcompleter\r', ''), ('readline.get_history_item(1)\r', '\n1+1\n'),
    ("readline.set_completer(lambda text, n: ['zz_owned'][n:] and 'zz_owned')\r", ''), ('zz_o\t', 'wned'),
    ('\x15kz.object.MeshBl\t', 'end'), ('\x15kz.symbol.fMESHMERGE_POINT_MAPS\t', ' = 1\n'),
    ('\x15kz.object.Mesh.AddPoint(\t', 'position: vector3'),
    ('\x15kz.object.Mesh.MergeWithTransform(1, 2, fMESHM\t', 'kz.symbol.fMESHMERGE_POINT_'), ('\x15list.sor\t', 't'), ("\x15kz.eval('user.v\t", 'alue'),
    ("\x15kz.eval('scene.new'), kz.eval('item.create locator name:{Left Arm}')\r", ''),
    ("kz.eval('channel.value L\t", '{Left Arm}'), (' pos.\t\t', 'pos.X'), ('X val\t', 'ue:'),
    ("\x15kz.eval('key.behavior {Left Arm} rot.Y beh\t", 'avior:'), ('osc\t', 'illate'), ("\x15kz.eval('item.parent {Le\t", 'ft Arm}'),
    ('\x15def merge(fMESHMERGE, path=1): "Merges."\r\r', ''), ('merge(\t', 'merge(fMESHMERGE, path)\nMerges.'),
    ('\x15merge(fMESHM\t', 'kz.symbol.fMESHMERGE_POINT_'),
    ("\x15merge(0, '%s/hist\t" % os.path.dirname(HISTORY), 'ory'), ("\x15x = [open('%s\t" % HISTORY[:-3], 'ory'),
    ('\x15x = [1,\r', ''), ('kz.objec\t', 't'), ('\x152]\r', ''), ('x\r', '\n1\n2\n'),
)


def check_a_conversation():
    os.environ['PYTHONSTARTUP'] = os.path.dirname(HISTORY) + '.py'
    with open(os.environ['PYTHONSTARTUP'], 'w') as stream:
        stream.write('started = 1')
    terminal = Terminal()
    del os.environ['PYTHONSTARTUP']
    for typed, wanted in TYPED:
        terminal.type(typed, wanted)
    for typed, wanted in (('try: print 6 * 7; exec "while 1: 1"\rexcept: print "once"; exec "while 1: 1"\r\r', '\n42\n'),
                          ('\x03', 'once\n')):
        os.write(terminal.keys, typed)
        checks.equal((typed, wanted in terminal.read(wanted, False)), (typed, True))
    terminal.type('\x03', 'KeyboardInterrupt')
    checks.equal(terminal.end('exit(5)\r'), (5 << 8, True))


def check_a_line_is_stopped():
    """By Ctrl-C twice and by another process, and the console goes on."""
    terminal = Terminal()
    spin = 'exec "told = 0\\nwhile 1:\\n try:\\n  if not told: told = 1; print 10 * 10\\n  while 1: 1\\n except: pass"'
    for stop in (lambda: os.write(terminal.keys, '\x03') and time.sleep(0.1) or os.write(terminal.keys, '\x03'),
                 lambda: subprocess.call((PROGRAM, 'stop', str(terminal.child)))):
        os.write(terminal.keys, spin + '\r')
        checks.equal('\n100\n' in terminal.read('\n100\n', False), True)
        stop()
        checks.equal('this is where Python was' in terminal.read('KeyboardInterrupt'), True)
        terminal.type('6 * 7\r', '\n42\n')
    checks.equal(terminal.end('\x04'), (0, True))


def check_the_terminal_is_as_it_was():
    later = 'import os, threading; threading.Timer(.2, os.%s).start()\r'
    for typed, sent, status in (
            ('\x04', None, 0), ('quit()\r', None, 0), ('import sys; sys.exit(3)\r', None, 3 << 8),
            ('import os; os._exit(4)\r', None, 4 << 8), (later % '_exit, (7,)', None, 7 << 8),
            ('import os; os.abort()\r', None, signal.SIGABRT), (later % 'abort', None, signal.SIGABRT),
            ("import os; os.system('stty raw -echo'); os.kill(os.getpid(), 15)\r", None, signal.SIGTERM),
            ("import os; os.system('stty raw -echo')\r\x04", None, 0), ('import os; os.fork() or os._exit(0)\r\x04', None, 0),
            (None, signal.SIGTERM, signal.SIGTERM), (None, signal.SIGHUP, signal.SIGHUP)):
        terminal = Terminal()
        checks.equal(termios.tcgetattr(terminal.screen) != terminal.settings, True)
        checks.equal((typed, sent, terminal.end(typed, sent)), (typed, sent, (status, True)))


def check_consoles_share_a_history():
    with open(HISTORY, 'w') as stream:
        stream.write('_HiStOrY_V2_\n' + 'former\\040=\\0401\n' * 2500)
    consoles = Terminal(), Terminal()
    for number, console in enumerate(consoles):
        console.type('\x1b[A', 'former = 1')
        console.type('\x15shared%d = "\\n"\r' % number, '')
    consoles[0].type('\x1b[200~y = (1,\n 2)\x1b[201~', '2)')
    consoles[0].type('\r', '')
    checks.equal([console.end('\x04') for console in consoles], 2 * [(0, True)])
    lines = open(HISTORY).read().splitlines()
    checks.equal((len(lines), lines[-3:]), (1003, ['shared0 = "\\\\n"', 'shared1 = "\\\\n"', 'y = (1,\\012 2)']))
    after = Terminal()
    after.type('\x1b[A', 'y = (1,\n 2)')
    after.type('\x1b[A', 'shared1 = "\\n"')
    after.type('\x1b[A', '\x080')
    checks.equal(after.end('\x15\x04'), (0, True))


def check_lines_are_read_without_an_editor():
    build = os.path.dirname(os.path.dirname(PROGRAM))
    plain = Terminal('--alias', 'program=/nowhere', '--plugin', build + '/plugins/kzPython2.so', '--alias',
                     'kit_Python2_7=' + build + '/kit/Python2_7', 'console')
    for typed, wanted in ('half\x03', '^C\n>>> '), ("u'\xc3\xa9'\n", '\n\xc3\xa9\n'):
        plain.type(typed, wanted)
    checks.equal(plain.end('\x04'), (0, True))


checks.run(sys.modules['__main__'])
