#!/usr/bin/env python3
"""Holds the documentation against what is there: generated pages are up to date, models and
calculations that are shown pass their check, links lead to files and headings, and the README leads to
every page and names the packages that ./dev installs."""
import argparse
import glob
import os
import re
import subprocess
import sys
import tempfile


def blocks(text, language):
    return re.findall(r'^```%s\n(.*?)^```' % language, text, re.M | re.S)


def anchors(path):
    with open(path) as stream:
        headings = re.findall(r'^#+ (.*)', stream.read(), re.M)
    return {re.sub(r'[^\w -]', '', heading.lower()).replace(' ', '-') for heading in headings}


def broken_links(path, text):
    text = re.sub(r'^```.*?^```', '', text, flags=re.M | re.S)
    for target in re.findall(r'\]\(([^)]+)\)', text):
        name, _, anchor = target.partition('#')
        other = os.path.join(os.path.dirname(path), name) if name else path
        if not os.path.exists(other) or (anchor and anchor not in anchors(other)):
            yield target


def main():
    parser = argparse.ArgumentParser()
    for option in ('driver', 'source'):
        parser.add_argument('--' + option, required=True)
    arguments = parser.parse_args()
    docs = os.path.join(arguments.source, 'docs')
    bicycle = os.path.join(arguments.source, 'examples', 'bicycle.pm')
    failures = []

    def run(*command):
        result = subprocess.run(command, capture_output=True, text=True)
        if result.returncode:
            failures.append(' '.join(command) + '\n' + result.stdout + result.stderr)

    run(sys.executable, os.path.join(docs, 'generate.py'), '--check', arguments.driver)
    shown = 0
    with tempfile.TemporaryDirectory() as folder:
        for path in sorted(glob.glob(docs + '/*.md')) + [os.path.join(arguments.source, 'README.md')]:
            with open(path) as stream:
                text = stream.read()
            failures += ['%s: a broken link: %s' % (path, link) for link in broken_links(path, text)]
            for extension, command in (('pm', ('check',)), ('cl', ('calc', 'check', '--model', bicycle))):
                for block in blocks(text, extension):
                    shown += 1
                    name = os.path.join(folder, 'shown%d.%s' % (shown, extension))
                    with open(name, 'w') as stream:
                        stream.write(block)
                    run(arguments.driver, *command, name)
    with open(os.path.join(arguments.source, 'README.md')) as stream:
        readme = stream.read()
    for path in glob.glob(docs + '/*.md'):
        if '(docs/%s)' % os.path.basename(path) not in readme:
            failures.append('README.md does not lead to ' + path)
    with open(os.path.join(arguments.source, 'dev')) as stream:
        packages = re.findall(r'^(?:build|deb|test)_packages=\(([^)]*)', stream.read(), re.M)
    failures += ['README.md does not name the package ' + name for name in ' '.join(packages).split()
                 if name[0].isalpha() and not re.search(r'(?<![\w-])%s(?![\w-])' % re.escape(name), readme)]
    if not shown:
        failures.append('the documentation shows neither models nor calculations')
    print('\n'.join(failures))
    return 1 if failures else 0


sys.exit(main())
