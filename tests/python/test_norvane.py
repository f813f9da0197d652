"""What programs do to the package: broken input, several threads, parts that outlive their model."""
import gc
import os
import re
import signal
import tempfile
import threading
import unittest
from unittest import mock

import norvane

STUB = os.path.join(os.path.dirname(norvane.__file__), '__init__.pyi')


class Models(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(directory.name)
        temporary = mock.patch.dict(os.environ, TMPDIR=directory.name)  # where nothing may be left
        temporary.start()
        self.addCleanup(temporary.stop)

    def load(self, source, **options):
        with open('model.pm', 'w', encoding='cp1252') as file:
            file.write(source)
        return norvane.load('model.pm', **options)

    def test_reports_of_all_kinds(self):
        for source, options, name, line in (
                ('variable a : boolean; rule\n b;', {}, 'ERR_ID_UNDECLARED', 2),
                ('variable a : boolean rule a;', {}, None, 1),
                ('variable a : boolean;\n#include "nowhere.h"\n', {}, 'ERR_CPP', 2),
                ('variable a : boolean;', {'defines': {'@x': None}}, 'ERR_CPP', 0)):
            with self.subTest(source), self.assertRaises(norvane.ModelError) as caught:
                self.load(source, **options).check()
            report = caught.exception.reports[0]
            self.assertEqual(report.severity, 'error')
            self.assertEqual(report.line, line)
            if name:
                self.assertEqual(report.name, name)
            self.assertIn(report.message, str(caught.exception))
        with self.assertRaises(norvane.ModelError):
            norvane.load('nowhere.pm')
        self.assertEqual(os.listdir('.'), ['model.pm'])

    def test_failures_of_the_library_leave_all_else_alone(self):
        good = self.load('variable a : boolean; rule a;')
        with self.assertRaises(norvane.InternalError):
            self.load('constant B : "a" = "b"; variable a : boolean; rule a;').check()
        self.assertEqual(len(good.flat()), 1)

    def test_open_texts_and_comments_end_with_their_file(self):
        for end in ('rule x = "abc;', 'rule x = "', '/* a /* b */', '/* /* /*', '// a', '/* "'):
            with self.subTest(end):
                try:
                    self.load('variable y : boolean; ' + end)
                except norvane.ModelError:
                    pass
                self.assertEqual(len(self.load('variable x : boolean;').variables), 1)
        for end in ('namespace B { /*', '/* a /* b */', '// a', 'namespace B { string s() { return "a', '"'):
            for source in (end, ''):
                with self.subTest(end, source=source), open('c.cl', 'w') as file:
                    file.write('namespace A { void f() {} } ' + source)
                try:
                    functions = norvane.load_calculation('c.cl').functions
                except norvane.ModelError:
                    functions = None
            self.assertEqual([f.name for f in functions or ()], ['f'], end)

    def test_names_with_null_characters(self):
        self.load('variable x : boolean;')
        for call in (lambda: norvane.load('model.pm\0.evil'),
                     lambda: norvane.load('model.pm', defines={'N': '1\0'}),
                     lambda: norvane.load_workspace(b'w.zeb\0')):
            self.assertRaises(ValueError, call)

    def test_texts_of_the_code_page(self):
        model = self.load('type T : ["h\xe4lfte", "\u20ac"]; variable v : T; rule v = "\u20ac";')
        self.assertEqual(model.types['T'].labels, ['h\xe4lfte', '\u20ac'])
        self.assertEqual(str(model.rules[0]), '(v = "\u20ac")')

    def test_parts_outlive_their_model(self):
        expression, origin = self.load('variable a : array 2 of boolean; rule a[0] -> a[1];').flat()[0]
        parts = list(norvane.walk(expression))
        del expression
        gc.collect()
        self.assertEqual([str(part) for part in parts], ['(a[0] -> a[1])', 'a[0]', 'a[1]'])
        self.assertEqual(str(origin.expression.args[1].path[0][1][0]), '1')

    def test_every_form_of_expression(self):
        model = self.load('type C : [x, y]; constant N : 2.5;\n'
                          'variable c : C; s : string; f : float; n : [0..3]; o : optional boolean;\n'
                          'rule case c of x then n > 1 | default s = "t" esac;\n'
                          'forall i in [0..2] : (n + i > 0); if o = SOME then not (f < N) else true;\n'
                          'order(c) < 1;\n')
        model.check()
        kinds = {part.kind for rule in model.rules for part in norvane.walk(rule.expression)}
        self.assertEqual(kinds, {'case', 'loop', 'if', 'binary', 'unary', 'name', 'integer', 'string',
                                 'boolean'})
        self.assertEqual(model.constants['N'].value, 2.5)
        self.assertEqual(model.rules[1].expression.loop_variable, 'i')
        self.assertEqual(model.rules[0].expression.path, [('c', [])])
        self.assertEqual(len(model.rules[0].expression.args), 3)
        self.assertEqual(model.rules[3].expression.args[0].operator, 'order')

    def test_trees_as_deep_as_memory_allows(self):
        model = self.load('variable a : boolean; rule ' + 'a and ' * 100000 + 'a;')
        self.assertEqual(sum(1 for _ in norvane.walk(model.flat()[0][0])), 200001)
        self.assertEqual(len(str(model.rules[0])), 8 * 100000 + 1)

    def test_threads_wait_for_each_other(self):
        model = self.load('variable n : integer; rule n > 3; n < 7;')
        norvane.write(model, 'model.xml')
        results = []

        def work():
            for _ in range(25):
                results.append([str(rule) for rule, _ in norvane.load('model.xml').flat()])

        threads = [threading.Thread(target=work) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(results, [[str(rule) for rule, _ in model.flat()]] * 100)

    def test_child_of_a_fork_goes_on(self):
        norvane.write(self.load('variable n : integer; rule n > 3;' + ' n < 7;' * 3000), 'model.xml')
        is_over = threading.Event()

        def work():
            while not is_over.is_set():
                norvane.load('model.xml')

        thread = threading.Thread(target=work)
        thread.start()
        statuses = []
        for _ in range(10):
            child = os.fork()
            if child == 0:
                signal.alarm(20)  # a child that hangs
                norvane.load('model.xml')
                os._exit(0)
            statuses.append(os.waitpid(child, 0)[1])
        is_over.set()
        thread.join()
        self.assertEqual(statuses, [0] * 10)

    def test_stubs_name_what_there_is(self):
        with open(STUB, encoding='utf-8') as file:
            stub = file.read()
        declared = set(re.findall(r'^(?:class|def) (\w+)', stub, re.M))
        self.assertEqual(declared, set(norvane.__all__))
        for name, body in re.findall(r'^class (\w+)[^\n]*:\n((?:    [^\n]*\n)+)', stub, re.M):
            members = set(re.findall(r'^    (?:def )?(\w+)', body, re.M))
            there = {member for member in vars(getattr(norvane, name)) if not member.startswith('_')}
            self.assertEqual(members, there or members, name)


if __name__ == '__main__':
    unittest.main()
