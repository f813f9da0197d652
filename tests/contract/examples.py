#!/usr/bin/env python3
"""Runs the example of each error: the wrong input is reported by this name, the corrected one is silent."""
import os
import subprocess
import tempfile

from common import explained, finish, options, read


def examples(path):
    """For each error its setting, and its lines by their kind."""
    setting, name, found = None, None, {}
    for line in read(path).splitlines()[1:-1]:
        kind, _, text = line.partition(' ')
        if kind == '$':
            setting = {'file': text.partition(': ')[0], 'command': text.partition(': ')[2], 'more': []}
        elif kind == '+':
            setting['more'].append(text.split(': ', 1))
        elif kind[:1] in ('<', '>', '!'):
            found[name][1].setdefault(kind[0], []).append(kind[1:] + ' ' + text if kind[1:] else text)
        elif line and kind != '#':
            name = line
            found[name] = (setting, {})
    return found


def run(driver, setting, lines):
    """The exit status, and what is reported."""
    environment = dict(os.environ, PATH=os.path.dirname(driver) + ':' + os.environ['PATH'])
    with tempfile.TemporaryDirectory() as directory:
        content = ''.join(line + '\n' for line in lines if not line.startswith('$ '))
        for name, text in setting['more'] + ([[setting['file'], content]] if content else []):
            with open(os.path.join(directory, name), 'w', encoding='utf-8') as stream:
                stream.write(text + '\n')
        command = [line[2:] for line in lines if line.startswith('$ ')] or [setting['command']]
        done = subprocess.run(['bash', '-c', command[0]], cwd=directory, env=environment, text=True,
                              capture_output=True)
        return done.returncode, done.stderr


def main():
    arguments = options(__doc__, 'driver', 'examples')
    found = examples(arguments.examples)
    driver = os.path.abspath(arguments.driver)
    failures = []
    for name in set(explained(driver)) ^ set(found):
        failures.append('%s is explained or has an example, but not both' % name)
    for name, (setting, lines) in found.items():
        if '!' in lines:
            continue
        status, said = run(driver, setting, lines['<'])
        if '[%s]' % name not in said or (status == 0) != ('warning: ' in said):
            failures.append('%s is not what its example shows: %d, %s' % (name, status, said))
        status, said = run(driver, setting, lines['>'])
        if status or said:
            failures.append('the corrected example of %s: %d, %s' % (name, status, said))
    finish(failures)


main()
