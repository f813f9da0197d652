#!/usr/bin/env python3
"""Holds the documentation against what is there: generated pages are up to date, models and
calculations that are shown pass their check, links lead to files and headings, the README leads to every
page, and the pages for developers name files that exist, every directory of sources and tests, the modules of
the project library, and which rooms a room may use."""
import fnmatch
import glob
import os
import re
import subprocess
import sys
import tempfile

from common import finish, options, read


def blocks(text, language):
    return re.findall(r'^```%s\n(.*?)^```' % language, text, re.M | re.S)


def anchors(path):
    headings = re.findall(r'^#+ (.*)', read(path), re.M)
    return {re.sub(r'[^\w -]', '', heading.lower()).replace(' ', '-') for heading in headings}


def broken_links(path, text):
    text = re.sub(r'^```.*?^```', '', text, flags=re.M | re.S)
    for target in re.findall(r'\]\(([^)]+)\)', text):
        name, _, anchor = target.partition('#')
        other = os.path.join(os.path.dirname(path), name) if name else path
        if not os.path.exists(other) or (anchor and anchor not in anchors(other)):
            yield target


def tree(source):
    """All files and directories, directories with a slash at their end, by their paths from the top."""
    paths = []
    for place, directories, files in os.walk(source):
        directories[:] = [name for name in directories if name[0] != '.' and name not in ('build', '__pycache__')]
        below = os.path.relpath(place, source)
        paths += [os.path.join(below, name) for name in files]
        paths += [os.path.join(below, name, '') for name in directories]
    return [os.path.normpath(path) + '/' * path.endswith('/') for path in paths]


def named(text):
    """The words of a page that stand as code: paths, and the names of directories, among others."""
    return set(re.findall(r'`([^`\s]+)`', text))


def unknown_paths(text, paths):
    """What a page names as a path, or as a file, that is none: the end of a path will do."""
    for name in sorted(named(text)):
        is_path = re.fullmatch(r'[\w.*/-]*/[\w.*/-]*|[\w*-]+\.(?:cpp|hpp|[chly]|py|txt|md|dtd|map)', name)
        if is_path and not name.startswith(('build/', './')) and not any(
                fnmatch.fnmatch('/' + path.rstrip('/'), '*/' + name.rstrip('/')) for path in paths):
            yield name


def unnamed_directories(architecture, contributing, paths):
    """Rooms that the one page does not name, and parts of the tree that the other does not."""
    rooms = [path for path in paths if fnmatch.fnmatch(path, 'libs/*/src/*/') or fnmatch.fnmatch(path, 'tools/*/*/')]
    rooms = [path for path in rooms if path.count('/') == 3 + path.startswith('libs/')]
    parts = [path for path in paths if re.fullmatch(r'(libs|tools|tests)/[^/]+/|(?!libs|tools|tests)[^/]+/', path)]
    return ([path for path in rooms if not {path.split('/')[-2], path.split('/')[-2] + '/'} & named(architecture)] +
            [path for path in parts if not {path, path[:-1]} & named(contributing)])


def packages(source):
    """The packages that README.md and ./dev install for a build and for the tests."""
    told = re.findall(r'^    apt-get install ((?:.*\\\n)*.*)$', read(os.path.join(source, 'README.md')), re.M)
    arrays = re.findall(r'^(?:build|test)_packages=\(([^)]*)\)', read(os.path.join(source, 'dev')), re.M)
    return ([set(re.findall(r'[\w+-]+', names)) for names in told],
            [set(re.findall(r'[\w+-]+', re.sub(r'#.*', '', names))) for names in arrays])


def arrows(page):
    """Each room, and by the last column of its row those that it uses."""
    rows = re.findall(r'^\| `([\w/]+)` \|.*\| (.*) \|$', page, re.M)
    return {(room, *sorted(named(uses) - {'norvane/proj.hpp'})) for room, uses in rows}


def built_arrows(source):
    """The same, as the build has it."""
    rooms = set()
    for part in ('libs/base', 'libs/Proj', 'tools/norvane-pm'):
        text = read(os.path.join(source, part, 'CMakeLists.txt'))
        for kind, room, rest in re.findall(r'^norvane_(base|proj|pm|pm_lsp)_room\((\w+)([^)]*)\)', text, re.M):
            uses = re.search(r'\bUSES\b((?:\s+[a-z_]+)*)', rest)
            names = uses.group(1).split() if uses else []
            rooms.add(('lsp/' * (kind == 'pm_lsp') + room, *sorted(name.replace('lsp_', 'lsp/') for name in names)))
    return rooms


def wrong_modules(architecture, paths):
    """Modules in a room that its row does not name, and what a row names that is none."""
    for room, row in re.findall(r'^\| `(\w+)` \|[^|]*\|([^|]*)\|[^|]*\|$', architecture, re.M):
        files = fnmatch.filter(paths, 'libs/Proj/src/%s/*.*' % room)
        modules = {os.path.splitext(os.path.basename(path))[0] for path in files}
        for pattern in named(row):
            matching = fnmatch.filter(modules, pattern)
            if not matching:
                yield room + '/' + pattern
            modules.difference_update(matching)
        yield from (room + '/' + module for module in modules)


def main():
    arguments = options(__doc__, 'driver', 'source')
    docs = os.path.join(arguments.source, 'docs')
    bicycle = os.path.join(arguments.source, 'examples', 'bicycle.pm')
    failures = []

    def run(*command):
        result = subprocess.run(command, capture_output=True, text=True)
        if result.returncode:
            failures.append(' '.join(command) + '\n' + result.stdout + result.stderr)

    run(sys.executable, os.path.join(docs, 'generate.py'), '--check', arguments.driver)
    shown = 0
    with tempfile.TemporaryDirectory() as directory:
        for path in sorted(glob.glob(docs + '/*.md')) + [os.path.join(arguments.source, 'README.md')]:
            text = read(path)
            failures += ['%s: a broken link: %s' % (path, link) for link in broken_links(path, text)]
            for extension, command in (('pm', ('check',)), ('cl', ('calc', 'check', '--model', bicycle))):
                for block in blocks(text, extension):
                    shown += 1
                    name = os.path.join(directory, 'shown%d.%s' % (shown, extension))
                    with open(name, 'w') as stream:
                        stream.write(block)
                    run(arguments.driver, *command, name)
    readme = read(os.path.join(arguments.source, 'README.md'))
    for path in glob.glob(docs + '/*.md'):
        if '(docs/%s)' % os.path.basename(path) not in readme:
            failures.append('README.md does not lead to ' + path)
    paths = tree(arguments.source)
    pages = {}
    for page in ('CONTRIBUTING.md', 'docs/architecture.md', 'docs/extending.md'):
        pages[page] = read(os.path.join(arguments.source, page))
        failures += ['%s: there is no %s' % (page, path) for path in unknown_paths(pages[page], paths)]
    failures += ['not in the tables of directories: ' + path
                 for path in unnamed_directories(pages['docs/architecture.md'], pages['CONTRIBUTING.md'], paths)]
    told, needed = packages(arguments.source)
    if told != needed:
        failures.append('README.md names other packages than ./dev: %s and %s' % (told, needed))
    told, built = arrows(pages['docs/architecture.md']), built_arrows(arguments.source)
    failures += ['docs/architecture.md: %s may use, by the build: %s' % (room, ', '.join(uses))
                 for room, *uses in sorted(built - told)]
    failures += ['docs/architecture.md: %s is no room that may use just these' % room for room, *_ in told - built]
    failures += ['docs/architecture.md, modules of the rooms: ' + module
                 for module in wrong_modules(pages['docs/architecture.md'], paths)]
    if not shown:
        failures.append('the documentation shows neither models nor calculations')
    finish(failures)


main()
