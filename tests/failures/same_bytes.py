#!/usr/bin/env python3
"""The same input gives the same bytes, wherever and whenever it is worked on.

usage: same_bytes.py --driver NORVANE_PM --in-locale LIBRARY

Every command is run twice on copies of the same files: as it is, and in another directory, with
another one for temporary files, in another time zone, some seconds later, with a poor environment and, where
`localedef` can make one, in a locale that writes decimals with a comma (in_locale.c). What it prints, reports
included, and every file that it writes must be the same.
"""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

import run as failures

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'data')
MORE = [
    ('no-simplify', 'rules --no-simplify main.pm', None),
    ('info', 'info main.pm', None),
    ('xml-again', 'convert main.xml again.xml', 'again.xml'),
    ('print-xml', 'print --from xml main.xml', None),
    ('calc-lines', 'calc convert --no-lines main.cl bare.clx', 'bare.clx'),
    ('builtins', 'calc builtins', None),
    ('explain', 'explain ERR_CPP', None),
    ('missing', 'check missing.pm', None),
    ('calc-json', 'calc check --format=json part.pm --model main.xml', None),
]


def make_locale(top):
    """The environment for a locale with a decimal comma, which is shown to be in force; or None."""
    directory = os.path.join(top, 'locale')
    os.mkdir(directory)
    environment = {'LOCPATH': directory, 'LC_ALL': 'de_DE.UTF-8', 'LANG': 'de_DE.UTF-8'}
    try:
        subprocess.run(['localedef', '-i', 'de_DE', '-f', 'UTF-8',
                        os.path.join(directory, 'de_DE.UTF-8')], check=False, capture_output=True)
        shown = subprocess.run(['locale', 'decimal_point'], env=dict(os.environ, **environment),
                               capture_output=True, text=True, check=False).stdout
    except OSError:
        return None
    return environment if shown == ',\n' else None


def outcomes(driver, directory, environment):
    """What each command prints, its status, and every file that is there at the end."""
    shutil.copytree(DATA, directory)
    os.mkdir(os.path.join(directory, 'out'))
    prepare = [('', command, None) for command in failures.PREPARATIONS]
    seen = {}
    for _, command, _ in prepare + failures.COMMANDS + MORE:
        with open(os.path.join(directory, 'main.pm'), 'rb') as model:
            done = subprocess.run([driver, *command.split()], cwd=directory, env=environment,
                                  stdin=model, capture_output=True, timeout=60, check=False)
        seen['norvane-pm ' + command] = (done.returncode, done.stdout, done.stderr)
    for path in failures.files_in(directory):
        seen[str(path.relative_to(directory))] = path.read_bytes()
    return seen


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    for option in ('driver', 'in-locale'):
        parser.add_argument('--' + option, required=True)
    arguments = parser.parse_args()
    driver = os.path.abspath(arguments.driver)
    with tempfile.TemporaryDirectory(prefix='same.') as top:
        here, there = os.path.join(top, 'a'), os.path.join(top, 'far away', 'b,c')
        temporary = os.path.join(top, 'other tmp')
        os.makedirs(os.path.dirname(there))
        os.mkdir(temporary)
        locale = make_locale(top)
        if locale is None:
            print('SKIPPED: no locale with a decimal comma can be made here (localedef, locales)')
        usual = dict(os.environ, LC_ALL='C', TZ='UTC')
        other = dict(locale or {}, **failures.preloading(arguments.in_locale), TZ='Pacific/Chatham', TMPDIR=temporary, HOME='/nonexistent',
                     COLUMNS='20', PATH=os.environ['PATH'])
        first = outcomes(driver, here, usual)
        time.sleep(2.1) # the times in a package would go by two seconds
        second = outcomes(driver, there, other)
        left = os.listdir(temporary)
    different = sorted(what for what in first.keys() | second.keys()
                       if first.get(what) != second.get(what))
    for what in different:
        print('not the same: %s\n  %r\n  %r' % (what, first.get(what), second.get(what)))
    if left:
        print('left behind: %s' % left)
    print('%d commands and files compared' % len(first))
    return 1 if different or left else 0


if __name__ == '__main__':
    sys.exit(main())
