#!/usr/bin/env python3
"""Compares the names that the libraries export with those that are promised: in the version script,
in the headers, and, for the errors, in what the driver can explain."""
import argparse
import fnmatch
import glob
import os
import re
import subprocess
import sys

RUNTIME = ('libc.so', 'libm.so', 'libgcc_s.so', 'libstdc++.so', 'ld-linux', 'libasan.so', 'libubsan.so')
OWN = {'libnorvane_base.so.1', 'libexpat.so.1'}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exported(library, kinds=''):
    """All names, or those of the kinds that nm has such letters for."""
    lines = output('nm', '-D', '--defined-only', library).splitlines()
    rows = [line.split() for line in lines if len(line.split()) == 3]
    return {name.partition('@')[0] for _, kind, name in rows if not kinds or kind in kinds}


def in_map(path, declared):
    """The names that the version script lists; a pattern stands for the declared names that fit it."""
    with open(path) as stream:
        listed = re.findall(r'^ +([\w*]+);', stream.read(), re.M)
    return {name for name in listed if '*' not in name} | \
           {name for name in declared for pattern in listed if fnmatch.fnmatch(name, pattern)}


def in_headers(folder):
    names = set()
    for path in glob.glob(os.path.join(folder, '*.h')):
        with open(path) as stream:
            text = re.sub(r'/\*.*?\*/', '', stream.read(), flags=re.S)
        names.update(re.findall(r'^NORVANE_PROJ_API [^;(]*?(\w+)\(', text, re.M))
    return names


def needed(library):
    return set(re.findall(r'\(NEEDED\).*\[(.*)\]', output('readelf', '-d', library)))


def compare(what, left, right):
    """Says what is in one set only; True if they are equal."""
    for name in sorted(left - right):
        print('%s: only on the left: %s' % (what, name))
    for name in sorted(right - left):
        print('%s: only on the right: %s' % (what, name))
    return left == right


def main():
    parser = argparse.ArgumentParser()
    for option in ('proj', 'base', 'map', 'headers', 'driver'):
        parser.add_argument('--' + option, required=True)
    arguments = parser.parse_args()
    declared = in_headers(arguments.headers)
    promised = in_map(arguments.map, declared)
    names = exported(arguments.proj)
    errors = {n for n in names | exported(arguments.base) if n.startswith('ERR_')}
    explained = {line.split()[0] for line in output(arguments.driver, 'explain', '--list').splitlines()}
    own = {n for n in needed(arguments.proj) if not n.startswith(RUNTIME)}
    good = [compare('library / version script', names, promised),
            compare('headers / version script', declared, promised),
            compare('errors of the libraries / of norvane-pm explain', errors, explained)]
    if not own <= OWN:
        print('the library needs more than it should:', ' '.join(sorted(own - OWN)))
    return 0 if all(good) and own <= OWN else 1


if __name__ == '__main__':
    sys.exit(main())
