#!/usr/bin/env python3
"""Makes what the fuzz targets begin with: small inputs, one a case, out of the tables of the test suite,
and words, out of the document types and the scanners.

usage: seeds.py DIRECTORY

Puts the inputs into DIRECTORY/TARGET, and the words into DIRECTORY/TARGET.dict. The tables hold each
construct, and each way to get it wrong, once; the test suite replays the inputs.
"""
import glob
import os
import re
import sys

HEAD = '<calculation><namespace name="N"><function name="f" type="int">'
TAIL = '</function></namespace></calculation>'
EXPRESSION = ('namespace N { void f(integer i, integer j, float x, float y, string s, string z, '
              'boolean b, boolean c) { %s; } }')
# Of every construct, for targets whose readers take the constructs one by one.
WHOLE_DOCUMENT = re.compile(r'(?s)^(.*?<model>\n)(.*)(</model>\n)$')


def as_function(text):
    return text if text.startswith('namespace') else 'namespace N { %s }' % text


def as_statements(text):
    return text if text.startswith('namespace') else 'namespace N { void f() { %s } }' % text


def as_document(text):
    text = text.replace('<x>', '<e><stmt><return_stmt><expr>').replace('</x>', '</expr></return_stmt></stmt></e>')
    return text.replace('<e>', HEAD).replace('</e>', TAIL)


def rows(text, line_feed, make):
    """The fields before the first arrow of each line."""
    return [make(line.split(' =>')[0].replace(line_feed, '\n'))
            for line in text.split('\n') if ' =>' in line and not line.startswith(('#', '--'))]


def parts(text):
    """A document for each few of the lines of a large one."""
    head, body, tail = WHOLE_DOCUMENT.match(text).groups()
    lines = body.splitlines(keepends=True)
    return [text] + [head + ''.join(lines[i:i + 3]) + tail for i in range(0, len(lines), 3)]


def words_of_scanner(text):
    """The tokens that stand in the rules as they are."""
    return re.findall(r'^"((?:[^"\\\n]|\\.)+)"', text, re.M) + ['2147483647', '-2147483648', '1.5', r'\"a\"']


def words_of_dtd(text):
    """The tags, the attributes and their values, and what any document may hold."""
    text = re.sub(r'(?s)<!--.*?-->', '', text)
    tags = re.findall(r'<!ELEMENT ([\w-]+)', text)
    lists = ' '.join(re.findall(r'(?s)<!ATTLIST [\w-]+(.*?)>', text))
    names = re.findall(r'([\w-]+)\s+(?:CDATA|\()', lists)
    values = [value for choice in re.findall(r'\(([^)]*)\)', lists) for value in re.findall(r'[\w-]+', choice)]
    return (XML_WORDS + [form % tag for tag in tags for form in ('<%s>', '</%s>', '<%s/>')] +
            [' %s=\\"' % name for name in names] + ['\\"%s\\"' % value for value in values])


# Of a target: tables below tests, the sign for a line feed in them, and how a case becomes an input.
TABLES = [
    ('pm', 'model/data/check/projects model/data/simplify/rules model/data/simplify/types '
           'model/data/simplify/expansion', '\\n', str),
    ('pm', 'model/data/frontend_trees model/data/frontend_errors', '^', str),
    ('model_xml', 'model/data/xml/reads model/data/xml/refusals', '^', str),
    ('presentation', 'model/data/xml/presentations', '^', str),
    ('varorder', 'model/data/xml/var_orders', '^', str),
    ('workspace', 'zeb/data/files', '^', str),
    ('cl', 'calc/data/syntax_trees calc/data/syntax_errors', '$', as_statements),
    ('cl', 'calc/data/check/functions', '$', as_function),
    ('cl', 'calc/data/check/expressions', '$', EXPRESSION.__mod__),
    ('clx', 'calc/data/xml/reads calc/data/xml/refusals', '^', as_document),
]
XML_WORDS = [r'<?xml version=\"1.0\" encoding=\"UTF-16\"?>', r'<!DOCTYPE a [<!ENTITY e \"x\">]>', '&e;',
             r'<!ENTITY e SYSTEM \"/etc/passwd\">', '<![CDATA[', ']]>', '<!--', '-->', '/>', '</',
             '&amp;', '&#0;', '&#65;', '&#x10FFFF;', r'=\"', r'\xC3\xA9']
WORDS = {'pm': ('libs/**/pmlexer.l', words_of_scanner), 'cl': ('libs/**/calclexer.l', words_of_scanner),
         'clx': ('dtd/clx.dtd', words_of_dtd), 'model_xml': ('dtd/product_model.dtd', words_of_dtd),
         'presentation': ('dtd/presentation.dtd', words_of_dtd), 'varorder': ('dtd/varorder.dtd', words_of_dtd),
         'workspace': ('dtd/zeb.dtd', words_of_dtd), 'package': ('dtd/clx.dtd', lambda text: ['PK', 'a.clx'])}


def read(path):
    path, = glob.glob(path, recursive=True)
    with open(path, encoding='latin-1') as stream:
        return stream.read()


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'w', encoding='latin-1') as stream:
        stream.write(text)


def main():
    top = os.path.abspath(sys.argv[1])
    os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..'))
    seeds = {'model_xml': parts(read('tests/model/data/xml/every_construct.xml'))}
    for target, tables, line_feed, make in TABLES:
        for table in tables.split():
            cases = rows(read('tests/%s.txt' % table), line_feed, make)
            if not cases:
                sys.exit('no seeds in ' + table)
            seeds.setdefault(target, []).extend(cases)
    for target, cases in seeds.items():
        for index, case in enumerate(cases):
            write(os.path.join(top, target, str(index)), case)
    for target, (source, words) in WORDS.items():
        write(os.path.join(top, target + '.dict'), ''.join('"%s"\n' % word for word in words(read(source))))


if __name__ == '__main__':
    main()
