# python
"""Paints a fractal in jobs of the host's threads, with a progress bar and a way to stop.

    kzhost run examples/fractal.py fractal.png [ROWS]

Ctrl-C stops it, and so does a number of ROWS, after which it stops itself. What there is by then is saved nevertheless,
and the exit status is 1.
"""
import sys
import time

import kz
import kzifc

WIDTH, HEIGHT, DEPTH = 96, 64, 50


class Painter(kzifc.ThreadJob):
    """Takes rows until there are none left. Lists and dictionaries are safe to share: a pop or a store happens at once."""

    def __init__(self, waiting, finished):
        self.waiting, self.finished = waiting, finished

    def job_Execute(self):
        while True:
            try:
                y = self.waiting.pop()
            except IndexError:
                return
            self.finished[y] = [value for x in range(WIDTH) for value in color_at(x, y)]


def color_at(x, y):
    place = complex(x * 3.0 / WIDTH - 2.2, y * 2.0 / HEIGHT - 1.0)
    value = 0j
    for count in range(DEPTH):
        value = value * value + place
        if abs(value) > 2:
            return min(255, count * 16), min(255, count * 8), 60 + count * 3
    return 0, 0, 0


def paint(image, limit):
    """Returns whether all rows were painted. Only this thread calls the host, with one row after the other."""
    waiting, finished = range(HEIGHT)[::-1], {}  # type: list, dict
    group = kz.service.Thread().CreateGroup()
    for _ in range(kz.service.Thread().ProcessorCount()):
        group.AddJob(Painter(waiting, finished))
    monitor = kz.Monitor(HEIGHT)
    group.Execute()
    done = 0
    try:
        while done < HEIGHT:
            time.sleep(0.01)
            while done in finished:
                colors = finished[done]
                line = kz.Storage("byte", len(colors))
                line.set(colors)
                image.SetLine(done, kz.symbol.iIMG_FORMAT_RGB24, line.size(), line)
                done += 1
                monitor.step()  # fails after Ctrl-C
                if done == limit:
                    return False
    except (KeyboardInterrupt, RuntimeError):
        return False
    finally:
        del waiting[:]  # the jobs end with the rows that they are at
        group.Wait()
    return True


def main(path, limit="0"):
    images = kz.service.Image()
    image = images.Create(WIDTH, HEIGHT, kz.symbol.iIMG_FORMAT_RGB24, 0)
    is_whole = paint(kz.object.ImageWrite(image), int(limit))
    images.Save(image, path, "PNG", None)
    print "painted %s" % path if is_whole else "stopped: %s is not whole" % path
    return 0 if is_whole else 1


sys.exit(main(*sys.argv[1:]))
