#!/usr/bin/env python3
"""Holds `check --fix` to what it promises: slips that are certain give the model before them, and no source has
more errors after it than before, however often it is applied."""
import os
import re
import subprocess
import tempfile

from common import finish, options, read

# What an example has, the slip, and whether it is corrected by itself.
SLIPS = ((r' = ', ' == ', True), (r' and ', ' && ', True), (r' or ', ' || ', True), (r' <> ', ' != ', True),
         (r' -> ', ' ==> ', True), (r' boolean;', ' bool;', True), (r'not ', '!', True), (r'forall ', 'for all ', True),
         (r'exist ', 'exists ', True), (r'^variable', 'var', True), (r'^constant', 'const', True),
         (r'^rule', 'constraints', True), (r'\};\n', '}\n', True), (r';\n\n', '\n\n', True), (r'\[0\.\.', '[0;', False),
         (r' -> ', ' => ', False), (r' then ', ' ', False), (r'\)', '', False), (r'\}', '', False), (r'"', '', False),
         (r'\{', '[', False), (r',', '', False), (r' : ', ' = ', False), (r' of ', ' ', False))


def tokens(text):
    return re.findall(r'\w+|[^\w\s]', text)


def check(driver, *words):
    found = subprocess.run([driver, 'check', '--format=gcc', '--max-errors=0', *words], capture_output=True, text=True,
                           errors='replace', timeout=60).stderr
    return found.count(': error: ')


def main():
    arguments = options(__doc__, 'driver', 'examples')
    failures = []
    with tempfile.TemporaryDirectory() as directory:
        path = os.path.join(directory, 'model.pm')
        for name in ('bicycle.pm', 'rack.pm', 'truck.pm', 'pump.pm'):
            right = re.sub(r'/\*.*?\*/', '', read(os.path.join(arguments.examples, name)), flags=re.DOTALL)
            for pattern, slip, is_certain in SLIPS:
                wrong = re.sub(pattern, slip, right, flags=re.MULTILINE)
                source, errors = None, None
                with open(path, 'w', encoding='utf-8') as stream:
                    stream.write(wrong)
                while source != read(path):
                    source, before = read(path), errors
                    errors = check(arguments.driver, path)
                    if before is not None and errors > before:
                        failures.append('%s, %r: %d errors after %d' % (name, slip, errors, before))
                    check(arguments.driver, '--fix', path)
                if is_certain and tokens(source) != tokens(right):
                    failures.append('%s, %r: not as it was: %r' % (name, slip, [line for line in source.splitlines() if line not in right]))
    finish(failures)


main()
