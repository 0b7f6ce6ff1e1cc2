# python
# What scripts do all day: run commands, ask for values, switch a toggle, run another script, show progress.
import os
import sys

import kz

# A value that is created, set and asked for. A query comes in three shapes.
kz.eval("user.value example.width 2.5 type:float")
kz.eval("user.value example.width 4.0")
print "natural, one, tuple:", kz.eval("user.value example.width ?"), \
    kz.eval1("user.value example.width ?"), kz.evalN("user.value example.width ?")

# The same command by keywords; every argument may be any Python value.
kz.command("user.value", name="example.lens", value="wide", type="string")
print "by keywords:", kz.eval("user.value example.lens ?")

# Angles are radians, unless a script asks for degrees.
kz.eval("user.value example.turn 1.5707963267948966 type:angle")
print "radians:", round(kz.eval("user.value example.turn ?"), 4)
kz.setOption("queryAnglesAs", "degrees")
print kz.option("queryAnglesAs") + ":", round(kz.eval("user.value example.turn ?"), 4)

# A toggle, and how it stands.
kz.eval("log.debug 1")
print "toggle:", kz.test("log.debug"), kz.eval("log.debug ?")
kz.eval("log.debug 0")
print "toggle:", kz.test("log.debug"), kz.eval("log.debug ?")

# Another script with arguments of its own; ours are as they were afterwards.
folder = os.path.dirname(sys._getframe().f_code.co_filename)
kz.eval("@{%s} from commands" % os.path.join(folder, "hello.py"))
print "our own arguments:", kz.args()

# A command that fails says why.
try:
    kz.eval("user.value example.height 1 type:nonsense")
except RuntimeError as error:
    print "refused:", error

# What the host knows about itself.
print "modules:", kz.Service("host").queryN("modules")

# Progress: a bar on a terminal, lines in a pipe.
monitor = kz.Monitor(4)
for step in range(4):
    monitor.step()
