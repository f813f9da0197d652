#!/usr/bin/env python3
"""Compares the binary interface with the one that programs were built against, tests/contract/abi: the
functions of the libraries with all that they take and return, and the enumerations of the headers, which
records hold as plain numbers. What was only added is no difference.

After a change that is wanted, and that the version says: abi.py --renew, with the other arguments as in
the test."""
import argparse
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
BASELINES = os.path.join(HERE, 'abi')
SKIPPED = 77 # what CTest takes for a test that could not run

# Types and functions, and nothing of where they stand: small, and the same wherever they are made.
ONLY_TYPES = ['--exported-interfaces-only', '--drop-private-types', '--no-show-locs',
              '--no-comp-dir-path', '--no-corpus-path', '--no-parameter-names', '--no-elf-needed',
              '--no-write-default-sizes']


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def compare(baseline, now):
    result = subprocess.run(['abidiff', '--no-added-syms', '--suppressions',
                             os.path.join(BASELINES, 'runtime.suppr'), baseline, now],
                            capture_output=True, text=True)
    return result.returncode, result.stdout + result.stderr


def enumerations(include_folders, compiler, folder):
    """A library with a variable of each enumeration of the headers: those of variables are kept."""
    variables = []
    for path in sorted(glob.glob(os.path.join(include_folders[0], '..', '..', '*', 'include', 'norvane',
                                              '**', '*.h'), recursive=True)):
        with open(path) as stream:
            text = re.sub(r'/\*.*?\*/', '', stream.read(), flags=re.S)
        variables += re.findall(r'\benum (?:\w+ )?\{\s*(\w+)', text)
    source = os.path.join(folder, 'enumerations.cpp')
    with open(source, 'w') as stream:
        stream.write('#include "norvane/proj.h"\nextern "C" {\n')
        stream.writelines('decltype(%s) abi_%s;\n' % (name, name) for name in variables)
        stream.write('}\n')
    library = os.path.join(folder, 'enumerations.so')
    output(compiler, '-g', '-fPIC', '-shared', '-o', library, source,
           *('-I' + include for include in include_folders))
    return library


def main():
    parser = argparse.ArgumentParser()
    for option in ('proj', 'base', 'libs', 'compiler'):
        parser.add_argument('--' + option, required=True)
    parser.add_argument('--renew', action='store_true')
    arguments = parser.parse_args()
    if not shutil.which('abidiff'):
        print('NOT CHECKED: there is no abidiff (package abigail-tools)')
        return SKIPPED
    includes = [os.path.join(arguments.libs, library, 'include') for library in ('base', 'Proj')]
    top = os.path.dirname(os.path.realpath(arguments.libs))
    failed = False
    with tempfile.TemporaryDirectory() as folder:
        libraries = {'norvane_base': arguments.base, 'norvane_proj': arguments.proj,
                     'enumerations': enumerations(includes, arguments.compiler, folder)}
        for name, library in libraries.items():
            baseline = os.path.join(BASELINES, name + '.abi')
            now = baseline if arguments.renew else os.path.join(folder, name + '.abi')
            # Both sides are made in the same way: what headers hide is hidden in both.
            made = output('abidw', *ONLY_TYPES,
                          *(part for include in includes for part in ('--headers-dir', include)), library)
            with open(now, 'w') as stream:
                stream.write(made.replace(top + os.sep, '').replace(folder + os.sep, ''))
            status, difference = compare(baseline, now)
            if status:
                failed = True
                print('%s differs from tests/contract/abi/%s.abi:\n%s' % (name, name, difference))
    if failed:
        print('Programs that were built before would break. If that is wanted, and SOVERSION says so:')
        print(' '.join([sys.argv[0], '--renew'] + sys.argv[1:]))
    return failed


sys.exit(main())
