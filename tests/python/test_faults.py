"""The faults that programs get are the reports that the driver prints, whatever is wrong with a source."""
import argparse
import glob
import json
import os
import random
import shutil
import signal
import subprocess
import tempfile
import unittest

import norvane

PLACE = {'file': 'file', 'line': 'line', 'column': 'column', 'endLine': 'end_line', 'endColumn': 'end_column'}


def placed(entry, place):
    """An entry of a report as the driver prints it, which has null for what is not known."""
    return {**entry, **{key: getattr(place, name) or None for key, name in PLACE.items()}}


def as_printed(fault):
    return {**placed({'severity': fault.severity, 'name': fault.name or None, 'message': fault.message},
                     fault.place),
            'notes': [placed({'message': note.text}, note.place) for note in fault.notes],
            'hint': fault.hint or None,
            'replacements': [placed({'text': new.text, 'certain': new.is_certain}, new.place)
                             for new in fault.replacements]}


def broken(text, seed):
    """The text with a few words lost, doubled or exchanged, and at times cut off."""
    chance = random.Random(seed)
    lines = text.split('\n')
    for _ in range(chance.randint(1, 4)):
        at = chance.randrange(len(lines))
        words = lines[at].split(' ')
        word = chance.randrange(len(words))
        words[word] = chance.choice(['', words[word] * 2, 'colour', ';', '(', '"h\xe4lfte', '/*', 'and 3', '#error x',
                                     '#include "gone.pm"'])
        lines[at] = ' '.join(words)
    return '\n'.join(lines[:chance.randint(2, len(lines))] if chance.random() < 0.2 else lines)


class Faults(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(directory.name)
        shutil.copytree(arguments.examples, '.', dirs_exist_ok=True)

    def printed(self, *command):
        run = subprocess.run([arguments.driver, *command, '--format=json', '--max-errors=0'],
                             stderr=subprocess.PIPE, check=False)
        return [json.loads(line) for line in run.stderr.decode().splitlines()]

    def test_faults_are_what_the_driver_prints(self):
        names = set()
        for number, source in enumerate(sorted(glob.glob('*.pm')) * 12):
            with open(source, encoding='cp1252') as file:
                text = broken(file.read(), number)
            with open('broken.pm', 'w', encoding='cp1252') as file:
                file.write(text)
            faults = norvane.faults('broken.pm', warnings=['all'])
            with self.subTest(source, number=number):
                self.assertEqual([as_printed(fault) for fault in faults],
                                 self.printed('check', '-Wall', 'broken.pm'))
            names.update(fault.name for fault in faults)
        self.assertTrue(names >= {'ERR_ID_UNDECLARED', 'ERR_CPP', 'ERR_PARSER', 'unused-name'}, names)

    def test_faults_of_calculations_other_files_and_options(self):
        with open('broken.cl', 'w') as file:
            file.write('namespace A { void f() { int x; } integer g(integer gears) { return h; } }')
        for path, options, command in (
                ('bicycle.pm', {'calculation': 'broken.cl'}, ('calc', 'check', '--model', 'bicycle.pm', 'broken.cl')),
                ('gone.pm', {}, ('check', 'gone.pm')), ('.', {}, ('check', '.')),
                ('bicycle.pm', {'defines': {'frame': '3'}}, ('check', '-Dframe=3', 'bicycle.pm'))):
            with self.subTest(command):
                faults = norvane.faults(path, **options)
                self.assertTrue(faults)
                self.assertEqual([as_printed(fault) for fault in faults], self.printed(*command))
        with self.assertRaises(ValueError):
            norvane.faults('bicycle.pm', warnings='nonsense')

    def test_the_process_stays_as_it_was(self):
        with open('broken.pm', 'w') as file:
            file.write('variable a : boolean; rule a -> colour; /*')
        with tempfile.TemporaryFile() as file:
            standard = os.dup(1), os.dup(2)
            os.dup2(file.fileno(), 1)
            os.dup2(file.fileno(), 2)
            try:
                self.assertTrue(norvane.faults('broken.pm'))
            finally:
                os.dup2(standard[0], 1)
                os.dup2(standard[1], 2)
            file.seek(0)
            self.assertEqual(file.read(), b'')
        with open('/proc/self/status') as file:
            caught = int(file.read().split('SigCgt:')[1].split()[0], 16)
        self.assertFalse(caught & 1 << (signal.SIGTERM - 1))
        self.assertEqual(len(norvane.load('bicycle.pm').flat()), 6)

    def test_reports_of_a_refused_model_have_ranges(self):
        with open('broken.pm', 'w') as file:
            file.write('variable a : boolean;\nrule a -> colour;\n')
        with self.assertRaises(norvane.ModelError) as caught:
            norvane.load('broken.pm').check()
        report, = caught.exception.reports
        self.assertEqual((report.line, report.column, report.end_line, report.end_column), (2, 11, 2, 17))


if __name__ == '__main__':
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument('--driver', required=True)
    parser.add_argument('--examples', required=True)
    arguments = parser.parse_args()
    unittest.main(argv=['test_faults'])
