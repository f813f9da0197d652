#!/usr/bin/env python3
"""Makes the Debian package, and uses what is in it where it was unpacked, with nothing else of ours on
any path: the driver says what the one that was built says, and the first program builds with no other
development package than ours."""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77 # what CTest takes for a test that could not run
TOOLS = {'dpkg-deb': 'dpkg', 'dpkg-shlibdeps': 'dpkg-dev', 'file': 'file', 'pkg-config': 'pkg-config'}

# What is needed at run time beside the C and C++ libraries; a release of the system adds its number.
DEPENDS = ('cpp', 'libzip', 'libexpat', 'libmimalloc')
FILES = ['bin/norvane-pm', 'include/norvane/proj.h', 'include/norvane/base.h',
         'share/man/man1/norvane-pm.1', 'share/bash-completion/completions/norvane-pm',
         'share/norvane_proj/dtd/product_model.dtd', 'share/doc/norvane-proj/README.md',
         'share/doc/norvane-proj/docs/pm-language.md']


def output(*command, **environment):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True,
                          env={'PATH': os.environ['PATH'], **environment}).stdout


def main():
    parser = argparse.ArgumentParser()
    for option in ('cpack', 'build', 'driver', 'compiler'):
        parser.add_argument('--' + option, required=True)
    arguments = parser.parse_args()
    missing = [package for tool, package in TOOLS.items() if not shutil.which(tool)]
    if missing:
        print('NOT CHECKED: packages that are not there:', ' '.join(missing))
        return SKIPPED
    failures = []
    with tempfile.TemporaryDirectory() as folder:
        output(arguments.cpack, '--config', os.path.join(arguments.build, 'CPackConfig.cmake'),
               '-B', folder)
        package, = (os.path.join(folder, name) for name in os.listdir(folder) if name.endswith('.deb'))
        depends = set(re.findall(r'([\w.+-]+)(?: \([^)]*\))?(?:, |$)',
                                 output('dpkg-deb', '-f', package, 'Depends').strip()))
        failures += ['does not depend on ' + name for name in DEPENDS
                     if not any(other.startswith(name) for other in depends)]
        top = os.path.join(folder, 'top')
        output('dpkg-deb', '-x', package, top)
        usr = os.path.join(top, 'usr')
        failures += ['is without ' + name for name in FILES if not os.path.exists(os.path.join(usr, name))]

        examples = os.path.join(usr, 'share', 'doc', 'norvane-proj', 'examples')
        model = os.path.join(examples, 'bicycle.pm')
        expected = output(arguments.driver, 'rules', model)
        if output(os.path.join(usr, 'bin', 'norvane-pm'), 'rules', model) != expected:
            failures.append('its driver says something else')
        libraries = os.path.dirname(os.path.realpath(
            [os.path.join(where, 'libnorvane_proj.so') for where, _, names in os.walk(usr)
             if 'libnorvane_proj.so' in names][0]))
        # No other folder is searched: who installs the package has no development package beside it.
        flags = output('pkg-config', '--cflags', '--libs', 'norvane_proj',
                       PKG_CONFIG_LIBDIR=os.path.join(libraries, 'pkgconfig')).split()
        first = os.path.join(folder, 'first')
        output(arguments.compiler, '-o', first, os.path.join(examples, 'first.c'), *flags)
        if output(first, model, LD_LIBRARY_PATH=libraries) != expected:
            failures.append('the first program says something else')
    print('\n'.join('the package ' + failure for failure in failures))
    return 1 if failures else 0


sys.exit(main())
