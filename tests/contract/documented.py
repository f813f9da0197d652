#!/usr/bin/env python3
"""Looks for exported functions that no comment in their header is about: not in front of them, and not
in front of the group in which they stand."""
import argparse
import sys

sys.dont_write_bytecode = True
from exports import exported


def main():
    parser = argparse.ArgumentParser()
    for option in ('proj', 'base', 'docs'):
        parser.add_argument('--' + option, required=True)
    arguments = parser.parse_args()
    sys.path.insert(0, arguments.docs)
    import doxygen_filter

    about = {}
    for path in doxygen_filter.headers():
        about.update(doxygen_filter.Parser(doxygen_filter.read(path)).about)
    # Members of classes, and variables, are Doxygen's to look at.
    names = {name for library in (arguments.proj, arguments.base) for name in exported(library, 'TW')
             if not name.startswith('_')}
    failures = ['%s is in no header' % name for name in sorted(names - set(about))]
    failures += ['no comment is about %s' % name for name in sorted(names) if about.get(name) == '']
    print('\n'.join(failures))
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
