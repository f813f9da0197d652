#!/usr/bin/env python3
"""What the editor asks for: tables of places in small models, and what is answered there. A place is marked
in the text by «». Each rename is also applied, and the result checked."""
import os
import re
import sys
import tempfile

from session import Session, uri_of

MODEL = '''#define BOTH(a, b) (a and b)
#include "part.pm"
/* How many. */
constant N : 2 + 1;
type
  Box : { public size : [0..N]; public lid : optional Colour; rule size > 1; };
variable
  public box : array N of Box;  public kg : integer;
  public size, wide : boolean;
rule
  /* loops hide names */
  forall kg in [0..N - 1] : (box[kg].size > 0 or box[kg].lid = NONE);
  box[0].lid = SOME -> box[0].lid.SOME = "dark red";
  BOTH(size, wide) or kg > 10;
  case box[1].lid.SOME of green then size | default wide esac;
  "dark red" = box[2].lid.SOME or case box[2].lid.SOME of green then size | "dark red" then kg > 10 | default wide esac;
'''
PART = 'type Colour : [green, "dark red", blue];\n'
CALC = '''namespace Shop {
  // The sum.
  float total(float rate, integer count) { integer n := count; return System.Round(rate * n); }
  float twice() = Shop.total(2.0, 3) + kg;
}
'''
CLASSES = '''type Bag : {
  /* In *kg*, <b> */
  public weight : integer; };
type Number : integer;
variable public bag : Bag; public many : array 2 of integer; public some : optional integer; public named : Number;
rule bag.weight > 5 or many[1] = 7 or some.SOME < 2 or named = 9;
'''
MACROS = '''#define N 5
#ifdef Q
#define B 1
#else
#define B 2
#endif
variable public a : [0..9];
rule a > N or a > B;
#undef N
#define N 6
rule a < N;
'''
FILES = {'m.pm': MODEL, 'part.pm': PART, 'm.cl': CALC, 'classes.pm': CLASSES, 'macros.pm': MACROS}

# file, the text with «» around or before the place, and the declaration that is found: file and line; and
# how often the name stands in the model or the calculation.
DEFINITIONS = [
    ('m.pm', '[0..«N»]; public lid', 'm.pm', 3, 4),
    ('m.pm', 'optional «Colour»', 'part.pm', 0, 2),
    ('m.pm', 'rule «size» > 1', 'm.pm', 5, 3),
    ('m.pm', 'box[kg].«size»', 'm.pm', 5, 3),
    ('m.pm', 'or box[«kg»].lid', 'm.pm', 11, 3),
    ('m.pm', 'or «kg» > 10', 'm.pm', 7, 3),
    ('m.pm', 'BOTH(«size»', 'm.pm', 8, 4),
    ('m.pm', '«BOTH»(size', 'm.pm', 0, 2),
    ('m.pm', '= «"dark red"»', 'part.pm', 0, 4),
    ('m.pm', 'of «green»', 'part.pm', 0, 3),
    ('m.pm', '#include "p«»art.pm"', 'part.pm', 0, 0),
    ('m.pm', 'loops «hide»', None, None, 0),
    ('m.cl', '«count»; return', 'm.cl', 2, 2),
    ('m.cl', 'Shop.«total»(2.0', 'm.cl', 2, 2),
    ('m.cl', '+ «kg»', 'm.pm', 7, 4),
]
# What a hover holds.
HOVERS = [
    ('m.pm', '«N» - 1', ['constant **N**', 'N : 2 + 1;', 'How many.', 'value: `3`']),
    ('m.pm', 'or «kg»', ['public kg : integer', '- 0: up to 9', '- 1: 10', '- 2: from 11']),
    ('m.pm', '«"dark red"»', ['number 1 of its enumeration']),
    ('m.pm', 'box[«kg»].size', ['loop variable **kg**', '\nkg in [0..N - 1]\n']),
    ('m.cl', 'Shop.«total»', ['float Shop.total(float rate, integer count)', 'The sum.']),
    ('m.cl', 'System.«Round»', ['float System.Round(float f)']),
    ('classes.pm', 'public «weight»', ['- 1: 5', '```text\nIn *kg*, <b>\n```']),
    ('classes.pm', 'public «many»', ['- 1: 7']),
    ('classes.pm', 'public «some»', ['- 1: 2']),
    ('classes.pm', 'public «named»', ['- 1: 9']),
    ('macros.pm', '> «N»', ['#define N 5\n```']),
    ('macros.pm', 'or a > «B»', ['#define B 2\n```']),
    ('macros.pm', 'define «B» 1', ['#define B 1\n```', 'leaves this definition out']),
    ('macros.pm', 'a < «N»', ['#define N 6\n```']),
]
# A text in the place of a marked one, what is offered there, as a list where it comes first in this order, and
# what is not.
COMPLETIONS = [
    ('m.pm', '«kg > 10»', 'box[0].', {'size', 'lid'}, {'N', 'Box'}),
    ('m.pm', '«kg > 10»', 'box[0].lid.', {'SOME'}, {'size'}),
    ('m.pm', '«kg > 10»', 'box[0].lid.SOME = ', ['green', 'dark red', 'blue', 'box'], {'and', 'not', 'N'}),
    ('m.pm', '«kg > 10»', 'case box[0].lid.SOME of green then wide | ', ['green', 'dark red', 'blue', 'default'], {'kg'}),
    ('m.pm', '«kg > 10»', 'box[0].lid.SOME = "dark r', ['green', 'dark red', 'blue'], {'box', 'kg'}),
    ('m.pm', '«kg > 10»', 'box[0].lid.SOME = "dark\n', set(), {'dark red'}),
    ('m.pm', '«kg > 10»', 'kg ', {'and', 'then'}, {'kg', 'not', 'N'}),
    ('m.pm', '«kg > 10»', 'k', {'kg', 'wide', 'N', 'forall', 'BOTH'}, {'Box', 'lid'}),
    ('m.pm', '«integer»', '', {'Box', 'Colour', 'boolean', 'optional', 'record'}, {'kg', 'and'}),
    ('m.pm', '«integer;»', 'integer; ', {'public', 'private', 'rule'}, {'kg', 'N'}),
    ('m.pm', 'rule «size» > 1', 's', {'size', 'lid', 'N'}, set()),
    ('m.pm', '/* How «»', 'k', set(), {'kg'}),
    ('m.cl', '«kg»', 'System.', {'Round', 'Max'}, {'total', 'kg'}),
    ('m.cl', '«kg»', 'Shop.', {'total', 'twice'}, {'Round'}),
    ('m.cl', 'rate * «n»', '', {'n', 'count', 'kg', 'System', 'Shop'}, {'N'}),
    ('m.cl', '«kg»', 'box[0].lid.SOME = "', ['green', 'dark red', 'blue'], {'kg'}),
    ('m.cl', '«kg»', 'box[0].lid.SOME = ', ['"green"', '"dark red"', '"blue"'], {'and'}),
    ('m.cl', '«return System.Round(rate * n)»', 'switch box[0].lid.SOME { case ', ['"green"', '"dark red"'], {'n '}),
    ('m.cl', '«namespace Shop»', '', ['namespace'], {'kg', 'System'}),
    ('m.cl', '// «»The', '', set(), {'kg', 'float'}),
    ('m.cl', 'namespace Shop {«»', '', ['boolean', 'float'], {'kg', 'System'}),
    ('m.cl', '«; return System.Round(rate * n); }\n  float twice() = Shop.total(2.0, 3) + kg;\n}\n»', '; ',
     {'n', 'count', 'return', 'for with a count'}, {'and'}),
]
# A place, a new name, and a part of why it is refused; None where it is not.
RENAMES = [
    ('m.pm', 'constant «N»', 'COUNT', None),
    ('m.pm', 'or «kg»', 'mass', None),
    ('m.pm', 'rule «size»', 'height', None),
    ('m.pm', 'BOTH(«size»', 'narrow', None),
    ('m.pm', 'of «green»', 'light green', None),
    ('m.pm', '= «"dark red"»', 'brown', None),
    ('m.pm', 'optional «Colour»', 'Color', None),
    ('m.cl', '«count»; return', 'number', None),
    ('m.cl', 'Shop.«total»', 'all', None),
    ('m.pm', 'or «kg»', 'wide', 'stands at'),
    ('m.pm', 'of «green»', 'dark red', 'stands at'),
    ('m.pm', 'or «kg»', 'rule', 'cannot be a name'),
    ('m.cl', '«count»; return', 'while', 'cannot be a name'),
    ('m.pm', '«BOTH»', 'X', 'macros'),
    ('m.cl', '+ «kg»', 'mass', 'rename it there'),
    ('m.pm', 'loops «»', 'x', 'no name'),
    ('m.pm', 'of «green»', 'grün', None),
    ('m.pm', 'of «green»', '\u2603', 'code page'),
    ('m.pm', 'of «green»', 'a\tb', 'a text without'),
    ('m.pm', 'of «green»', 'NONE', 'cannot be a name'),
]
# A change, where actions are asked for, and a title with the model that it makes.
ACTIONS = [
    ('or «kg»', 'wid', '«»wid > 10', "did you mean 'wide'?", 'or wide > 10'),
    ('or «kg > 10»', 'heavy', '«»heavy;', "declare 'heavy' as a boolean variable",
     'wide : boolean;\n  public heavy : boolean;'),
    ('or «kg > 10»', 'heavy > 3', '«»heavy', "declare 'heavy' as an integer variable", 'public heavy : integer;'),
    ('or «kg > 10»', 'kg == 10', '«»rule', 'correct all that is certain', 'kg = 10'),
    ('«»', '', '«»default', 'add the arms of dark red, blue', '| "dark red" then wide | blue then wide | default wide'),
    ('«variable\n  public box : array N of Box;  public kg : integer;\n  public size, wide : boolean;»', '',
     '«»BOTH(size', "declare 'kg' as an integer variable", '\nvariable\n  public kg : integer;\n\nrule\n  /* loops'),
]
# Models, and how many actions are offered in each: whichever is taken, no new fault comes, and what it is about
# is gone.
OF_CASE = 'type C : [red, "gr" "een", blue];\nvariable public c : C; public s : boolean;\n#define D s and s\nrule '
PLACES = 'variable public a : array 3 of boolean; public s, t : boolean; public r : { public f : boolean; };\nrule '
APPLIED = [
    (PLACES, [('zz;', 1), ('/* x */ zz;', 1), ('s and (zz);', 1), ('not zz;', 1), ('zz > 3;', 1), ('3 < zz;', 1), ('zz > 2.5;', 1),
              ('(zz) + 1 > 3;', 1), ('zz >= 1 + zz;', 1), ('a[zz];', 0), ('a[1 + zz];', 0), ('forall i in [0..zz] : (a[i]);', 0),
              ('r.zz;', 0), ('s = zz;', 0), ('s;\r\nrule zz;\r\n', 1), ('s == t;', 2), ('s && t;', 2)]),
    ('type C : [red, blue];\nvariable public c : C; /* first */\nrule ', [('c = zz;', 0), ('c = rad;', 1)]),
    ('#ifdef X\nvariable public q : boolean;\n#endif\nrule ', [('zz;', 1)]),
    (OF_CASE, [('case c of red then s | default s esac;', 1), ('case c of red then s | default\n  s /* x */ and\n  s esac;', 1),
               ('case c of red then s | default D esac;', 0), ('case c of red then s | default s or D esac;', 0),
               ('case c of "red" then s | default s esac;', 1), ('case c of red then s | default s /* why */\n esac;', 1),
               ('case c of red then s | defau esac;', 0), ('case c of red then s | blue then not s esac;', 1),
               ('case c of red then (case c of blue then s | default s esac) | default s esac;', 2)]),
]


def place(text, marked):
    """The range of what is marked, as the protocol has it."""
    plain = marked.replace('«', '').replace('»', '')
    start = text.index(plain) + marked.index('«')
    end = text.index(plain) + marked.replace('«', '').index('»')

    def position(offset):
        return {'line': text.count('\n', 0, offset), 'character': offset - text.rfind('\n', 0, offset) - 1}
    return start, end, position(start), position(end)


def apply(text, edits):
    lines = text.split('\n')
    for edit in sorted(edits, key=lambda each: str(each['range']['start']['line']).zfill(6) +
                       str(each['range']['start']['character']).zfill(6), reverse=True):
        start, end = edit['range']['start'], edit['range']['end']
        assert start['line'] == end['line']
        line = lines[start['line']]
        lines[start['line']] = line[:start['character']] + edit['newText'] + line[end['character']:]
    return '\n'.join(lines)


class Test:
    def __init__(self, driver, directory):
        self.directory = directory
        self.write(FILES)
        self.session = Session(driver)
        for file in FILES:
            self.session.open(self.path(file))
            assert not self.session.diagnostics(self.path(file)), self.session.shown
        self.failures = []

    def path(self, file):
        return os.path.join(self.directory, file)

    def ask(self, method, file, position, **more):
        return self.session.ask('textDocument/' + method, {
            'textDocument': {'uri': uri_of(self.path(file))}, 'position': position, **more})

    def expect(self, condition, *what):
        if not condition:
            self.failures.append(' '.join(map(str, what)))

    def definitions(self):
        for file, marked, in_file, line, count in DEFINITIONS:
            _, _, at, _ = place(FILES[file], marked)
            found = self.ask('definition', file, at)
            expected = in_file and (uri_of(self.path(in_file)), line)
            self.expect((found and (found['uri'], found['range']['start']['line'])) == expected, marked, found)
            uses = self.ask('references', file, at, context={'includeDeclaration': True})
            self.expect(len(uses) == count, marked, 'stands', len(uses), 'times')
            own = [use for use in uses if use['uri'] == uri_of(self.path(file))]
            self.expect(len(self.ask('documentHighlight', file, at)) == len(own), marked, 'is highlighted')

    def hovers(self):
        for file, marked, texts in HOVERS:
            said = self.ask('hover', file, place(FILES[file], marked)[2])['contents']['value']
            self.expect(all(text in said for text in texts), marked, said)

    def completions(self):
        for file, marked, text, offered, others in COMPLETIONS:
            start, end, _, _ = place(FILES[file], marked)
            changed = FILES[file][:start] + text + FILES[file][end:]
            self.session.change(self.path(file), changed)
            at = place(changed, changed[:start + len(text)] + '«»')[2]
            items = sorted(self.ask('completion', file, at), key=lambda item: item['sortText'])
            names = [item['label'] for item in items]
            is_offered = names[:len(offered)] == offered if isinstance(offered, list) else offered <= set(names)
            self.expect(is_offered and not others & set(names), marked, text, names)
            self.expect('$' not in str(items), marked, 'has places to fill in')
            if file == 'm.pm' and items and 'textEdit' in items[0]:
                self.session.change(self.path(file), apply(changed, [items[0]['textEdit']]))
                self.expect(not self.session.diagnostics(self.path(file)), text, items[0])
            self.session.change(self.path(file), FILES[file])

    def renames(self):
        for file, marked, name, refused in RENAMES:
            at = place(FILES[file], marked)[2]
            answer = self.ask('rename', file, at, newName=name)
            if refused:
                self.expect(refused in answer.get('message', ''), marked, name, answer)
                continue
            changed = {path: apply(FILES[path], answer['changes'].get(uri_of(self.path(path)), []))
                       for path in FILES}
            self.expect(changed != FILES, marked, 'is not renamed')
            for path, text in changed.items():
                if path != 'm.cl' or file == 'm.cl':
                    self.session.change(self.path(path), text)
            for path in ('m.pm', file):
                self.expect(not self.session.diagnostics(self.path(path)), marked, changed[path])
            for path in FILES:
                self.session.change(self.path(path), FILES[path])

    def write(self, texts):
        for file, text in texts.items():
            os.makedirs(os.path.dirname(self.path(file)), exist_ok=True)
            with open(self.path(file), 'wb') as stream:
                stream.write(text.encode('utf-8' if '_utf8' in file else 'cp1252'))

    def unseen_uses(self):
        """What stands where an edit cannot reach it: in another model's macro, in a model that only
        settings name, in another code, in pieces."""
        settings = '{"main": ["a.pm", "b.pm"], "includeDirectories": ["parts"], "defines": {"MACRO": "T"}}'
        model = '#include "t.pm"\nvariable public v : %s;\n'
        files = {'s/a.pm': model % 'T', 's/b.pm': model % 'MACRO', 's/parts/t.pm': 'type T : [x, "y" "z"];\n',
                 's/.norvane.json': settings, 's/c.pm': 'type C : [x, y];\n#include "c_utf8.pm"\n',
                 's/c_utf8.pm': 'variable public v : C;\nrule v = y or "é" = "";\n'}
        self.write(files)
        for refused, opened, line, column, name in (
                ('b.pm includes', 's/a.pm', 1, 20, 'U'), ('a macro has the name', 's/b.pm', 1, 20, 'U'),
                ('in pieces', 's/parts/t.pm', 0, 13, 'U'), ('different codes', 's/c.pm', 0, 13, 'ä')):
            self.session.open(self.path(opened))
            self.session.diagnostics(self.path(opened))
            file = 's/a.pm' if line else opened
            answer = self.ask('rename', file, {'line': line, 'character': column}, newName=name)
            self.expect(refused in answer.get('message', ''), refused, answer)

    def shared_part(self):
        """A part of two models is renamed in both, and not while one of them is not open."""
        texts = {'part.h': 'type T : [0..3];\n', 'one.pm': '#include "part.h"\nvariable public a : T;\n',
                 'two.pm': '#include "part.h"\nvariable public b : T;\n'}
        self.write(texts)
        self.session.open(self.path('one.pm'))
        at = {'line': 1, 'character': 20}
        answer = self.ask('rename', 'one.pm', at, newName='U')
        self.expect('open it first' in answer.get('message', ''), answer)
        self.session.open(self.path('two.pm'))
        changes = self.ask('rename', 'one.pm', at, newName='U').get('changes', {})
        changed = [apply(text, changes.get(uri_of(self.path(file)), [])) for file, text in texts.items()]
        self.expect(changed == [re.sub(r'\bT\b', 'U', text) for text in texts.values()], changed)

    def actions(self):
        for marked, text, at, title, result in ACTIONS:
            start, end, _, _ = place(MODEL, marked)
            changed = MODEL[:start] + text + MODEL[end:]
            self.session.change(self.path('m.pm'), changed)
            where = place(changed, at)[2]
            found = [action for action in self.ask('codeAction', 'm.pm', where, range={'start': where, 'end': where},
                                                   context={'diagnostics': []}) if action['title'] == title]
            self.expect(found, title, 'is not offered')
            if found:
                made = apply(changed, found[0]['edit']['changes'][uri_of(self.path('m.pm'))])
                self.expect(result in made, title, made)
        self.session.change(self.path('m.pm'), MODEL)

    def applied(self):
        path = self.path('applied.pm')
        self.session.open(path, '')
        for head, bodies in APPLIED:
            for body, count in bodies:
                text = head + body
                self.session.change(path, text)
                before = [fault[4] for fault in self.session.diagnostics(path)]
                lines = text.count('\n')
                found = []
                for line in range(lines + 1):
                    for column in (0, 6, 40):
                        at = {'line': line, 'character': column}
                        asked = self.ask('codeAction', 'applied.pm', at, range={'start': at, 'end': at}, context={})
                        found += [action for action in asked if action not in found]
                self.expect(len(found) == count, text, [action['title'] for action in found])
                for action in found:
                    made = apply(text, action['edit']['changes'][uri_of(path)])
                    self.session.change(path, made)
                    after = [fault[4] for fault in self.session.diagnostics(path)]
                    is_of_fault = bool(action.get('diagnostics')) or action['kind'] != 'refactor.rewrite'
                    self.expect(all(after.count(code) <= before.count(code) for code in after) and
                                (len(after) < len(before) or not is_of_fault), action['title'], made, before, after)

    def outlines(self):
        start = {'line': 0, 'character': 0}
        names = [symbol['name'] for symbol in self.ask('documentSymbol', 'm.pm', start)]
        self.expect(names == ['N', 'Box', 'box', 'kg', 'size', 'wide'], names)
        folds = [(fold['startLine'], fold['endLine']) for fold in self.ask('foldingRange', 'm.cl', start)]
        self.expect((0, 3) in folds, folds)
        hints = [hint['label'] for hint in self.ask('inlayHint', 'm.pm', start, range={
            'start': start, 'end': {'line': 99, 'character': 0}})]
        self.expect(hints == ['3 classes'], hints)
        found = {symbol['name'] for symbol in self.session.ask('workspace/symbol', {'query': 'Col'})}
        self.expect(found == {'Colour'}, found)
        data = self.ask('semanticTokens/full', 'm.pm', start)['data']
        words = []
        line = character = 0
        for delta, column, length, _, _ in zip(*[iter(data)] * 5):
            line, character = line + delta, column + (0 if delta else character)
            words.append(MODEL.split('\n')[line][character:character + length])
        self.expect(all(re.fullmatch(r'\w+|".*"', word) for word in words) and len(words) > 30, words)
        position = place(CALC, 'total(2.0, «»3')[2]
        help_ = self.ask('signatureHelp', 'm.cl', position)
        self.expect(help_['activeParameter'] == 1 and 'integer count' in str(help_), help_)


def main(driver):
    with tempfile.TemporaryDirectory() as directory:
        test = Test(driver, directory)
        for part in (test.definitions, test.hovers, test.completions, test.renames, test.shared_part, test.unseen_uses, test.actions, test.applied, test.outlines):
            part()
        test.expect(test.session.end() == 0, 'the end')
    print('\n'.join(test.failures))
    sys.exit(bool(test.failures))


main(sys.argv[1])
