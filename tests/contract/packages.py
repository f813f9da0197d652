#!/usr/bin/env python3
"""Uses what is in the Debian packages where they were unpacked, with nothing else of this project on any
path: the driver reads a model, what it writes as XML validates by the catalog, and the first program builds
with no other development package than ours and says what the driver says."""
import argparse
import glob
import os
import re
import tempfile

from common import finish, output

# What is needed at run time beside the C and C++ libraries, by package; a release of the system adds its
# number.
DEPENDS = {'libnorvane-base1': ('cpp', 'libzip', 'libexpat'), 'libnorvane-proj1': ('libnorvane-base1',),
           'libnorvane-dev': ('libnorvane-proj1', 'norvane-dtd'), 'norvane-dtd': ('xml-core',),
           'norvane-pm': ('cpp', 'libzip', 'libexpat', 'libmimalloc'), 'norvane-doc': (),
           'python3-norvane': ('libnorvane-proj1', 'python3')}
FILES = ['bin/norvane-pm', 'include/norvane/proj.h', 'include/norvane/base.h',
         'share/man/man1/norvane-pm.1.gz', 'share/bash-completion/completions/norvane-pm',
         'share/norvane_proj/dtd/product_model.dtd', 'share/doc/norvane-doc/README.md',
         'share/doc/norvane-doc/docs/pm-language.md']


def unpack(packages, top):
    """Yields what is wrong with what the packages depend on."""
    for name, needs in DEPENDS.items():
        package, = glob.glob('%s/%s_*.deb' % (packages, name))
        depends = re.findall(r'([\w.+-]+)(?: \([^)]*\))?(?:, |$)',
                             output('dpkg-deb', '-f', package, 'Depends').strip())
        for need in needs:
            if not any(other.startswith(need) for other in depends):
                yield '%s does not depend on %s' % (name, need)
        output('dpkg-deb', '-x', package, top)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('packages', help='the directory that has them')
    packages = os.path.abspath(parser.parse_args().packages)
    for name in set(os.environ) - {'PATH'}: # a compiler's or loader's own paths among them
        del os.environ[name]
    with tempfile.TemporaryDirectory() as top:
        failures = list(unpack(packages, top))
        usr = os.path.join(top, 'usr')
        failures += ['there is no ' + name for name in FILES if not os.path.exists(os.path.join(usr, name))]

        examples = os.path.join(usr, 'share', 'doc', 'norvane-doc', 'examples')
        driver = os.path.join(usr, 'bin', 'norvane-pm')
        model = os.path.join(examples, 'bicycle.pm')
        os.chdir(top) # where the document types are not
        output(driver, 'convert', model, 'bicycle.xml')
        output('xmllint', '--noout', '--valid', 'bicycle.xml',
               XML_CATALOG_FILES=os.path.join(usr, 'share', 'norvane_proj', 'dtd', 'catalog.xml'))

        library, = glob.glob(usr + '/lib/**/libnorvane_proj.so', recursive=True)
        libraries = os.path.dirname(library)
        # No other directory is searched: users of the packages have no development package beside them.
        flags = output('pkg-config', '--cflags', '--libs', 'norvane_proj',
                       PKG_CONFIG_LIBDIR=os.path.join(libraries, 'pkgconfig')).split()
        output('cc', '-o', 'first', os.path.join(examples, 'first.c'), *flags)
        if output('./first', model, LD_LIBRARY_PATH=libraries) != output(driver, 'rules', model):
            failures.append('the first program does not say what the driver says')
        program = 'import norvane\nfor rule, _ in norvane.load(%r).flat(): print(rule)' % model
        said = output('/usr/bin/python3', '-c', program, LD_LIBRARY_PATH=libraries,
                      PYTHONPATH=os.path.join(usr, 'lib', 'python3', 'dist-packages'))
        if said != output(driver, 'rules', model):
            failures.append('the Python package does not say what the driver says')
    finish(['the packages: ' + failure for failure in failures])


main()
