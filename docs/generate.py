#!/usr/bin/env python3
"""Writes the pages that are made from other sources: from the driver every diagnostic and the built-in
functions of calculations, from the parsers' grammars the rules of the two languages.

usage: generate.py [--check] DRIVER

With --check it changes no page, and fails if one is out of date."""
import glob
import json
import os
import re
import subprocess
import sys

sys.dont_write_bytecode = True
import grammar

HERE = os.path.dirname(os.path.abspath(__file__))


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


# A section as the driver names it, which may be broken into lines: "Types" (docs/pm-grammar.md).
SECTION = re.compile(r'"([^"]+)"\s\(docs/([\w-]+\.md)\)')


def link(found):
    anchor = '-'.join(found.group(1).lower().split())
    return '[%s](%s#%s)' % (found.group(1), found.group(2), anchor)


def diagnostics(driver):
    names = [line.split()[0] for line in output(driver, 'explain', '--list').splitlines()]
    page = ['# Diagnostics', '',
            'Every fault that a modeller can cause has a name, a title and an explanation, which',
            '`norvane-pm explain NAME` shows. Dots stand for what a report fills in.', '',
            'An example is the shortest input that shows the fault, and the same corrected.', '']
    for name in names:
        title, _, text = output(driver, 'explain', name).partition('\n')
        page += ['## ' + name, '', title.partition(': ')[2], '']
        # The driver indents code, and so does Markdown.
        page += text.strip('\n').splitlines() + ['']
    return re.sub(SECTION, link, '\n'.join(page))


def warnings(driver):
    page = ['# Warnings', '',
            'What `norvane-pm check`, `simplify` and `rules` warn about. `-WNAME` turns a warning on and',
            '`-Wno-NAME` off; `-Wall` turns all on. `-Werror` makes errors of those that are shown, `-Werror=NAME`',
            'of one. Where the finite form would mean something else than the model, `simplify` and `rules` report',
            'an error and print nothing; `-Wno-error=NAME` leaves a warning and prints it.', '',
            '| warning | on | |', '|---|---|---|']
    texts = []
    for line in output(driver, 'explain', '--warnings').splitlines():
        name, level, title = re.split('  +', line)
        page.append('| [`%s`](#%s) | %s | %s |' % (name, name, level, title))
        text = output(driver, 'explain', name).split('\n\n')[1]
        texts += ['', '## ' + name, '', re.sub(r'\n(    .*)', r'\n\n\1', text)]
    return '\n'.join(page + texts) + '\n'


def builtins(driver):
    page = ['# Built-in functions of calculations', '',
            'The functions that the evaluator of calculations provides. A call must name the namespace:',
            '`System.Max(a, b)`.']
    namespace = None
    for line in output(driver, 'calc', 'builtins', '--format', 'json').splitlines():
        row = json.loads(line)
        if row['namespace'] != namespace:
            namespace = row['namespace']
            page += ['', '## ' + namespace, '', '| function | result |', '|---|---|']
        arguments = ', '.join('%s %s' % (a['type'], a['name']) for a in row['arguments'])
        page.append('| `%s(%s)` | %s |' % (row['function'], arguments, row['type']))
    return '\n'.join(page) + '\n'


def page_of(name, source):
    """Makes a page with the blocks of its grammar up to date; all else in it is written by hand."""
    def make(_):
        path, = glob.glob(os.path.join(HERE, '../libs/Proj/src/**', source), recursive=True)
        with open(os.path.join(HERE, name)) as stream:
            return grammar.refreshed(stream.read(), path)
    return name, make


def main():
    check = '--check' in sys.argv
    driver = sys.argv[-1]
    stale = 0
    for name, make in (('diagnostics.md', diagnostics), ('warnings.md', warnings),
                       ('builtins.md', builtins),
                       page_of('pm-grammar.md', 'pmgrammar.y'),
                       page_of('calculation-grammar.md', 'calcgrammar.y')):
        path = os.path.join(HERE, name)
        text = make(driver)
        if not check:
            with open(path, 'w') as stream:
                stream.write(text)
            continue
        with open(path) as stream:
            if stream.read() != text:
                print('docs/%s is not up to date: run docs/generate.py %s' % (name, driver))
                stale += 1
    return stale


sys.exit(main())
