#!/usr/bin/env python3
"""Makes the Debian package, and uses what is in it where it was unpacked, with nothing else of this project
on any path: the driver says what the one that was built says, and the first program builds with no other
development package than ours."""
import glob
import os
import re
import shutil
import sys
import tempfile

from common import finish, options, output

SKIPPED = 77 # what CTest takes for a test that could not run
TOOLS = {'dpkg-deb': 'dpkg', 'dpkg-shlibdeps': 'dpkg-dev', 'file': 'file', 'pkg-config': 'pkg-config'}

# What is needed at run time beside the C and C++ libraries; a release of the system adds its number.
DEPENDS = ('cpp', 'libzip', 'libexpat', 'libmimalloc')
FILES = ['bin/norvane-pm', 'include/norvane/proj.h', 'include/norvane/base.h',
         'share/man/man1/norvane-pm.1', 'share/bash-completion/completions/norvane-pm',
         'share/norvane_proj/dtd/product_model.dtd', 'share/doc/norvane-proj/README.md',
         'share/doc/norvane-proj/docs/pm-language.md']


def main():
    arguments = options(__doc__, 'cpack', 'build', 'driver', 'compiler')
    for name in set(os.environ) - {'PATH'}: # a compiler's or loader's own paths among them
        del os.environ[name]
    missing = [package for tool, package in TOOLS.items() if not shutil.which(tool)]
    if missing:
        print('NOT CHECKED: packages that are not there:', ' '.join(missing))
        sys.exit(SKIPPED)
    failures = []
    with tempfile.TemporaryDirectory() as directory:
        output(arguments.cpack, '--config', os.path.join(arguments.build, 'CPackConfig.cmake'),
               '-B', directory)
        package, = glob.glob(directory + '/*.deb')
        depends = set(re.findall(r'([\w.+-]+)(?: \([^)]*\))?(?:, |$)',
                                 output('dpkg-deb', '-f', package, 'Depends').strip()))
        failures += ['does not depend on ' + name for name in DEPENDS
                     if not any(other.startswith(name) for other in depends)]
        top = os.path.join(directory, 'top')
        output('dpkg-deb', '-x', package, top)
        usr = os.path.join(top, 'usr')
        failures += ['is without ' + name for name in FILES if not os.path.exists(os.path.join(usr, name))]

        examples = os.path.join(usr, 'share', 'doc', 'norvane-proj', 'examples')
        model = os.path.join(examples, 'bicycle.pm')
        expected = output(arguments.driver, 'rules', model)
        if output(os.path.join(usr, 'bin', 'norvane-pm'), 'rules', model) != expected:
            failures.append('its driver says something else')
        library, = glob.glob(usr + '/lib/**/libnorvane_proj.so', recursive=True)
        libraries = os.path.dirname(library)
        # No other directory is searched: users of the package have no development package beside it.
        flags = output('pkg-config', '--cflags', '--libs', 'norvane_proj',
                       PKG_CONFIG_LIBDIR=os.path.join(libraries, 'pkgconfig')).split()
        first = os.path.join(directory, 'first')
        output(arguments.compiler, '-o', first, os.path.join(examples, 'first.c'), *flags)
        if output(first, model, LD_LIBRARY_PATH=libraries) != expected:
            failures.append('the first program says something else')
    finish(['the package ' + failure for failure in failures])


main()
