#!/usr/bin/env python3
"""Random models full of macros, each with one misspelt name: a report names its place, or none.

usage: macro_places.py NORVANE_PM
"""
import json
import random
import re
import subprocess
import sys
import tempfile

PLANTED = 'misspelt'


class Model:
    """Macros with and without arguments, some of several rules or lines, and rules that use them."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.macros = []
        defined = ''.join(self.definition(i) for i in range(self.random.randint(1, 5)))
        rules = ''.join(self.rule() for _ in range(self.random.randint(2, 6))) + 'x0;\n'
        head = 'variable x0, x1, x2 : boolean;\nrule\n'
        words = [word.start() for word in re.finditer(r'\bx\d\b', rules)]
        at = self.random.choice(words)
        self.text = defined + head + rules[:at] + PLANTED + rules[at + 2:]
        self.at = len(defined + head) + at

    def any(self, *choices):
        return self.random.choice(choices)

    def name(self, parameters=()):
        return self.any(*parameters, 'x0', 'x1', 'x2')

    def definition(self, number):
        parameters = self.any(None, ('a',), ('a', 'b1'), ('x', 'y', 'z1'))
        head = 'M%d' % number + ('(%s)' % ', '.join(parameters) if parameters else '')
        body = self.any('; ', ' /* ; */ and ', ';\\\n  ').join(
            self.use(parameters or (), 1) for _ in range(self.random.randint(1, 3)))
        self.macros.append((head.partition('(')[0], parameters))
        return '#%sdefine %s %s\n' % (self.any('', ' '), head, body)

    def use(self, names=(), depth=0):
        if not self.macros or depth > 2 or self.random.random() < 0.3:
            return self.name(names) + self.any(' -> ', ' and ', '<->') + self.name(names)
        name, parameters = self.any(*self.macros)
        space = ('', ' ', ' /* , */ ') + (() if names else ('\n  ',))
        arguments = [self.any(*space) + self.use(names, depth + 1) for _ in parameters or ()]
        return name + (self.any('', ' ') + '(%s)' % ','.join(arguments) if parameters else '')

    def rule(self):
        return self.any('', '\t') + self.use() + self.any(';\n', '; ', ' and x0;\n', ' \\\n;\n',
                                                          '; /* a\n M0 */ ')

    def place(self):
        before = self.text[:self.at]
        column = self.at - before.rfind('\n')
        return before.count('\n') + 1, column, column + len(PLANTED)


def reported(driver, text):
    with tempfile.NamedTemporaryFile('w', suffix='.pm', newline='') as file:
        file.write(text)
        file.flush()
        run = subprocess.run([driver, 'check', '--format=json', '--max-errors=0', file.name],
                             stderr=subprocess.PIPE, text=True, check=False)
    findings = [json.loads(line) for line in run.stderr.splitlines()]
    return [(f['line'], f['column'], f['endColumn']) for f in findings if PLANTED in f['message']]


found = 0
for model in map(Model, range(150)):
    for place in reported(sys.argv[1], model.text):
        if place[1] is None:
            continue
        found += 1
        if place != model.place():
            sys.exit('%s is reported at %s, but stands at %s in:\n%s' %
                     (PLANTED, place, model.place(), model.text))
if found < 50:
    sys.exit('only %d places are told' % found)
