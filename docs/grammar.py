"""Writes the grammars of the two languages as EBNF, from the grammars that the parsers are made of.

A page shows them in blocks. Of a block `ebnf` the page gives the names of the rules: each is written
out anew, with every rule that the page does not name in the place where it is used. A block
`precedence` has the operators, the weakest first, and a block `words` the reserved words."""
import re
import textwrap

TOKEN = re.compile(r'/\*.*?\*/|//[^\n]*|"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)*\'|%?[A-Za-z_]\w*|\S', re.S)
GROUPS = {'left': 'left', 'right': 'right', 'nonassoc': 'none', 'precedence': '-'}


class Grammar:
    def __init__(self, path):
        with open(path) as stream:
            declarations, rules = stream.read().split('\n%%\n')[:2]
        self.levels = re.findall(r'^%(left|right|nonassoc|precedence)((?: "[^"]+")+)$', declarations, re.M)
        self.words = sorted(re.findall(r'^%token \w+ "([a-z]+)"$', declarations, re.M))
        self.start = re.search(r'^%start (\w+)', declarations, re.M).group(1)
        # Tokens with a value stand for many spellings: they go by their names, without quotes.
        self.classes = {text: name for name, text in
                        re.findall(r'^%token <\w+> (\w+) ("[^"]+")$', declarations, re.M)}
        self.rules = {}
        tokens = [token for token in TOKEN.findall(rules) if not token.startswith(('/*', '//'))]
        depth, name, skip = 0, None, False
        for position, token in enumerate(tokens):
            if token in '{}':
                depth += 1 if token == '{' else -1
            elif depth or skip:
                skip = False
            elif not name:
                name, alternatives = token, []
            elif token in (':', '|'):
                alternatives.append([])
            elif token == ';':
                # What a parser does after a mistake is no part of the language.
                self.rules[name] = [a for a in alternatives if 'error' not in a]
                name = None
            elif token == '%prec':
                skip = True
            elif token != '%empty':
                alternatives[-1].append(token)

    def body(self, name, shown):
        """The alternatives of a rule as texts, repetitions and options in the brackets of EBNF."""
        alternatives = self.rules[name]
        repeated = [a[1:] for a in alternatives if a[:1] == [name]]
        first = [a for a in alternatives if a[:1] != [name]]
        if repeated and len(first) == 1:
            tail = '{ %s }' % self.choice(repeated, shown)
            return [' '.join(filter(None, (self.sequence(first[0], shown), tail)))]
        if [] in alternatives:
            some = self.choice([a for a in alternatives if a], shown)
            return ['[ %s ]' % some] if some else ['']
        return [self.sequence(a, shown) for a in merged(alternatives)]

    def choice(self, alternatives, shown):
        return ' | '.join(self.sequence(a, shown) for a in merged(alternatives))

    def sequence(self, symbols, shown):
        texts = [self.symbol(symbol, shown) for symbol in symbols]
        if len(texts) == 1:
            return ' | '.join(texts[0])
        return ' '.join(t[0] if len(t) == 1 else '( %s )' % ' | '.join(t) for t in texts if t != [''])

    def symbol(self, symbol, shown):
        """The alternatives that stand for a symbol: itself, unless it is a rule that is not shown."""
        if symbol not in self.rules or symbol in shown:
            return [self.classes.get(symbol, symbol)]
        return self.body(symbol, shown)

    def rule(self, name, shown):
        head = name + ' = '
        lines = []
        for text in self.body(name, shown):
            mark = head if not lines else '| '.rjust(len(head))
            # An opening bracket stays on the line of what it opens.
            text = re.sub(r'(?<= )([{[(]) ', '\\1\0', text)
            lines += textwrap.wrap(text, 90, initial_indent=mark, subsequent_indent=' ' * len(head),
                                   break_on_hyphens=False)
        return '\n'.join(lines).replace('\0', ' ') + ' ;\n'

    def block(self, kind, old, shown):
        if kind == 'words':
            return textwrap.fill(' '.join(self.words), 90) + '\n'
        if kind == 'precedence':
            return ''.join('%-6s%s\n' % (GROUPS[how], operators) for how, operators in self.levels)
        return '\n'.join(self.rule(name, shown) for name in names_in(old) if name in self.rules)


def merged(alternatives):
    """Joins neighbours that differ in one terminal: `e "+" e` and `e "-" e` to `e ( "+" | "-" ) e`."""
    groups = []
    for alternative in alternatives:
        place = None
        if groups and len(alternative) == len(groups[-1][0]) > 1:
            differences = [i for i, (a, b) in enumerate(zip(groups[-1][0], alternative)) if a != b]
            if len(differences) == 1 and alternative[differences[0]][0] == groups[-1][0][differences[0]][0] == '"':
                place = differences[0]
        if place is not None and groups[-1][1] in (None, place):
            groups[-1][1] = place
            groups[-1][2].append(alternative[place])
        else:
            groups.append([alternative, None, []])
    for symbols, place, others in groups:
        if place is not None:
            symbols = symbols[:]
            symbols[place] = '( %s )' % ' | '.join([symbols[place]] + others)
        yield symbols


def names_in(block):
    return re.findall(r'^(\w+) =', block, re.M)


def refreshed(page, path):
    """The text of a page with its blocks written anew from the grammar in a file."""
    grammar = Grammar(path)
    blocks = re.compile(r'^(```(ebnf|precedence|words)\n)(.*?)^```', re.M | re.S)
    shown = {name for _, kind, block in blocks.findall(page) if kind == 'ebnf' for name in names_in(block)}
    # From the start every rule is shown or written out; one that nothing shown leads to is not there.
    if grammar.start not in shown:
        raise SystemExit('the page of %s does not show the rule %s' % (path, grammar.start))
    return blocks.sub(lambda b: b[1] + grammar.block(b[2], b[3], shown) + '```', page)
