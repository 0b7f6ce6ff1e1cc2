import sys

import kz
import kzifc


class Answer(kzifc.Command):
    def cmd_Execute(self, flags):
        print "Hello from a Python server"


kz.bless(Answer, "answer")
print "Python", sys.version.split()[0]
kz.eval("greet")
kz.eval("answer")
