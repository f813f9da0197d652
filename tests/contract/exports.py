#!/usr/bin/env python3
"""Compares the names that the libraries export with those that are promised in the version script and in
the headers and, for the errors, with what the driver can explain; and looks for exported functions that
no comment in their header is about, neither before them nor before their group."""
import fnmatch
import glob
import re
import sys

from common import explained, finish, options, output, read

RUNTIME = ('libc.so', 'libm.so', 'libgcc_s.so', 'libstdc++.so', 'ld-linux', 'libasan.so', 'libubsan.so')
OWN = {'libnorvane_base.so.1', 'libexpat.so.1'}


def exported(library, kinds=''):
    """All names but those of versions, or those of the kinds that nm has such letters for."""
    rows = [line.split() for line in output('nm', '-D', '--defined-only', library).splitlines()]
    return {row[2].partition('@')[0] for row in rows if len(row) == 3 and row[1] != 'A' and (not kinds or row[1] in kinds)}


def in_map(path, declared):
    """The names that the version script lists; a pattern stands for the declared names that fit it."""
    listed = re.findall(r'^ +([\w*]+);', read(path), re.M)
    return {name for name in listed if '*' not in name} | \
           {name for name in declared for pattern in listed if fnmatch.fnmatch(name, pattern)}


def in_headers(directory):
    return {name for path in glob.glob(directory + '/*.h')
            for name in re.findall(r'^NORVANE_PROJ_API [^;(]*?(\w+)\(',
                                   re.sub(r'/\*.*?\*/', '', read(path), flags=re.S), re.M)}


def main():
    given = options(__doc__, 'proj', 'base', 'map', 'headers', 'driver', 'docs')
    sys.path.insert(0, given.docs)
    import doxygen_filter

    declared = in_headers(given.headers)
    promised = in_map(given.map, declared)
    names = exported(given.proj)
    errors = {name for name in names | exported(given.base) if name.startswith('ERR_')}
    failures = ['%s: %s is in one of them only' % (what, name)
                for what, left, right in (('library and version script', names, promised),
                                          ('headers and version script', declared, promised),
                                          ('libraries and explain', errors, explained(given.driver)))
                for name in sorted(left ^ right)]
    needed = re.findall(r'\(NEEDED\).*\[(.*)\]', output('readelf', '-d', given.proj))
    failures += ['the library needs ' + name for name in needed
                 if name not in OWN and not name.startswith(RUNTIME)]

    about = {}
    for path in doxygen_filter.headers():
        about.update(doxygen_filter.Parser(doxygen_filter.read(path)).about)
    # Members of classes, and variables, are Doxygen's to look at.
    functions = {name for library in (given.proj, given.base) for name in exported(library, 'TW')
                 if not name.startswith('_')}
    failures += ['%s is in no header' % name for name in sorted(functions - set(about))]
    failures += ['no comment is about %s' % name for name in sorted(functions) if about.get(name) == '']
    finish(failures)


main()
