#!/usr/bin/env python3
"""Runs golden tests: a command, its input files, and what is expected of it, in one *.test file.

usage: run.py [--refresh] [--under COMMAND] --driver NORVANE_PM FILE.test ...

A file begins with what the test is about. Then come sections, each behind a line "--- NAME":

  --- file NAME        an input file, made in the folder in which the command runs
  --- bytes NAME       the same, with Python's escapes in it (\\x00, \\n, \\\\); line ends do not count
  --- command          shell commands (bash, with pipefail); norvane-pm is on the PATH, the examples
                       are in examples/, the document types in dtd/, and $UNPRIVILEGED in front of a command takes the right to
                       read everything from it
  --- stdout           what is expected; an absent section expects nothing
  --- stderr
  --- stderr has       lines that standard error holds among others, where a tool of the system
                       has its say
  --- status           the exit status; 0 where it is absent
  --- leaves           the number of files that stay in the folder for temporary files; 0 where it
                       is absent

The folder of the test appears as $T in the output, and the line of a source file of the libraries as
LINE. With --refresh the expectations are written
anew from what the command does: read the difference before you keep it. With --under the driver
runs under valgrind, or what takes its option --log-file; a test in which that has something to say
has failed.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..')
EXPECTATIONS = ('stdout', 'stderr', 'stderr has', 'status', 'leaves')
# Read everything in spite of permissions: what a test about permissions must not be run with.
DROP_PRIVILEGES = 'setpriv --bounding-set=-dac_override,-dac_read_search'


def read(path):
    """The sections as (name, text) in order; the introduction has the name ''."""
    sections = [('', '')]
    with open(path, encoding='latin-1', newline='') as stream:
        for line in stream:
            if line.startswith('--- '):
                sections.append((line[4:].rstrip('\n'), ''))
            else:
                sections[-1] = (sections[-1][0], sections[-1][1] + line)
    names = [name for name, _ in sections]
    for name in names:
        if name and name.split()[0] not in ('file', 'bytes', 'command') and name not in EXPECTATIONS:
            sys.exit('%s: unknown section: --- %s' % (path, name))
    if names.count('command') != 1:
        sys.exit('%s: there must be one command' % path)
    return sections


def write(path, sections):
    with open(path, 'w', encoding='latin-1', newline='') as stream:
        for name, text in sections:
            stream.write(('--- %s\n' % name if name else '') + text)


def make_files(sections, folder):
    for shown in ('examples', 'dtd'):
        os.symlink(os.path.realpath(os.path.join(TOP, shown)), os.path.join(folder, shown))
    for name, text in sections:
        kind, _, file_name = name.partition(' ')
        if kind not in ('file', 'bytes'):
            continue
        data = text.encode('latin-1')
        if kind == 'bytes':
            data = data.replace(b'\n', b'').decode('unicode_escape').encode('latin-1')
        target = os.path.join(folder, file_name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(target, 'wb') as stream:
            stream.write(data)


def launched(driver, under, top):
    """A driver that runs the other under a command, which writes into the folder of the test."""
    launcher = os.path.join(top, 'bin', 'norvane-pm')
    os.mkdir(os.path.dirname(launcher))
    with open(launcher, 'w', encoding='utf-8') as stream:
        stream.write('#!/bin/sh\nexec %s --log-file=%s/%%p.log %s "$@"\n'
                     % (under, top, os.path.abspath(driver)))
    os.chmod(launcher, 0o755)
    return launcher


def logged(top):
    """What the command under which the driver ran had to say."""
    logs = [os.path.join(top, name) for name in os.listdir(top) if name.endswith('.log')]
    return ''.join(open(log, encoding='latin-1').read() for log in logs)


def run(sections, driver, under):
    """What the command does, as a dictionary of the expectations, and what a log says about it."""
    top = tempfile.mkdtemp(prefix='golden.')
    work, temporary = os.path.join(top, 'work'), os.path.join(top, 'tmp')
    os.mkdir(work)
    os.mkdir(temporary)
    try:
        make_files(sections, work)
        if under:
            driver = launched(driver, under, top)
        environment = dict(os.environ, LC_ALL='C', TMPDIR=temporary, T=top,
                           PATH=os.path.dirname(os.path.abspath(driver)) + ':' + os.environ['PATH'],
                           UNPRIVILEGED=DROP_PRIVILEGES if os.geteuid() == 0 else '')
        command = b'set -o pipefail\n' + dict(sections)['command'].encode('latin-1')
        done = subprocess.run(['bash', '-c', command], cwd=work, env=environment,
                              timeout=2400 if under else 240,
                              stdin=subprocess.DEVNULL, capture_output=True)
        subprocess.run(['chmod', '-R', 'u+rwX', work], check=False)
        text = lambda data: re.sub(r'(libs/[\w/]+\.\w+) \(\d+\)', r'\1 (LINE)',
                                   data.decode('latin-1').replace(top, '$T'))
        return {'stdout': text(done.stdout), 'stderr': text(done.stderr),
                'status': '%d\n' % done.returncode,
                'leaves': '%d\n' % len(os.listdir(temporary))}, logged(top)
    finally:
        shutil.rmtree(top, ignore_errors=True)


def differences(expected, actual):
    """The names of the expectations that are not met."""
    wrong = []
    for name in ('stdout', 'stderr', 'status', 'leaves'):
        if name == 'stderr' and 'stderr has' in expected:
            lines = actual['stderr'].splitlines()
            if any(line not in lines for line in expected['stderr has'].splitlines()):
                wrong.append('stderr has')
        elif actual[name] != expected.get(name, '0\n' if name in ('status', 'leaves') else ''):
            wrong.append(name)
    return wrong


def show(path, expected, actual, wrong):
    print('%s: not as expected: %s' % (path, ', '.join(wrong)))
    for name in wrong:
        with tempfile.TemporaryDirectory() as folder:
            for side, text in (('expected', expected.get(name, '')),
                               ('actual', actual[name.partition(' ')[0]])):
                with open(os.path.join(folder, side), 'w', encoding='latin-1', newline='') as stream:
                    stream.write(text)
            print('--- %s' % name, flush=True)
            subprocess.run(['diff', '-a', '-u', 'expected', 'actual'], cwd=folder, check=False)


def refresh(path, sections, actual):
    kept = [(name, text) for name, text in sections if name not in EXPECTATIONS]
    if kept[-1][1] and not kept[-1][1].endswith('\n'):
        kept[-1] = (kept[-1][0], kept[-1][1] + '\n')
    has = dict(sections).get('stderr has')
    for name in ('stdout', 'stderr', 'status', 'leaves'):
        if name == 'stderr' and has is not None:
            kept.append(('stderr has', has))
        elif actual[name] not in ('', '0\n'):
            kept.append((name, actual[name]))
    if kept != sections:
        write(path, kept)
        print('refreshed', path)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument('--driver', required=True)
    parser.add_argument('--refresh', action='store_true')
    parser.add_argument('--under')
    parser.add_argument('files', nargs='+')
    arguments = parser.parse_args()
    failed = 0
    for path in arguments.files:
        sections = read(path)
        actual, log = run(sections, arguments.driver, arguments.under)
        if arguments.refresh:
            refresh(path, sections, actual)
            continue
        expected = {name: text for name, text in sections if name in EXPECTATIONS}
        wrong = differences(expected, actual)
        if log:
            print('%s: found by %s:\n%s' % (path, arguments.under.split()[0], log))
        if wrong or log:
            failed += 1
            show(path, expected, actual, wrong)
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
