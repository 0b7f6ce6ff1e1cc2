@kept
class Mesh(object):
    """Text
    goes on"""
    def count(self, *given, **named):
        for index in range(10):
            if index % 2: continue
            elif not named: yield {index: [given, (1.5, 0x1F, u'\u20ac', 2L)]}
        else: return
        with open(name) as stream, lock:
            try: print >>stream, lambda x=1: x ** ~2
            except (IOError, e): raise
            finally: del self.x[1:2, ...]
