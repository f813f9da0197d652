#!/usr/bin/env python3
"""Holds the man page and the completion against what the driver says of its commands and options:
whatever one of them has, the others have, and the words that an option takes are the same."""
import re
import shutil
import subprocess

from common import explained, finish, options, output, read

# Completes the words after the driver's name, the last of which is at the cursor; one word a line.
COMPLETE = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _norvane_pm; ' \
           'printf "%s\\n" "${COMPREPLY[@]}"'


def section(text, title):
    found = re.search(r'^%s:\n((?: .*\n)*)' % title, text, re.M)
    return found.group(1) if found else ''


class Help:
    """What the driver says of a command: the commands below it, and its long options, each with the
    words that it takes."""

    def __init__(self, driver, command):
        text = output(driver, *command, '--help')
        self.subcommands = re.findall(r'^  (\S+)', section(text, 'Subcommands'), re.M)
        self.options = {}
        for option, words in re.findall(r'^  (?:-\w,)?(--[\w-]+)(?: [A-Z]+:\{([^}]*)\})?',
                                        section(text, 'Options'), re.M):
            self.options[option] = set(filter(None, words.split(',')))
        words = re.search(r'^  [A-Z]+ :\{([^}]*)\}', section(text, 'Positionals'), re.M)
        self.argument_words = set(words.group(1).split(',')) if words else set()


def tree(driver, command=()):
    """All commands, each as a tuple of words, with their help."""
    commands = {command: Help(driver, command)}
    for name in commands[command].subcommands:
        commands.update(tree(driver, command + (name,)))
    return commands


class Page:
    def __init__(self, path):
        text = re.sub(r'\\f[A-Z]|"', '', read(path).replace('\\-', '-'))
        self.version = re.search(r'^\.TH .* norvane_proj (\S+)', text, re.M).group(1)
        self.sections = dict(re.findall(r'^\.S[SH] (.*)\n((?:(?!\.S[SH]).*\n)*)', text, re.M))

    def commands(self):
        return {name for name, text in self.sections.items() if '\n.B norvane-pm ' + name in '\n' + text}

    def text_of(self, name):
        """A section, and the sections of options that it mentions."""
        text = self.sections.get(name, '')
        for shared in re.findall(r'\b(\w+ options)\b', text):
            text += self.text_of(shared.capitalize())
        return text


def long_options(text):
    return set(re.findall(r'(?<![\w-])--[a-z][\w-]*', text))


def main():
    arguments = options(__doc__, 'driver', 'page', 'completion')
    failures = []

    def expect_equal(what, actual, expected):
        if set(actual) != set(expected):
            failures.append('%s: %s, and not %s' % (what, sorted(actual), sorted(expected)))

    def complete(*words):
        return output('bash', '-c', COMPLETE, 'bash', arguments.completion, arguments.driver,
                      *words).split()

    commands = tree(arguments.driver)
    page = Page(arguments.page)
    expect_equal('version in the page', [page.version],
                 [output(arguments.driver, '--version').split()[-1]])
    expect_equal('commands in the page', page.commands(),
                 {' '.join(command) for command, said in commands.items() if not said.subcommands})
    for command, said in commands.items():
        name = ' '.join(command)
        expect_equal('completion of ' + name, complete(*command, '-'), said.options)
        if said.subcommands:
            expect_equal('completion of ' + name, complete(*command, ''), said.subcommands)
            continue
        text = page.text_of(name)
        expect_equal('options of %s in the page' % name, long_options(text) | {'--help'}, said.options)
        for option, words in said.options.items():
            if words:
                expect_equal('completion of %s %s' % (name, option), complete(*command, option, ''), words)
                expect_equal('completion of %s %s=' % (name, option),
                             complete(*command, option, '='), words)
        for word in said.argument_words.union(*said.options.values()):
            if not re.search(r'\b%s\b' % word, text):
                failures.append('the page does not name %s for %s' % (word, name))
        if said.argument_words:
            expect_equal('arguments of ' + name,
                         complete(*command, '--format', 'json', 'file', 'project', ''),
                         said.argument_words)
    expect_equal('completion of explain', complete('explain', ''), explained(arguments.driver))
    answer = output('bash', arguments.completion, arguments.driver, 'rules', '--to=sm').split()
    expect_equal('what other shells are told', answer, ['--to=smt2'])

    readers = {'man': ('--warnings', '-E', 'UTF-8', '-l'), 'groff': ('-man', '-ww', '-z')}
    reader = next(filter(shutil.which, readers), None)
    if reader:
        said = subprocess.run([reader, *readers[reader], '-Tutf8', arguments.page],
                              capture_output=True, text=True).stderr
        failures += [said] if said else []
    else:
        print('NOT CHECKED: there is neither man nor groff to read the page')
    finish(failures)


main()
