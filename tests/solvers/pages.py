#!/usr/bin/env python3
"""Runs the commands of pages: in a block that is indented by four blanks, a line "$ COMMAND" is followed
by all that it prints, where "..." stands for any lines.

usage: pages.py [--refresh] DRIVER PAGE...

With --refresh the outputs are written anew: read the difference before you keep it."""
import os
import re
import subprocess
import sys
import tempfile

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', '..')
COMMAND = re.compile(r'^    \$ (.*)\n((?:    (?!\$ ).*\n)*)', re.M)


def printed(command, directory, environment):
    text = subprocess.run(['bash', '-c', command], cwd=directory, env=environment, text=True, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT).stdout
    return ''.join('    %s\n' % line for line in text.splitlines())


def main():
    refresh = sys.argv[1] == '--refresh'
    driver, *pages = sys.argv[1 + refresh:]
    failures = 0
    with tempfile.TemporaryDirectory() as directory:
        os.symlink(os.path.join(TOP, 'examples'), os.path.join(directory, 'examples'))
        path = os.path.dirname(os.path.abspath(driver)) + ':' + os.environ['PATH']
        environment = {**os.environ, 'PATH': path}
        for page in pages:
            with open(page, encoding='utf-8') as stream:
                text = stream.read()
            fresh = text
            for command, expected in COMMAND.findall(text):
                found = printed(command, directory, environment)
                pattern = re.escape(expected).replace(r'\ \ \ \ \.\.\.' + '\\\n', r'(?:.*\n)*')
                if re.fullmatch(pattern, found):
                    continue
                failures += 1
                print('%s: $ %s\n--- expected\n%s--- printed\n%s' % (page, command, expected, found))
                fresh = fresh.replace('    $ %s\n%s' % (command, expected),
                                      '    $ %s\n%s' % (command, found), 1)
            if refresh:
                with open(page, 'w', encoding='utf-8') as stream:
                    stream.write(fresh)
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main())
