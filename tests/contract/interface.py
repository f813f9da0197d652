#!/usr/bin/env python3
"""Lists the binary interface that headers declare, as macros for a test: RECORD(type), FIELD(type, path),
VALUE(enumerator) and FUNCTION(name).

usage: interface.py OUTPUT HEADER ..."""
import re
import sys


def body_of(text, brace):
    """The text between a brace and the one that closes it."""
    depth = 0
    for at in range(brace, len(text)):
        depth += {'{': 1, '}': -1}.get(text[at], 0)
        if depth == 0:
            return text[brace + 1:at]
    sys.exit('a brace that is not closed')


def fields(body, prefix=''):
    """The paths of all fields, also of those in records inside."""
    body = body.lstrip()
    while body:
        record = re.match(r'(?:struct|union)[ \w]*\{', body)
        if record:
            inner = body_of(body, record.end() - 1)
            name, _, body = body[record.end() + len(inner) + 1:].partition(';')
            yield from fields(inner, prefix + name.strip() + '.' * bool(name.strip()))
        else:
            names, _, body = body.partition(';')
            names = re.sub(r'\(\*(\w+)\)\(.*', r'\1', names, flags=re.S)
            if '(' not in names: # no function of C++
                yield from (prefix + name for name in re.findall(r'(\w+)(?:\[\w+\])?(?=,|$)', names))
        body = body.lstrip()


def interface(text):
    text = re.sub(r'/\*.*?\*/|//[^\n]*', '', text, flags=re.S)
    for found in re.finditer(r'^(?:typedef )?(struct|enum)\b *(\w*)[ :\w]*\{', text, re.M):
        kind, name = found.groups()
        body = body_of(text, found.end() - 1)
        if kind == 'enum':
            yield from ('VALUE(%s)' % value for value in re.findall(r'(\w+)(?: = [^,]*)?(?:,|\s*$)', body))
        else:
            yield 'RECORD(%s)' % name
            yield from ('FIELD(%s, %s)' % (name, path) for path in fields(body))
    for name in re.findall(r'^NORVANE_PROJ_API [^;(]*?(\w+)\(', text, re.M):
        yield 'FUNCTION(%s)' % name


def main():
    lines = [line for path in sorted(sys.argv[2:]) for line in interface(open(path).read())]
    with open(sys.argv[1], 'w') as stream:
        stream.write('\n'.join(lines) + '\n')


main()
