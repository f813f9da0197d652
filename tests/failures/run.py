#!/usr/bin/env python3
"""Lets each call that asks the system for something fail in turn, in each command of the driver.

usage: run.py --driver NORVANE_PM --inject LIBRARY --kind KIND [--only NAME] [--points N] [--once]

KIND is memory, open, read, write, spawn, map or remove (inject.c tells what belongs to each). A command
is run once to count its calls; then once for each call, which fails alone, and once for each call, which
fails together with all after it. Where there are more calls than N, that many are taken, evenly
spread; N = 0 takes each. With --once no two fail together: the runtime of a sanitizer ends the process
when it has no memory itself. Whatever fails, the driver has to

- succeed with the very same results, or end with a report and status 1, or with a report and
  status 3, or, where the C library cannot note what a thread is to clean up, by its abort with a text;
- leave no file behind, but for what cannot be removed;
- leave the file that it was to write as it was, or whole.
"""
import argparse
import concurrent.futures
import io
import mmap
import os
import pathlib
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import zipfile

KINDS = ('memory', 'open', 'read', 'write', 'spawn', 'map', 'remove')
SHARED = struct.Struct('%di' % (4 + len(KINDS)))
HANGS = 'that never comes: it hangs'
OLD = b'what was there before\n'

# Name, command, and the file that it writes.
COMMANDS = [
    ('help', '--version', None),
    ('rules', 'rules --origin main.pm', None),
    ('simplify', 'simplify main.pm', None),
    ('check', 'check --format=json main.pm', None),
    ('print', 'print main.pm', None),
    ('wrong', 'check wrong.pm', None),
    ('stdin', 'check -', None),
    ('to-xml', 'convert main.pm out.xml', 'out.xml'),
    ('from-xml', 'convert main.xml out.pm', 'out.pm'),
    ('calc-check', 'calc check main.cl --model main.xml', None),
    ('calc-print', 'calc print main.clx', None),
    ('calc-package', 'calc print main.mub', None),
    ('to-clx', 'calc convert main.cl out.clx', 'out.clx'),
    ('from-clx', 'calc convert main.clx out.cl', 'out.cl'),
    ('show', 'workspace show main.zeb', None),
    ('show-json', 'workspace show --format=json main.zeb', None),
    ('commands', 'workspace commands main.zeb main build', None),
    ('workspace-package', 'workspace package main.zeb main', 'main.mub'),
    ('package-make', 'package make main --output-dir out --debug', 'out/main.mub'),
    ('package-list', 'package list main.mub', None),
    ('get', 'presentation get main.prs de a', None),
    ('list', 'presentation list main.prs', None),
    ('merge', 'presentation merge main.prs main.prs -o out.prs', 'out.prs'),
    ('order', 'var-order check main.xml main.vof', None),
]
# How often a command whose work is small may ask for memory: setting up the arguments of all commands, and
# not those of the one that was asked for, takes ten times as much.
SMALL_COMMAND, FEW_CALLS = 'list', 1000
# Where the stack is not enough, on the model of a formula of this depth.
DEEP_COMMANDS = [
    ('deep-rules', 'rules deep.pm', None),
    ('deep-to-xml', 'convert deep.pm out.xml', 'out.xml'),
]
DEPTH = 20000
STACK = 1 << 20
ADDRESSES = 1 << 36 # more than any command takes
# What makes the inputs that are not there in the first place.
PREPARATIONS = ('convert main.pm main.xml', 'calc convert main.cl main.clx', 'package make main')


def preloading(library):
    """The environment that loads the library first, which a sanitizer wants to be told of."""
    return {'LD_PRELOAD': os.path.abspath(library),
            'ASAN_OPTIONS': os.environ.get('ASAN_OPTIONS', '') + ':verify_asan_link_order=0:alloc_dealloc_mismatch=0'}


def files_in(directory):
    return sorted(path for path in pathlib.Path(directory).rglob('*') if not path.is_dir())


class Outcome:
    """What a command did, and what it left in its directory."""

    def __init__(self, done, directory, temporary, output, shared):
        self.status, self.stdout, self.stderr = done.returncode, done.stdout, done.stderr
        path = pathlib.Path(directory, output or 'none')
        self.output = path.read_bytes() if path.is_file() else None
        self.files = files_in(directory)
        self.temporary = os.listdir(temporary)
        self.calls = shared[4:]


class Bench:
    """A directory in which commands run, one at a time."""

    def __init__(self, driver, inject, top):
        self.driver, self.inject = driver, inject
        self.directory = os.path.join(top, 'work')
        self.temporary = os.path.join(top, 'tmp')
        os.mkdir(self.temporary)
        shutil.copytree(os.path.join(os.path.dirname(os.path.abspath(__file__)), 'data'), self.directory)
        os.mkdir(os.path.join(self.directory, 'out'))
        pathlib.Path(self.directory, 'deep.pm').write_text(
            'variable public a : boolean; rule %sa%s;' % ('not (' * DEPTH, ')' * DEPTH))
        with open(os.path.join(top, 'shared'), 'w+b') as stream:
            stream.truncate(SHARED.size)
            self.shared = mmap.mmap(stream.fileno(), SHARED.size)
        self.environment = dict(os.environ, LC_ALL='C', TMPDIR=self.temporary,
                                INJECT_FILE=stream.name, **preloading(inject))
        for command in PREPARATIONS:
            if self.run(command, None).status != 0:
                sys.exit('cannot prepare: ' + command)

    def run(self, command, output, kind=-1, at=0, onwards=False):
        if output:
            pathlib.Path(self.directory, output).write_bytes(OLD)
        self.shared[:] = SHARED.pack(kind, at, onwards, 0, *[0] * len(KINDS))
        with open(os.path.join(self.directory, 'main.pm'), 'rb') as model:
            with tempfile.TemporaryFile() as results: # a pipe would take everything
                try:
                    done = subprocess.run([self.driver, *command.split()], cwd=self.directory, timeout=30,
                                          env=self.environment, stdin=model, stdout=results,
                                          stderr=subprocess.PIPE)
                except subprocess.TimeoutExpired:
                    done = subprocess.CompletedProcess(command, HANGS, b'', b'')
                results.seek(0)
                done.stdout = results.read()
        outcome = Outcome(done, self.directory, self.temporary, output, SHARED.unpack(self.shared))
        if outcome.temporary:
            shutil.rmtree(self.temporary)
            os.mkdir(self.temporary)
        return outcome

    def forget_new_files(self, files):
        for path in set(files_in(self.directory)) - set(files):
            path.unlink()


def members(package):
    with zipfile.ZipFile(io.BytesIO(package)) as archive:
        return {member.filename: archive.read(member) for member in archive.infolist()}


def is_acceptable(output, whole, status):
    """Whether the file that was to be written may be left like this."""
    if output == whole.output or (output == OLD and status != 0):
        return True
    if whole.output[:2] != b'PK':
        return False
    # A package without its .mu is taken away, and a member that cannot be read is left out: those who
    # make packages rely on it.
    if output is None:
        return status in (1, 3)
    return output[:2] == b'PK' and members(output).items() <= members(whole.output).items()


def faults(whole, actual, kind):
    """What is wrong about the outcome of a command in which something failed."""
    # The sanitizer's runtime itself ends where it has no memory to start a thread.
    if b'AddressSanitizer: CHECK failed' in actual.stderr:
        return
    # It ends the process with status 1, as a report of the driver does. A leak is none: a throw may lose memory.
    if re.search(rb'ERROR: AddressSanitizer:|runtime error:', actual.stderr):
        yield 'a sanitizer has found a fault'
    if actual.status == whole.status:
        if actual.status == 0 and actual.stdout != whole.stdout:
            yield 'success with other results'
    elif actual.status == -signal.SIGABRT:
        if not re.search(rb'^Fatal glibc error: .', actual.stderr, re.M):
            yield 'an abort'
    elif actual.status not in (1, 3):
        yield 'status %s' % actual.status
    if actual.status != 0 and not actual.stderr:
        yield 'no report'
    if actual.status == 3 and kind == 'spawn' and b'while ' not in actual.stderr:
        yield 'a report without the step'
    if whole.output and not is_acceptable(actual.output, whole, actual.status):
        yield 'the file that was to be written is neither the old one nor whole'
    if actual.files != whole.files and (actual.output or not whole.output):
        yield 'files: %s' % sorted(map(str, set(actual.files) ^ set(whole.files)))
    if actual.temporary and kind != 'remove':
        yield 'temporary files: %s' % actual.temporary


def chosen(count, points):
    """That many of the calls: the last ones, when results are being written, and for the greater part
    others, evenly spread."""
    if points == 0 or count <= points:
        return range(1, count + 1)
    spread = points * 3 // 4
    return sorted({1 + i * (count - 1) // (spread - 1) for i in range(spread)} |
                  set(range(count + 1 - (points - spread), count + 1)))


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    for option in ('driver', 'inject'):
        parser.add_argument('--' + option, required=True)
    parser.add_argument('--kind', required=True, choices=KINDS)
    parser.add_argument('--only')
    parser.add_argument('--points', type=int, default=60)
    parser.add_argument('--once', action='store_true')
    arguments = parser.parse_args()
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_STACK, (STACK, resource.getrlimit(resource.RLIMIT_STACK)[1]))
    if arguments.kind == 'memory' and not arguments.once: # under any limit of addresses the stack is used otherwise
        resource.setrlimit(resource.RLIMIT_AS, (ADDRESSES, resource.getrlimit(resource.RLIMIT_AS)[1]))
    kind = KINDS.index(arguments.kind)
    modes = (False,) if arguments.once else (False, True)

    def try_command(named):
        name, command, output = named
        with tempfile.TemporaryDirectory(prefix='failures.') as top:
            bench = Bench(os.path.abspath(arguments.driver), os.path.abspath(arguments.inject), top)
            whole = bench.run(command, output)
            wrong = []
            calls = chosen(whole.calls[kind], arguments.points)
            for onwards in modes:
                for at in calls:
                    actual = bench.run(command, output, kind, at, onwards)
                    wrong += ['norvane-pm %s: %s call %d%s: %s\n%s' % (
                        command, arguments.kind, at, ' and on' if onwards else '', fault,
                        actual.stderr.decode('latin-1')) for fault in faults(whole, actual, arguments.kind)]
                    bench.forget_new_files(whole.files)
            if whole.status != (1 if name == 'wrong' else 0):
                wrong.append('norvane-pm %s: status %s without any failure\n%s' % (
                    command, whole.status, whole.stderr.decode('latin-1')))
            if (name, arguments.kind) == (SMALL_COMMAND, 'memory') and whole.calls[kind] > FEW_CALLS:
                wrong.append('norvane-pm %s: %d memory calls' % (command, whole.calls[kind]))
            return name, whole.calls[kind], len(modes) * len(calls), wrong

    commands = COMMANDS + (DEEP_COMMANDS if arguments.kind == 'map' else [])
    wanted = [named for named in commands if arguments.only in (None, named[0])]
    failed = runs = 0
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for name, count, tried, wrong in pool.map(try_command, wanted):
            print('%-20s%6d calls, %5d runs, %d at fault' % (name, count, tried, len(wrong)))
            for text in wrong:
                print('  ' + text.strip().replace('\n', '\n    '))
            failed += len(wrong)
            runs += tried
    return 1 if failed or not runs else 0


if __name__ == '__main__':
    sys.exit(main())
