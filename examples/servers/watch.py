"""Listeners: what happens in the session, which commands run, and what the log gets.

The host makes one object of each listener when it reads the module's servers, and tells it everything from then on.
The last hundred things that they hear are in HEARD.

    kzhost --import-path examples eval "kz.eval('text.repeat a')" "from kzserv.servers import watch" "print watch.HEARD"
"""

import kz
import kzifc

HEARD = []


def hear(text):
    HEARD.append(text)
    del HEARD[:-100]  # a session may last for days


class Session(kzifc.SessionListener):
    def sesl_SystemReady(self):
        hear('ready')

    def sesl_FileOpened(self, path):
        hear('opened ' + path)

    def sesl_FileSaved(self, path):
        hear('saved ' + path)

    def sesl_ModuleUpdated(self, module):
        hear('updated ' + module)


class Commands(kzifc.CmdSysListener):
    def cmdsysevent_ExecuteResult(self, command, kind, sandboxed, post, succeeded):
        hear('%s %s' % (kz.object.Command(command).Name(), 'done' if succeeded else 'failed'))


class Errors(kzifc.LogListener):
    """Hears every entry. What a listener itself writes to the log is not told again."""

    def logevent_EntryAdded(self, subsystem, entry):
        entry = kz.object.LogEntry(entry)
        if entry.Type() & 0x80000000:
            hear('error ' + entry.Desc())


kz.bless(Session, 'watch.session')
kz.bless(Commands, 'watch.commands')
kz.bless(Errors, 'watch.errors')
