"""The parent: starts a child for each server and each level, and prints what they have found.

    kzhost -m kzvalidate [--host=OPTION...] FILE|NAME...
"""

import argparse
import errno
import json
import marshal
import os
import pipes
import shutil
import signal
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
LEFT = 70           # see recorder.py
EVERY = 60.0        # seconds between lines that say how far it is
CRASHES = 20        # after so many crashes of one server at one level the rest of the level is left out
PATIENCE = 20.0     # seconds without a sign of life, beside the limit for a call, after which a child counts as stuck
FAMILIES = {'threads': 'raises', 'state': 'raises'}  # what would be told twice
TOGETHER = (['1', '2', '3', '4'], ['5'], ['6'], ['7'], ['8'], ['9'], ['10'], ['10_end'])  # levels that share a child
TUNING = (('limit', float), ('slow', float), ('rounds', int))
DEFAULTS = {'limit': 10.0, 'slow': 1.0, 'rounds': 1000}
OPENING = 'Puts servers through what hosts do with them. docs/validator.md says what the levels are.'


def parsed(words):
    parser = argparse.ArgumentParser(prog='kzhost validate', description=OPENING)
    parser.add_argument('sources', nargs='+', metavar='FILE|NAME')
    parser.add_argument('--level', type=int, default=5, choices=range(1, 11), metavar='1..10')
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--json', action='store_true')
    parser.add_argument('--only', default='', metavar='TEXT')
    for name, kind in TUNING:
        parser.add_argument('--' + name, type=kind, default=DEFAULTS[name])
    parser.add_argument('--host', action='append', default=[])
    return parser.parse_args(words)


class Ended(object):
    """What a child has left: its rows, what it called last, and how it ended."""

    def __init__(self, folder, status, output, is_late):
        self.rows = read_rows(os.path.join(folder, 'findings'))
        self.crumb = read(os.path.join(folder, 'crumb')).partition('\0')[0]
        self.status, self.output, self.is_late, self.level = status, output, is_late, 1
        self.is_done = any('done' in row or 'targets' in row or 'unusable' in row for row in self.rows)

    def get(self, key):
        return next((row[key] for row in self.rows if key in row), None)


def read(path):
    try:
        with open(path, 'rb') as stream:
            return stream.read()
    except EnvironmentError:
        return ''


def read_rows(path):
    rows = []
    for line in read(path).splitlines():
        try:
            rows.append(json.loads(line))
        except ValueError:
            pass  # the child ended while it wrote the line
    return rows


class Progress(object):
    """Says on standard error what is being done: on a terminal as it begins, elsewhere every minute."""

    def __init__(self, is_quiet):
        self.is_terminal, self.is_quiet = sys.stderr.isatty(), is_quiet
        self.start, self.said, self.text = time.time(), time.time(), ''

    def show(self, text):
        self.text = text
        if self.is_terminal:
            sys.stderr.write('\r\033[K' + text)

    def tick(self):
        now = time.time()
        if not self.is_terminal and not self.is_quiet and self.text and now - self.said >= EVERY:
            self.said = now
            sys.stderr.write('kzhost: %s, after %d s\n' % (self.text, now - self.start))


class Children(object):
    """Starts children, one after the other, each in an empty folder."""

    def __init__(self, options, progress):
        self.options, self.progress = options, progress
        self.work = tempfile.mkdtemp(prefix='validate')
        self.description = os.path.join(self.work, 'description')
        with open(os.path.join(os.path.dirname(HERE), 'kzserv', 'description.json')) as stream:
            rows = json.load(stream)['kzifc']
        with open(self.description, 'wb') as stream:
            marshal.dump(dict((str(name), [[str(each) for each in row] for row in methods])
                              for name, (_, methods) in rows.items()), stream)

    def run(self, source, target=None, levels=(), skip=()):
        folder = tempfile.mkdtemp(dir=self.work)
        with open(os.path.join(folder, 'settings'), 'w') as stream:
            json.dump(dict(source=os.path.abspath(source) if os.path.isfile(source) else source, target=target,
                           levels=levels, skip=sorted(skip), seed=self.options.seed, limit=self.options.limit,
                           slow=self.options.slow, rounds=self.options.rounds, description=self.description), stream)
        scratch = os.path.join(folder, 'scratch')
        os.mkdir(scratch)
        command = [sys.executable, '--quiet'] + self.options.host + ['run', os.path.join(HERE, 'child.py'), folder]
        try:
            with open(os.path.join(folder, 'out'), 'wb') as out, open(os.path.join(folder, 'err'), 'wb') as err, \
                    open(os.devnull) as nothing:
                child = subprocess.Popen(command, stdin=nothing, stdout=out, stderr=err, cwd=scratch, close_fds=True,
                                         preexec_fn=os.setpgrp)
                is_late = self.wait(child, os.path.join(folder, 'crumb'))
            return Ended(folder, child.returncode, read(os.path.join(folder, 'err')), is_late)
        finally:
            shutil.rmtree(folder, ignore_errors=True)

    def wait(self, child, path):
        """Waits for the child, and kills it, and what it has started, when it shows no sign of life any more."""
        patience = PATIENCE + self.options.limit
        end, crumb, pause = time.time() + patience, '', 0.002
        try:
            while child.poll() is None and time.time() < end:
                time.sleep(pause)
                pause = min(pause * 1.5, 0.05)
                self.progress.tick()
                if read(path) != crumb:
                    end, crumb = time.time() + patience, read(path)
            return child.returncode is None
        finally:
            try:
                os.killpg(child.pid, signal.SIGKILL)
            except OSError:
                pass  # it has ended, and left nobody behind
            child.wait()

    def close(self):
        shutil.rmtree(self.work, ignore_errors=True)


class Validation(object):
    def __init__(self, options):
        self.options, self.progress = options, Progress(options.json)
        self.children = Children(options, self.progress)
        self.findings = []
        self.servers = 0

    def run(self):
        for source in self.options.sources:
            if os.path.isdir(source):
                return refuse(u'%s is a folder; name the files in it, as in %s/*.py' % (as_text(source), as_text(source)))
            ended = self.children.run(source)
            if ended.get('unusable'):
                return refuse(ended.get('unusable'))
            self.take(ended, source, source, set())
            if not ended.is_done:
                self.crashed(ended, source, source, set(), {})
                continue
            chosen = [(index, target) for index, target in enumerate(ended.get('targets'))
                      if as_text(self.options.only) in target['name']]
            if not chosen and not self.findings:
                name = u' with "%s" in its name' % as_text(self.options.only) if self.options.only else u''
                return refuse(u'%s: there is no server%s' % (as_text(source), name))
            for index, target in chosen:
                self.servers += 1
                self.validate(source, index, target, ended.get('places'))
        return 1 if self.findings else 0

    def validate(self, source, index, target, places):
        known, skip = set(), set()
        for together in TOGETHER:
            levels = [level for level in together if int(level.partition('_')[0]) <= self.options.level]
            for _ in range(CRASHES):
                self.progress.show('%s: level %s' % (target['name'].encode('utf-8'), ' '.join(levels)))
                ended = self.children.run(source, index, levels, skip) if levels else None
                if ended is None or self.take(ended, source, target['name'], known):
                    break
                if not self.crashed(ended, source, target['name'], known, places, skip):
                    break
                levels = [level for level in levels if int(level.partition('_')[0]) >= ended.level]
            skip.update(label for label, code in known if code == 'slow')  # found once is enough of it
            if any(label.endswith('.__init__') and code != 'leak' for label, code in known):
                break

    def take(self, ended, source, server, known):
        """Takes the findings of a child. Returns whether it has come to its end."""
        for row in ended.rows:
            ended.level = row.get('level', ended.level)
            if 'finding' in row:
                self.tell(dict(row['finding'], level=ended.level), source, server, known)
        return ended.is_done and ended.status == 0

    def crashed(self, ended, source, server, known, places, skip=None):
        """A finding about a child that has not come to its end. Returns whether another one can go on behind it."""
        label = ended.crumb.partition('(')[0] or 'import'
        if ended.status == LEFT:
            is_fresh = True
        else:
            path, line = places.get(label, (os.path.abspath(source), 1))
            seen = 'does not end, and lets no other thread run' if ended.is_late and not ended.is_done else \
                'the process does not end' if ended.is_late else \
                'the process dies of %s' % signal_name(-ended.status) if ended.status < 0 else \
                'ends the process with the status %s' % ended.status
            self.tell(dict(severity='error', label=label, code='crash', seen=seen, level=ended.level, file=path,
                           line=line, expected='a process that goes on',
                           trace=ended.crumb[:200] + last_lines(ended.output)), source, server, known)
            is_fresh = not ended.is_done
        if skip is None or label in skip or not is_fresh:
            return False
        skip.add(label)
        return True

    def tell(self, finding, source, server, known):
        key = finding['label'], FAMILIES.get(finding['code'], finding['code'])
        if key in known:
            return
        known.add(key)
        words = ['kzhost'] + self.options.host + ['validate', source] + (
            [] if as_text(server) == as_text(source) else ['--only', server])
        words += ['--level', str(finding['level']), '--seed', str(self.options.seed)]
        for name, _ in TUNING:
            if getattr(self.options, name) != DEFAULTS[name]:
                words += ['--' + name, '%g' % getattr(self.options, name)]
        if not finding['file']:  # a server in C++ does not say where it is
            finding.update(file=as_text(source), line=1)
        finding.update(server=as_text(server), command=' '.join(pipes.quote(as_text(each)) for each in words))
        self.findings.append(finding)
        self.progress.show('')
        if self.options.json:
            text = json.dumps(finding, sort_keys=True)
        else:
            text = u'%(file)s:%(line)d: %(severity)s: level %(level)d: %(label)s of "%(server)s": %(seen)s; ' \
                   u'expected %(expected)s' % finding
            text += (u' [%s]' % finding['trace'].replace('\n', ' ') if finding['trace'] else u'') + \
                u'; again: ' + finding['command']
        sys.stdout.write(text.encode('utf-8') + '\n')
        sys.stdout.flush()

    def summary(self):
        text = '%s, level %d, seed %d: %s' % (
            plural(self.servers, 'server'), self.options.level, self.options.seed,
            plural(len(self.findings), 'finding') if self.findings else 'nothing found')
        self.progress.show('')
        if not self.options.json:
            sys.stdout.write(text + '\n')


def as_text(value):
    return value.decode('utf-8', 'replace') if isinstance(value, str) else value


def plural(count, noun):
    return '%d %s%s' % (count, noun, '' if count == 1 else 's')


def refuse(text):
    sys.stderr.write('kzhost: %s\n' % text.encode('utf-8'))
    return 2


def signal_name(number):
    names = [name for name, value in sorted(vars(signal).items())
             if value == number and name.startswith('SIG') and name[3] != '_']
    return 'signal %d (%s)' % (number, names[0] if names else 'unknown')


def last_lines(output):
    lines = output.strip().splitlines()[-2:]
    return '; standard error ends with: ' + ' | '.join(lines)[:300] if lines else ''


def main(words):
    options = parsed(words)
    validation = Validation(options)
    try:
        status = validation.run()
        if status != 2:
            validation.summary()
        return status
    except KeyboardInterrupt:
        return 130
    except IOError as error:
        if error.errno != errno.EPIPE:
            raise
        os.dup2(os.open(os.devnull, os.O_WRONLY), 1)  # what is left is for nobody
        return 141
    finally:
        validation.children.close()


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
