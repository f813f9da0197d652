#!/usr/bin/env python3
"""Marks the comments of a header as documentation for Doxygen: doxygen_filter.py HEADER writes the header
with every line in its place.

In the headers a comment describes what follows it up to the next empty line: one declaration, or a group of
them. A comment at the end of a line describes the field or enumerator on that line; the comment of a record
covers its fields that have none. The first comment of a file describes the file. A comment followed by an
empty line is a heading for readers of the source, and not shown."""
import glob
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
FUNCTION = re.compile(r'^(?:extern "C" )?NORVANE_(?:PROJ|BASE)_API\b[^;(]*?\b(\w+)\(')
ENDING = re.compile(r'^(\}|NORVANE_END_DECLS|#endif)')
RECORD = re.compile(r'^\s*(?:template.*> *)?(?:typedef )?(?:struct|union|class)\b[^;(]*\{$')
NO_FIELD = re.compile(r'^\s*(?:\}|#|friend |(?:public|private|protected):)')
COVERED = '&nbsp;' # documentation for Doxygen, invisible on the page
TRAILING = re.compile(r'^(\s*[^\s#/].*?)\s*(?:/\*|//) ?(.*)$')


def headers():
    return sorted(glob.glob(os.path.join(HERE, '..', 'libs', '*', 'include', 'norvane', '**', '*.h*'),
                            recursive=True))


def read(path):
    with open(path) as stream:
        return stream.read()


def functions_in(text):
    """The exported functions that the lines of a header declare."""
    return [found.group(1) for found in map(FUNCTION.match, text.replace('\n   ', ' ').split('\n'))
            if found]


class Parser:
    """Walks the lines of a header. `marked` is the header with its comments marked; `about` maps each
    exported function to the text of the comment that describes it, or to an empty text."""

    def __init__(self, text, names=()):
        self.names = set(names) # of functions, which become links in the comments
        self.lines = text.splitlines()
        self.marked = []
        self.about = {}
        self.at = 0
        self.depth = 0 # of braces
        self.records = set() # the depths of braces that contain fields
        self.parentheses = 0
        self.between = True # at the beginning of a declaration
        self.comments = {} # by depth, the comment that describes the next declaration
        self.fresh = False # the comment stands directly before the next declaration
        while self.at < len(self.lines):
            stripped = self.lines[self.at].strip()
            if not stripped:
                if self.between:
                    self.comments.pop(self.depth, None)
                self.put('')
            elif stripped.startswith(('/*', '//')):
                self.comment()
            else:
                self.code()

    def put(self, line, lines=1):
        """Writes a line that replaces so many lines, and keeps their number."""
        self.marked.append(line + '\n' * (lines - 1 - line.count('\n')))
        self.at += lines

    def comment_end(self, start):
        if '/*' in self.lines[start]:
            return next(i for i in range(start, len(self.lines)) if '*/' in self.lines[i]) + 1
        end = start + 1
        while self.lines[end].strip().startswith('//'):
            end += 1
        return end

    def comment(self):
        end = self.comment_end(self.at)
        block = self.lines[self.at:end]
        text = '\n'.join(re.sub(r'^\s*(?:/\*|\*(?!/)|//) ?|\s*\*/$', '', line) for line in block)
        next_line = self.lines[end].strip() if end < len(self.lines) else ''
        if self.at == 0:
            self.put('/** ' + self.escaped(text) + ' @file */', len(block))
        elif next_line and not ENDING.match(next_line):
            group = functions_in('\n'.join(self.lines[end:]).split('\n\n')[0])
            said = self.escaped(text)
            if len(group) > 1:
                said += ' <i>Said of %s.</i>' % ', '.join(name + '()' for name in group)
            self.comments[self.depth] = said
            self.fresh = True
            self.put('/** ' + said + ' */', len(block))
        else:
            self.put('\n'.join(block), len(block))

    def code(self):
        line = self.lines[self.at]
        code = re.sub(r'/\*.*?(\*/|$)|//.*|"(?:\\.|[^"\\])*"', '', line).strip()
        trailing = TRAILING.match(line)
        front = ''
        if self.between:
            comment = self.comments.get(self.depth, '')
            function = FUNCTION.match(' '.join(part.strip() for part in self.lines[self.at:self.at + 4]))
            if function:
                self.about[function.group(1)] = comment
            if function and not self.fresh:
                front = comment
            elif self.depth in self.records and not self.fresh and not trailing and \
                    not NO_FIELD.match(code):
                front = COVERED
            self.fresh = False
        if self.depth - 1 in self.records and re.match(r'\} \w', code) and not trailing:
            line += ' /**< %s */' % COVERED
        self.follow(code)
        if front:
            line = '/** %s */ %s' % (front.replace('\n', ' '), line)
        if not trailing:
            self.put(line)
            return
        end = self.comment_end(self.at) if '/*' in line else self.at + 1
        text = ' '.join([trailing.group(2)] + [part.strip() for part in self.lines[self.at + 1:end]])
        line = line[:line.rindex('/*' if '/*' in trailing.group(0) else '//')]
        self.put('%s /**< %s */' % (line.rstrip(), self.escaped(text.replace('*/', '').strip())),
                 end - self.at)

    def follow(self, code):
        """Keeps track of the position in the code: braces, parentheses, beginnings of declarations."""
        if code.startswith('#'):
            self.between = not code.endswith('\\')
            return
        opened = code.count('{') - code.count('}')
        self.records.discard(self.depth if opened < 0 else None)
        self.depth += opened
        if opened > 0 and RECORD.match(code):
            self.records.add(self.depth)
        self.parentheses += code.count('(') - code.count(')')
        if code:
            self.between = self.parentheses == 0 and (code[-1] in ';{},:' or code.endswith('_DECLS'))

    def escaped(self, text):
        """A text for Doxygen: without commands, with links to functions, and with code marked."""
        def plain(part):
            part = re.sub(r'[\\@&$#<>%"]', lambda found: '\\' + found.group(), part)
            part = part.replace('::', '\\::').replace('--', '\\--')
            return re.sub(r'\b[A-Za-z]\w+\b(?![(\w])',
                          lambda found: found.group() + ('()' if found.group() in self.names else ''), part)

        parts = text.split('`')
        return ''.join('<code>%s</code>' % plain(part) if i % 2 else plain(part)
                       for i, part in enumerate(parts))


def main():
    names = [name for path in headers() for name in functions_in(read(path))]
    print('\n'.join(Parser(read(sys.argv[1]), names).marked))


if __name__ == '__main__':
    main()
