#!/usr/bin/env python3
"""Holds the languages of flat rules against each other: on examples and on random models, all solvers
that are installed find the same verdict and the same number of solutions, which for random models is
the number that their source has, evaluated without the library.

usage: run.py --driver NORVANE_PM --models RANDOM_MODELS [--first SEED] [--count N] [--products MOST]
              [--most SOLUTIONS] [--table]

The table tells for how many models each solver gave the verdict and the number of the others, and how many it
was not asked about, since its language cannot say them.

Solvers that are missing are left out with a note; without any, the test is skipped (status 77)."""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..')
# With the number of solutions, where it is known.
EXAMPLES = {'examples/bicycle.pm': None, 'examples/coach/coach.pm': None, 'examples/pump.pm': None,
            'examples/rack.pm': None, 'examples/truck.pm': None, 'tests/solvers/numbers.pm': 1056}
SKIPPED = 77
# Models for tests have rules that are hardly meant.
MEANT = ['-Wno-optional-rule', '-Wno-optional-equality', '-Wno-not-a-number', '-Wno-order-of-unbounded']


class Smtlib:
    """A solver of SMT-LIB. Solutions are excluded one by one, so fewer are counted."""
    language = 'smt2'
    share = 20 # of the solutions that others count, this one counts one part

    def __init__(self, *command):
        self.program = command[0]
        self.command = command

    def count(self, path, most):
        with open(path) as stream:
            text = stream.read()
        names = re.findall(r'^\(declare-const (\|[^|]*\|)', text, re.M)
        process = subprocess.Popen(self.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        ask = lambda words: (process.stdin.write(words + '\n'), process.stdin.flush())
        ask(text)
        found = 0
        while True:
            verdict = process.stdout.readline().strip()
            if verdict != 'sat':
                break
            found += 1
            if found > most // self.share:
                break
            ask('(get-value (%s))' % ' '.join(names))
            values, depth = '', 0
            while not values or depth > 0:
                line = process.stdout.readline()
                values += line
                bare = re.sub(r'\|[^|]*\|', '', line)
                depth += bare.count('(') - bare.count(')')
            values = re.findall(r'(#b[01]+|#x[0-9a-f]+|true|false)\)', re.sub(r'\|[^|]*\|', 'v', values))
            assert len(values) == len(names), values
            ask('(assert (not (and true %s)))\n(check-sat)' %
                ' '.join('(= %s %s)' % pair for pair in zip(names, values)))
        process.stdin.close()
        process.stdout.close()
        process.wait()
        if verdict not in ('sat', 'unsat'):
            raise ValueError('%s says %r' % (self.program, verdict))
        return found, verdict == 'unsat'


def run(*command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False, **options).stdout


class Minizinc:
    program, language = 'minizinc', 'mzn'

    def count(self, path, most):
        command = ['minizinc', '--solver', 'gecode', '-n', str(most + 1), path]
        text = run(*command)
        if 'Assertion' in text: # its optimizer aborts at some contradictions
            text = run(*command, '-O0')
        found = len(re.findall('^-----', text, re.M))
        if not found and 'UNSATISFIABLE' not in text:
            raise ValueError('minizinc says ' + text)
        return found, found <= most


class Clasp:
    program = 'clasp'

    def __init__(self, language):
        self.language = language

    def count(self, path, most):
        clasp = ['clasp', '-q', '--project=no', str(most + 1)]
        if self.language == 'lp':
            with subprocess.Popen(['gringo', path], stdout=subprocess.PIPE) as gringo:
                text = run(*clasp, stdin=gringo.stdout)
        else:
            text = run(*clasp, path)
        found = re.search(r'^c? *Models +: (\d+)', text, re.M)
        if not found:
            raise ValueError('clasp says ' + text)
        return int(found.group(1)), int(found.group(1)) <= most


class Clauses:
    """A solver that tells the verdict alone, by its exit status."""
    language = 'dimacs'

    def __init__(self, *command):
        self.program = command[0]
        self.command = command

    def count(self, path, most):
        status = subprocess.run([*self.command, path], stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL, check=False).returncode
        if status not in (10, 20):
            raise ValueError('%s ends with %d' % (self.program, status))
        return (1, False) if status == 10 else (0, True)


SOLVERS = [Smtlib('z3', '-in'), Smtlib('cvc5', '--incremental', '--produce-models', '-q'), Minizinc(),
           Clasp('lp'), Clasp('dimacs'), Clasp('opb'), Clauses('minisat'), Clauses('cadical', '-q')]


def is_installed(solver):
    needed = [solver.program] + (['gringo'] if solver.language == 'lp' else [])
    missing = [name for name in needed if not shutil.which(name)]
    for name in missing:
        print('not installed, so left out: %s with %s' % (name, solver.language))
    return not missing


class Comparison:
    def __init__(self, driver, directory, most):
        self.driver, self.directory, self.most = driver, directory, most
        self.solvers = [solver for solver in SOLVERS if is_installed(solver)]
        self.failures = 0
        self.totals = {}  # by solver: models, equal verdicts, equal counts, models left out

    def fail(self, text):
        self.failures += 1
        print(text)

    def write(self, model, language):
        path = os.path.join(self.directory, 'model.' + language)
        with open(path, 'w') as stream:
            done = subprocess.run([self.driver, 'rules', *MEANT, '--to=' + language, model],
                                  stdout=stream, stderr=subprocess.PIPE, text=True, check=False)
        if done.returncode == 0:
            return path
        if language != 'mzn' or 'MiniZinc has no' not in done.stderr:
            self.fail('%s to %s: %s' % (model, language, done.stderr))
        return None

    def compare(self, name, model, expected):
        # The model of plain variables is read back, and asked for its clauses instead of the model.
        plain = self.write(model, 'pm')
        with open(plain) as stream:
            lines = [line.strip() for line in stream.read().split('\nrule\n')[1].splitlines()]
        written = [re.sub(r'\((-\d+)\) \*', r'\1 *', line[:-1]) for line in lines if line[:2] != '/*']
        if run(self.driver, 'rules', '-Wno-constant-comparison', plain).splitlines() != written:
            self.fail('%s: the model of plain variables has other rules than it says' % name)
        has_any = None if expected is None else expected > 0
        for solver in self.solvers:
            key = solver.program + ' ' + solver.language
            row = self.totals.setdefault(key, [0, 0, 0, 0])
            path = self.write(plain if solver.program == 'clasp' and solver.language == 'dimacs' else model,
                              solver.language)
            if not path:
                row[3] += 1
                continue
            row[0] += 1
            try:
                found, is_all = solver.count(path, self.most)
            except ValueError as error:
                self.fail('%s: %s' % (name, error))
                continue
            if has_any is None:
                has_any = found > 0
            if expected is None and is_all:
                expected = found
            # None stands for a number that is too large to count.
            is_count = expected is not None and (found == expected if is_all else found <= expected)
            row[1] += (found > 0) == has_any
            row[2] += is_all and is_count
            if (found > 0) != has_any or not (is_count or expected is None):
                self.fail('%s: %s counts %d%s of %s solutions'
                          % (name, key, found, '' if is_all else ' or more', expected))

    def table(self):
        print('| %-16s | %7s | %14s | %12s | %8s |' % ('solver', 'models', 'verdicts equal', 'counts equal', 'left out'))
        print('|---' * 5 + '|')
        for key, row in self.totals.items():
            print('| %-16s | %7d | %14d | %12d | %8d |' % (key, *row))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--driver', required=True)
    parser.add_argument('--models', required=True)
    parser.add_argument('--first', type=int, default=1)
    parser.add_argument('--count', type=int, default=8)
    parser.add_argument('--products', type=int, default=20000)
    parser.add_argument('--most', type=int, default=1200)
    parser.add_argument('--table', action='store_true')
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as directory:
        comparison = Comparison(options.driver, directory, options.most)
        if not comparison.solvers:
            return SKIPPED
        for name, count in EXAMPLES.items():
            comparison.compare(name, os.path.join(TOP, name), count)
        for line in run(options.models, directory, str(options.first), str(options.count),
                        str(options.products)).splitlines():
            seed, count = line.split()
            comparison.compare('seed ' + seed, os.path.join(directory, seed + '.pm'),
                               None if count == '-' else int(count))
        if options.table:
            comparison.table()
        return 1 if comparison.failures else 0


if __name__ == '__main__':
    sys.exit(main())
