"""A recorder of macros: a command switches it on and off, and a listener writes down the commands in between.

    kzhost --import-path examples eval "kz.eval('macro.record a.py')" "kz.eval('log.debug 1')" "kz.eval('macro.record')"

What it writes is a script that does the same again. A command without a file ends the recording.
"""

import kz
import kzifc
from kzu.command import Argument, Command

state = {'path': None, 'lines': []}  # type: dict


class Record(Command):
    description = 'Starts to record commands in a file, or ends it.'
    arguments = [Argument('file', 'string', optional=True, query=True, desc='The script to write')]

    def execute(self, file):
        if state['path']:
            with open(state['path'], 'w') as stream:
                stream.write('# python\nimport kz\n\n')
                stream.writelines('kz.eval(%r)\n' % line for line in state['lines'])
        state.update(path=file, lines=[])

    def query(self, name):
        return state['path'] or ''


class Recorder(kzifc.CmdSysListener):
    """Hears of every command that has been executed, also of those that the host's own interface starts."""

    def cmdsysevent_ExecuteResult(self, command, kind, sandboxed, post, succeeded):
        if state['path'] and succeeded and kz.object.Command(command).Name() != 'macro.record':
            state['lines'].append(kz.service.Command().ToString(command))


kz.bless(Record, 'macro.record', {'command.category': 'macro'})
kz.bless(Recorder, 'macro.recorder')
