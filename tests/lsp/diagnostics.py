#!/usr/bin/env python3
"""Diagnostics as one types: tables of files and edits, and what is shown after each. The examples are
opened, broken and corrected."""
import glob
import os
import shutil
import sys
import tempfile

from session import Session, uri_of

# Each row: a name, the files on disk, and steps. A step is ('open' | 'change' | 'close', file, text or
# changes ..., and what is shown of files afterwards).
UNDECLARED = 'ERR_ID_UNDECLARED'
OK = 'variable public a : boolean;\n'
ROWS = [
    ('positions count units of UTF-16, also after letters of one and of two units', {}, [
        ('open', 'm.pm', OK + 'rule /* \u20ac\u00e9 */ b;\n', {'m.pm': [(1, 14, 1, 15, UNDECLARED)]}),
        ('change', 'm.pm', ((1, 8, 1, 10), '\U0001f600'), {'m.pm': [(1, 14, 1, 15, UNDECLARED)]}),
        ('change', 'm.pm', ((1, 14, 1, 15), 'a'), {'m.pm': []})]),
    ('a file in UTF-8 is told to be one, and its columns are right',
     {'m.pm': (OK + 'rule /* \u20ac */ b;\n').encode()}, [
         ('open', 'm.pm', OK + 'rule /* \u20ac */ b;\n', {'m.pm': [(1, 13, 1, 14, UNDECLARED), (1, 8, 1, 8, 'utf8-source')]}),
         ('change', 'm.pm', ((1, 13, 1, 14), 'a'), {'m.pm': [(1, 8, 1, 8, 'utf8-source')]})]),
    ('the text of a part that is not saved counts', {'p/part.pm': b'type T : [0..3];\n'}, [
        ('open', 'm.pm', '#include "p/part.pm"\nvariable public a : T;\n', {'m.pm': []}),
        ('open', 'p/part.pm', 'type U : [0..3];\n', {'m.pm': [(1, 20, 1, 21, 'ERR_TYPE_UNDEF')], 'p/part.pm': []}),
        ('change', 'p/part.pm', 'type T : [0..x];\n', {'p/part.pm': [(0, 13, 0, 14, UNDECLARED)]}),
        ('close', 'p/part.pm', {'m.pm': [], 'p/part.pm': []})]),
    ('a part is checked through the file that includes it',
     {'m.pm': b'#include "part.pm"\nvariable public a : T;\n', 'part.pm': b'type T : [0..3];\n'}, [
         ('open', 'part.pm', 'type T : [0..3];\n', {'part.pm': []}),
         ('change', 'part.pm', 'type V : [0..3];\n', {'m.pm': [(1, 20, 1, 21, 'ERR_TYPE_UNDEF')]})]),
    ('a part is found when it is made', {}, [
        ('open', 'm.pm', '#define PART "part.pm"\n#include PART\nvariable public a : T;\n', {'m.pm': [(1, 0, 1, 13, 'ERR_CPP')]}),
        ('open', 'part.pm', 'type T : [0..x];\n', {'part.pm': [(0, 13, 0, 14, UNDECLARED)], 'm.pm': []}),
        ('change', 'm.pm', '#include "none/../part.pm"\nvariable public a : T;\n', {'m.pm': []}),
        ('change', 'part.pm', 'type T : [0..1];\n', {'part.pm': []})]),
    ('settings: directories, macros, warnings, and what does not fit them',
     {'.norvane.json': b'{"includeDirectories": ["inc"], "defines": {"N": "3"}, "warnings": ["all"], "x": 1}',
      'inc/t.pm': b'type T : [0..N];\n'}, [
          ('open', 's/m.pm', '#include "t.pm"\nvariable public a : T;\nconstant C : N;\n',
           {'s/m.pm': [(2, 9, 2, 14, 'unused-name')], '.norvane.json': [(0, 76, 0, 79, None)]})]),
    ('settings are checked as such while they are edited, and count before they are saved',
     {'.norvane.json': b'{"main": ["none.pm"]}'}, [
         ('open', 'm.pm', 'variable public a : [0..N];\n', {'m.pm': [(0, 24, 0, 25, UNDECLARED)], '.norvane.json': [(0, 10, 0, 19, None)]}),
         ('open', '.norvane.json', '{"defines": {"N": true}}\n', {'.norvane.json': [(0, 13, 0, 16, None)]}),
         ('change', '.norvane.json', '{"defines": {\n "N"}}\n', {'.norvane.json': [(1, 4, 1, 4, None)]}),
         ('change', '.norvane.json', '{"defines": {"N": 3}}\n', {'.norvane.json': [], 'm.pm': []}),
         ('close', '.norvane.json', {'.norvane.json': [(0, 10, 0, 19, None)], 'm.pm': [(0, 24, 0, 25, UNDECLARED)]})]),
    ('a part in a directory of the settings is checked through a model beside them',
     {'.norvane.json': b'{"includeDirectories": ["p"]}', 'p/part.pm': b'type T : [0..x];\n',
      'm.pm': b'#include "part.pm"\nvariable public a : T;\n'}, [
          ('open', 'p/part.pm', 'type T : [0..x];\n', {'p/part.pm': [(0, 13, 0, 14, UNDECLARED)]}),
          ('open', 'm.pm', '#include "part.pm"\nvariable public a : T;\n', {'p/part.pm': [(0, 13, 0, 14, UNDECLARED)], 'm.pm': []})]),
    ('a workspace that cannot be read is told of', {'w.zeb': b'<?xml version="1.0"?>\n<zeb><project'}, [
        ('open', 'm.pm', OK, {'m.pm': [], 'w.zeb': [(1, 0, 1, 13, 'ERR_XML_MALFORMED')]})]),
    ('a workspace names the main file of a part and its macros',
     {'w.zeb': b'<?xml version="1.0"?><zeb><project name="p"><product_model><uri>m.pm</uri><uri>q/part.pm</uri>'
               b'</product_model><defines><define name="N" value="2"/></defines><includes><uri>q</uri></includes>'
               b'<main><uri>m.pm</uri></main></project></zeb>',
      'm.pm': b'#include "part.pm"\nvariable public a : T;\n'}, [
          ('open', 'q/part.pm', 'type T : [0..N];\nrule a < 2;\n', {'q/part.pm': []}),
          ('change', 'q/part.pm', 'type T : [0..M];\n', {'q/part.pm': [(0, 13, 0, 14, UNDECLARED)]})]),
    ('a calculation is checked against the text of its model', {'m.pm': b'variable public n : [0..3];\n'}, [
        ('open', 'm.cl', 'namespace A { integer f() = n; }\n', {'m.cl': []}),
        ('open', 'm.pm', 'variable public k : [0..3];\n', {'m.cl': [(0, 28, 0, 29, 'ERR_CALC_FNC')]}),
        ('change', 'm.cl', 'namespace A { integer f() = k; }\n', {'m.cl': []})]),
    ('without a model the syntax of a calculation is checked', {}, [
        ('open', 'lone.cl', 'namespace A { integer f() = n; }\n', {'lone.cl': [(0, 0, 0, 0, None)]}),
        ('change', 'lone.cl', 'namespace A {\n integer f( = n; }\n',
         {'lone.cl': [(0, 0, 0, 0, None), (1, 10, 1, 11, 'ERR_PARSER')]})]),
    ('a failure of the preprocessor is shown', {}, [
        ('open', 'm.pm', '#include "none.pm"\n' + OK, {'m.pm': [(0, 10, 0, 17, 'ERR_CPP')]}),
        ('change', 'm.pm', 'variable public c : [x, y];\nrule order("x") = 0;\n constant C : order("x");\n',
         {'m.pm': [(2, 14, 2, 24, 'ERR_OP_TYPES_UN')]})]),
]


def run(driver, name, files, steps):
    with tempfile.TemporaryDirectory() as directory:
        for file, content in files.items():
            path = os.path.join(directory, file)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, 'wb') as stream:
                stream.write(content)
        session = Session(driver, TMPDIR=directory)
        for action, file, *contents, expected in steps:
            getattr(session, action)(os.path.join(directory, file), *contents)
            for shown, rows in expected.items():
                path = os.path.join(directory, shown)
                try:
                    session.wait(lambda: session.shown_now(path) == rows, 'such diagnostics', 60)
                except AssertionError:
                    return '%s: after %s: %s: %s' % (name, (action, file, *contents), shown, session.shown.get(uri_of(path)))
        session.end()
        left = [entry for entry in os.listdir(directory) if entry.startswith('norvane-')]
        return '%s: left %s' % (name, left) if left else None


def run_examples(driver, examples):
    """Each example is free of faults, has one where its last semicolon is missing, and none again."""
    with tempfile.TemporaryDirectory() as directory:
        copy = shutil.copytree(examples, os.path.join(directory, 'examples'))
        session = Session(driver)
        for path in sorted(glob.glob(copy + '/**/*.pm', recursive=True) + glob.glob(copy + '/**/*.cl', recursive=True)):
            session.open(path)
            if found := session.diagnostics(path):
                return '%s: %s' % (path, found)
            with open(path, encoding='cp1252') as stream:
                text = stream.read()
            session.change(path, ';'.join(text.rsplit(';', 1)[:1]) + ' ?')
            if not session.diagnostics(path):
                return path + ': no fault is shown'
            session.change(path, text)
            if found := session.diagnostics(path):
                return '%s: after the correction: %s' % (path, found)
        return None if session.end() == 0 else 'another status'


if __name__ == '__main__':
    failures = [run(sys.argv[1], *row) for row in ROWS] + [run_examples(sys.argv[1], sys.argv[2])]
    print('\n'.join(filter(None, failures)))
    sys.exit(any(failures))
