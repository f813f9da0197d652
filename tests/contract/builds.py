#!/usr/bin/env python3
"""Builds the examples for make, CMake and ninja, and runs the one for Python, as they are installed: all is made
at first and nothing by a second run, a file that a model includes makes anew just what is made from it, and a
model at fault ends the build and loses no result. A page shows each of these files as it is."""
import glob
import os
import shutil
import subprocess
import sys
import tempfile

from common import finish, options, output, read

# In examples/: the build, where its results are, and what it says when there is nothing to do.
TOOLS = {'make': (['make'], 'build', 'Nothing to be done'),
         'cmake': (['cmake', '--build', 'built'], 'built', 'no work to do'),
         'ninja': (['ninja'], 'build', 'no work to do')}
SHOWN = ('make/Makefile', 'cmake/CMakeLists.txt', 'ninja/build.ninja')


def results(directory):
    """The results of models, by the times when they were made."""
    return {name: os.stat(os.path.join(directory, name)).st_mtime_ns for name in os.listdir(directory)
            if name.endswith(('.rules', '.checked'))}


def touch(name, time):
    """Makes a file newer than that time: the clock of the file system has steps of some milliseconds."""
    while os.stat(name).st_mtime_ns <= time:
        os.utime(name)


def build(tool, examples, expected):
    """What is wrong with the build of one tool."""
    command, made, is_idle = TOOLS[tool]

    def run():
        return subprocess.run(command, capture_output=True, text=True)

    first, before = run(), results(made)
    if first.returncode or read(os.path.join(made, 'coach.rules')) != expected:
        yield 'does not make what it should:\n' + first.stdout + first.stderr
    idle = run().stdout
    if is_idle not in idle:
        yield 'makes something in a second run:\n' + idle
    touch(os.path.join(examples, 'coach', 'market.h'), max(before.values()))
    again = run()
    after = results(made)
    changed = {name for name in after if after[name] != before.get(name)}
    if changed != {name for name in after if name.startswith('coach.')}:
        yield 'makes anew after a change of the coach: %s\n%s' % (sorted(changed), again.stdout + again.stderr)
    with open(os.path.join(examples, 'bicycle.pm'), 'a') as model:
        model.write('rule nowhere;\n')
    failed = run()
    if failed.returncode == 0 or 'nowhere' not in failed.stdout + failed.stderr or results(made) != after:
        yield 'takes a model at fault:\n' + failed.stdout + failed.stderr


def main():
    arguments = options(__doc__, 'prefix', 'docs')
    os.environ['PATH'] = os.path.join(arguments.prefix, 'bin') + os.pathsep + os.environ['PATH']
    installed = os.path.join(arguments.prefix, 'share', 'doc', 'norvane-proj', 'examples')
    page, failures = read(os.path.join(arguments.docs, 'builds.md')), []
    failures += ['docs/builds.md does not show examples/%s as it is' % name for name in SHOWN
                 if read(os.path.join(installed, name)) not in page]
    expected = output('norvane-pm', 'rules', '-DARTICULATED', os.path.join(installed, 'coach', 'coach.pm'))
    for tool in TOOLS:
        with tempfile.TemporaryDirectory() as directory:
            examples = shutil.copytree(installed, os.path.join(directory, 'examples'))
            os.chdir(os.path.join(examples, tool))
            if tool == 'cmake':
                output('cmake', '-G', 'Ninja', '-S', '.', '-B', 'built', '-DCMAKE_PREFIX_PATH=' + arguments.prefix)
                output('cmake', '--build', 'built', '--target', 'first')
                if output('built/first', '../bicycle.pm') != output('norvane-pm', 'rules', '../bicycle.pm'):
                    failures.append('examples/cmake: the program prints other rules than norvane-pm')
            failures += ['examples/%s %s' % (tool, what) for what in build(tool, examples, expected)]
            os.chdir('/')
    for package in glob.glob(os.path.join(arguments.prefix, 'lib', 'python3*', '*')):
        model = os.path.join(installed, 'bicycle.pm')
        if output(sys.executable, os.path.join(installed, 'first.py'), model,
                  PYTHONPATH=package) != output('norvane-pm', 'rules', model):
            failures.append('examples/first.py prints other rules than norvane-pm')
    finish(failures)


main()
