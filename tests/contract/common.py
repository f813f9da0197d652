"""What the scripts of this directory share: their options, commands, files, and how they end."""
import argparse
import os
import subprocess
import sys


def options(description, *names):
    parser = argparse.ArgumentParser(description=description)
    for name in names:
        parser.add_argument('--' + name, required=True)
    return parser.parse_args()


def output(*command, **environment):
    """What a command that succeeds prints."""
    return subprocess.run(command, check=True, capture_output=True, text=True,
                          env=dict(os.environ, **environment)).stdout


def read(path):
    with open(path) as stream:
        return stream.read()


def explained(driver):
    """The names of the errors that the driver explains."""
    return {line.split()[0] for line in output(driver, 'explain', '--list').splitlines()}


def finish(failures):
    print('\n'.join(failures))
    sys.exit(1 if failures else 0)
