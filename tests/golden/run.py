#!/usr/bin/env python3
"""Runs golden tests: commands, their input files, and what is expected of them, in one *.test file.

usage: run.py [--refresh] [--under COMMAND] --driver NORVANE_PM FILE.test ...

A file begins with what the test is about. Then come sections, each after a line "--- NAME":

  --- file NAME        an input file, made in the directory in which the commands run
  --- bytes NAME       the same, with Python's escapes in it (\\x00, \\n, \\\\); line ends do not count
  --- command          shell commands (bash, with pipefail); norvane-pm is on the PATH, the examples
                       are in examples/, the document types in dtd/, and $UNPRIVILEGED before a
                       command takes the right to read everything from it
  --- stdout           what the commands print; an absent section expects nothing
  --- stderr
  --- status           their exit status; 0 where it is absent
  --- rows [TITLE]     one command a line, and after " => " its status, where that is not 0, and all
                       that it prints: lines are joined by " // ", and stand each by itself where the row
                       would be longer than 150 columns; empty lines, and source lines and hints, which
                       reports carry for people, are left out; a line that begins with "#" is a comment
  --- rows FILE: COMMAND
                       the same for one command and many inputs: what stands before " => ", with
                       Python's escapes, is written to FILE
  --- leaves           the number of files that stay in the directory for temporary files; 0 where
                       it is absent

Sections run in their order. The directory of the test appears as $T in the output, and the line of a
source file of the libraries as LINE. With --refresh the expectations are written anew from what the
commands do: read the difference before you keep it. With --under the driver runs under valgrind, or
another tool that takes its option --log-file; a test in which that tool reports anything has failed.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..')
EXPECTATIONS = ('stdout', 'stderr', 'status', 'leaves')
# Read everything in spite of permissions: what a test about permissions must not be run with.
DROP_PRIVILEGES = 'setpriv --bounding-set=-dac_override,-dac_read_search'
# What a report says beyond its first line, for people.
NEXT_LINE = '\n    // ' # between the lines that a row's command prints
FOR_PEOPLE = re.compile(r' *\d* \| |For more: |  help: run with --help ')


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
        if name and name.split()[0] not in ('file', 'bytes', 'command', 'rows') + EXPECTATIONS:
            sys.exit('%s: unknown section: --- %s' % (path, name))
        if names.count(name) > 1:
            sys.exit('%s: this section is there twice: --- %s' % (path, name))
    return sections


def write(path, sections):
    with open(path, 'w', encoding='latin-1', newline='') as stream:
        for name, text in sections:
            stream.write(('--- %s\n' % name if name else '') + text)


def make_files(sections, directory):
    for shown in ('examples', 'dtd'):
        os.symlink(os.path.realpath(os.path.join(TOP, shown)), os.path.join(directory, shown))
    for name, text in sections:
        kind, _, file_name = name.partition(' ')
        if kind not in ('file', 'bytes'):
            continue
        data = text.encode('latin-1')
        if kind == 'bytes':
            data = data.replace(b'\n', b'').decode('unicode_escape').encode('latin-1')
        target = os.path.join(directory, file_name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(target, 'wb') as stream:
            stream.write(data)


def launched(driver, under, top):
    """A driver that runs the other under a command, which writes into the directory of the test."""
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


class Shell:
    """Runs commands in the directory of a test."""

    def __init__(self, driver, top, timeout):
        self.top, self.timeout = top, timeout
        self.work, self.temporary = os.path.join(top, 'work'), os.path.join(top, 'tmp')
        os.mkdir(self.work)
        os.mkdir(self.temporary)
        self.environment = dict(os.environ, LC_ALL='C', TMPDIR=self.temporary, T=top,
                                PATH=os.path.dirname(os.path.abspath(driver)) + ':' + os.environ['PATH'],
                                UNPRIVILEGED=DROP_PRIVILEGES if os.geteuid() == 0 else '')
        # An installed copy of the libraries would be loaded instead of the one that was built.
        self.environment.pop('LD_LIBRARY_PATH', None)

    def run(self, command, stderr=subprocess.PIPE):
        """The status, and what is printed to standard output and standard error."""
        done = subprocess.run(['bash', '-c', b'set -o pipefail\n' + command.encode('latin-1')],
                              cwd=self.work, env=self.environment, timeout=self.timeout,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=stderr)
        text = [re.sub(r'(libs/[\w/]+\.\w+) \(\d+\)', r'\1 (LINE)',
                       (data or b'').decode('latin-1').replace(self.top, '$T'))
                for data in (done.stdout, done.stderr)]
        return done.returncode, *text

    def row(self, line, file, command):
        """A line of a section of rows, with what its command does."""
        source = line.partition(' =>')[0]
        if command:
            with open(os.path.join(self.work, file), 'wb') as stream:
                stream.write(source.encode('latin-1').decode('unicode_escape').encode('latin-1') + b'\n')
        status, output, _ = self.run(command or source, subprocess.STDOUT)
        said = [said for said in output.split('\n') if said and not FOR_PEOPLE.match(said)]
        told = ' '.join([' =>'] + [str(status)] * (status != 0) + said[:1]).rstrip()
        between = NEXT_LINE if len(source + told + ' // '.join(said[1:])) > 150 else ' // '
        return between.join([source + told] + said[1:]) + '\n'

    def rows(self, name, text):
        file, _, command = name.partition(' ')[2].partition(': ') # or a title, without a command
        return ''.join(self.row(line, file, command) if command or not line.startswith('#') else line + '\n'
                       for line in text.rstrip('\n').replace(NEXT_LINE, ' // ').split('\n'))


def run(sections, driver, under):
    """What the commands do, as a dictionary by the names of expectations, and what a log says."""
    top = tempfile.mkdtemp(prefix='golden.')
    try:
        shell = Shell(launched(driver, under, top) if under else driver, top, 2400 if under else 240)
        make_files(sections, shell.work)
        actual = {'stdout': '', 'stderr': '', 'status': '0\n'}
        for name, text in sections:
            if name == 'command':
                status, actual['stdout'], actual['stderr'] = shell.run(text)
                actual['status'] = '%d\n' % status
            elif name.startswith('rows'):
                actual[name] = shell.rows(name, text)
        actual['leaves'] = '%d\n' % len(os.listdir(shell.temporary))
        return actual, logged(top)
    finally:
        subprocess.run(['chmod', '-R', 'u+rwX', top], check=False)
        shutil.rmtree(top, ignore_errors=True)


def show(path, expected, actual, wrong):
    print('%s: not as expected: %s' % (path, ', '.join(wrong)))
    for name in wrong:
        with tempfile.TemporaryDirectory() as directory:
            for side, text in (('expected', expected.get(name, '')), ('actual', actual[name])):
                with open(os.path.join(directory, side), 'w', encoding='latin-1', newline='') as stream:
                    stream.write(text)
            print('--- %s' % name, flush=True)
            subprocess.run(['diff', '-a', '-u', 'expected', 'actual'], cwd=directory, check=False)


def refresh(path, sections, actual):
    kept = [(name, actual.get(name, text)) for name, text in sections if name not in EXPECTATIONS]
    if kept[-1][1] and not kept[-1][1].endswith('\n'):
        kept[-1] = (kept[-1][0], kept[-1][1] + '\n')
    kept += [(name, actual[name]) for name in EXPECTATIONS if actual[name] not in ('', '0\n')]
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
        expected = {name: '0\n' if name in ('status', 'leaves') else '' for name in EXPECTATIONS}
        expected.update((name, text) for name, text in sections if name in actual)
        wrong = [name for name in actual if actual[name] != expected[name]]
        if log:
            print('%s: found by %s:\n%s' % (path, arguments.under.split()[0], log))
        if wrong or log:
            failed += 1
            show(path, expected, actual, wrong)
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
