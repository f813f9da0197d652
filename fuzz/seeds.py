#!/usr/bin/env python3
"""Makes seeds for the fuzzer from the tables of the test suite, one for each case.

usage: seeds.py DIRECTORY

Writes them to DIRECTORY/TARGET. The tables contain every construct, and every fault in it, once.
"""
import os
import re
import sys

HEAD = '<calculation><namespace name="N"><function name="f" type="int">'
TAIL = '</function></namespace></calculation>'
EXPRESSION = ('namespace N { void f(integer i, integer j, float x, float y, string s, string z, '
              'boolean b, boolean c) { %s; } }')
# A document of all constructs, which is split, since a reader stops at the first fault.
WHOLE_DOCUMENT = re.compile(r'(?s)^(.*?<model>\n)(.*)(</model>\n)$')


def as_function(text):
    return text if text.startswith('namespace') else 'namespace N { %s }' % text


def as_document(text):
    text = text.replace('<x>', '<e><stmt><return_stmt><expr>').replace('</x>', '</expr></return_stmt></stmt></e>')
    return text.replace('<e>', HEAD).replace('</e>', TAIL)


def rows(text, line_feed, make=str):
    """The fields before the first arrow of each line."""
    return [make(line.split(' =>')[0].replace(line_feed, '\n'))
            for line in text.split('\n') if ' =>' in line and not line.startswith(('#', '--'))]


def blocks(text):
    """The runs of lines that begin with ">"."""
    return ['\n'.join(line[1:].strip(' ') for line in block.splitlines())
            for block in re.findall(r'(?m)(?:^>.*\n)+', text)]


def parts(text):
    """A large document as several, of three lines each."""
    head, body, tail = WHOLE_DOCUMENT.match(text).groups()
    lines = body.splitlines(keepends=True)
    return [head + ''.join(lines[i:i + 3]) + tail for i in range(0, len(lines), 3)]


TABLES = [
    ('pm', 'tests/model/data/check/projects.txt', lambda text: rows(text, '\\n')),
    ('pm', 'tests/model/data/simplify/rules.txt', lambda text: rows(text, '\\n')),
    ('pm', 'tests/model/data/simplify/types.txt', lambda text: rows(text, '\\n')),
    ('pm', 'tests/model/data/simplify/expansion.txt', lambda text: rows(text, '\\n')),
    ('pm', 'tests/model/data/frontend_trees.txt', blocks),
    ('pm', 'tests/model/data/frontend_errors.txt', blocks),
    ('model_xml', 'tests/model/data/xml/every_construct.xml', parts),
    ('model_xml', 'tests/model/data/xml/reads.txt', lambda text: rows(text, '^')),
    ('model_xml', 'tests/model/data/xml/refusals.txt', lambda text: rows(text, '^')),
    ('presentation', 'tests/model/data/xml/presentations.txt', lambda text: rows(text, '^')),
    ('varorder', 'tests/model/data/xml/var_orders.txt', lambda text: rows(text, '^')),
    ('workspace', 'tests/zeb/data/files.txt', lambda text: rows(text, '^')),
    ('cl', 'tests/calc/data/syntax_trees.txt', blocks),
    ('cl', 'tests/calc/data/syntax_errors.txt', blocks),
    ('cl', 'tests/calc/data/check/functions.txt', lambda text: rows(text, '$', as_function)),
    ('cl', 'tests/calc/data/check/expressions.txt', lambda text: rows(text, '$', EXPRESSION.__mod__)),
    ('clx', 'tests/calc/data/xml/reads.txt', lambda text: rows(text, '^', as_document)),
    ('clx', 'tests/calc/data/xml/refusals.txt', lambda text: rows(text, '^', as_document)),
]


def main():
    top = os.path.abspath(sys.argv[1])
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..'))
    for number, (target, table, cases) in enumerate(TABLES):
        directory = os.path.join(top, target)
        os.makedirs(directory, exist_ok=True)
        with open(table, encoding='latin-1') as stream:
            seeds = cases(stream.read())
        for index, seed in enumerate(seeds):
            with open(os.path.join(directory, '%d-%d' % (number, index)), 'w', encoding='latin-1') as stream:
                stream.write(seed)


if __name__ == '__main__':
    main()
