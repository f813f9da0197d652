#!/usr/bin/env python3
"""Imports random clauses and random feature models, and counts their products: a direct evaluation of what was
imported, clasp on the flat rules of the result, and the command analyse with z3, where there are few, find the same
number.

usage: imports.py NORVANE_PM [FIRST [COUNT]]     without clasp the test is skipped (status 77)"""
import itertools
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile

OPERATORS = {'&': lambda a, b: a and b, '|': lambda a, b: a or b, '=>': lambda a, b: not a or b,
             '<=>': lambda a, b: a == b}


def some_clauses(rng):
    """Clauses as a file, and how many assignments satisfy them."""
    count = rng.randint(1, 9)
    clauses = [[rng.choice((1, -1)) * rng.randint(1, count) for _ in range(rng.randint(1, 4))]
               for _ in range(rng.randint(0, 2 * count))]
    if rng.random() < 0.05:
        clauses.append([])
    names = ['c %d%s %s\n' % (i, rng.choice(('', '$')), rng.choice(('and', 'a', 'x-%d' % i, 'a__b', 'b.c[2]', 'v3')))
             for i in range(1, count + 1) if rng.random() < 0.5]
    words = [str(literal) for clause in clauses for literal in clause + [0]]
    text = ''.join(names) + 'p cnf %d %d\n' % (count, len(clauses)) + ''.join(
        word + rng.choice((' ', '\n', '\t', '\nc 1 ignored twice\n')) for word in words)
    found = sum(all(any(values[abs(literal) - 1] == (literal > 0) for literal in clause) for clause in clauses)
                for values in itertools.product((False, True), repeat=count))
    return text, found


class Features:
    """A feature model, and what a set of features has to satisfy to be a product of it."""

    def __init__(self, rng):
        self.rng, self.lines, self.conditions, self.costs = rng, ['features'], [], {}
        self.below, self.most = {}, rng.randint(3, 11)
        self.feature(1)
        self.conditions.append(lambda on: 'F0' in on)
        self.lines.append('constraints')
        for _ in range(rng.randint(0, 2)):
            text, holds = self.formula(rng.randint(1, 3))
            self.lines.append('\t' + text)
            self.conditions.append(holds)

    def feature(self, depth):
        rng, name = self.rng, 'F%d' % len(self.costs)
        spelled = rng.choice((name, '"%s"' % name))
        self.costs[name] = rng.choice((None, rng.randint(-5, 9)))
        has_cost = self.costs[name] is not None
        self.lines.append('\t' * depth + spelled + (' {cost %d}' % self.costs[name] if has_cost else ''))
        first = len(self.costs) - 1
        for _ in range(rng.randint(depth == 1, 2)):
            if depth < 9 and len(self.costs) < self.most:
                self.group(name, depth + 1)
        self.below[name] = ['F%d' % i for i in range(first, len(self.costs))]
        return name

    def group(self, parent, depth):
        kind = self.rng.choice(('mandatory', 'optional', 'or', 'alternative', '[0..2]', '[2]', '[1..1]', '[1..3]',
                                '[2..*]'))
        self.lines.append('\t' * depth + kind)
        children = [self.feature(depth + 1) for _ in range(self.rng.randint(1, 6)) if len(self.costs) < self.most]
        if not children:
            children.append(self.feature(depth + 1))
        bounds = {'mandatory': (len(children),) * 2, 'optional': (0, 99), 'or': (1, 99), 'alternative': (1, 1),
                  '[0..2]': (0, 2), '[1..3]': (1, 3), '[2]': (2, 2), '[1..1]': (1, 1), '[2..*]': (2, 99)}[kind]
        self.conditions.append(lambda on: bounds[0] <= sum(c in on for c in children) <= bounds[1]
                               if parent in on else not any(c in on for c in children))

    def formula(self, depth):
        rng, kind = self.rng, self.rng.random()
        if depth and kind < 0.6:
            symbol = rng.choice(list(OPERATORS))
            (left, a), (right, b) = self.formula(depth - 1), self.formula(depth - 1)
            return '(%s %s %s)' % (left, symbol, right), lambda on: OPERATORS[symbol](a(on), b(on))
        if depth and kind < 0.75:
            text, a = self.formula(depth - 1)
            return '!' + text, lambda on: not a(on)
        if kind < 0.85 and any(cost is not None for cost in self.costs.values()):
            below, least = rng.choice(list(self.below)), rng.randint(-9, 9)
            holds = lambda on: sum(self.costs[f] or 0 for f in self.below[below] if f in on) * 2 - 1 >= least
            return 'sum(%s, cost) * 2 - 1 >= %s' % (below, str(least)), holds
        name = rng.choice(list(self.costs))
        return name, lambda on: name in on

    def count(self):
        names = list(self.costs)
        chosen = (set(itertools.compress(names, which))
                  for which in itertools.product((False, True), repeat=len(names)))
        return sum(all(holds(on) for holds in self.conditions) for on in chosen)


def some_features(rng):
    model = Features(rng)
    return '\n'.join(model.lines) + '\n', model.count()


def count_after_import(driver, directory, text, form, to):
    paths = [os.path.join(directory, 'model.' + extension) for extension in (form, to, 'out')]
    with open(paths[0], 'w') as stream:
        stream.write(text)
    run = lambda *words, **options: subprocess.run([driver, *words], check=True, **options)
    run('convert', '-q', '--from=' + form, *paths[:2])
    with open(paths[2], 'w') as stream:
        run('rules', '-q', '--to=dimacs', paths[1], stdout=stream)
    told = subprocess.run(['clasp', '-q', '--project=no', '0', paths[2]], stdout=subprocess.PIPE, text=True,
                          check=False)
    return int(re.search(r'^c Models +: (\d+)', told.stdout, re.M).group(1))


def count_by_analysis(driver, directory, to):
    told = subprocess.run([driver, 'analyse', '-q', '--count', '--solver=z3', os.path.join(directory, 'model.' + to)],
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    found = re.search(r'^Public configurations: (\d+)$', told.stdout, re.M)
    return int(found.group(1)) if found else 0 if told.stderr.endswith('there is no product\n') else told.stderr


def main():
    driver, first, count = sys.argv[1], *(int(word) for word in (sys.argv[2:] + ['1', '60'][len(sys.argv) - 2:]))
    if not shutil.which('clasp'):
        print('not installed: clasp')
        return 77
    failures = 0
    with tempfile.TemporaryDirectory() as directory:
        for seed in range(first, first + count):
            for form, some in (('dimacs', some_clauses), ('uvl', some_features)):
                text, expected = some(random.Random(seed))
                to = 'pm' if seed % 3 else 'xml'
                found = [count_after_import(driver, directory, text, form, to)]
                # Variables of clauses without a name are private, and tell no public configurations apart.
                if form == 'uvl' and expected <= 40 and shutil.which('z3'):
                    found.append(count_by_analysis(driver, directory, to))
                if set(found) != {expected}:
                    failures += 1
                    print('%s, seed %d: %s products and not %d\n%s' % (form, seed, found, expected, text))
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
