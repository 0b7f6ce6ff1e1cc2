import kz; print "The host measures in", kz.eval("unit.system ?"), "units."
