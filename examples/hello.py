# python
# What a script is given, and where its output goes.
import sys

import kz

kz.out("Hello from", "Python", "%d.%d" % sys.version_info[:2])
print "The argument string:", repr(kz.arg())
print "Its parts:", kz.args()
