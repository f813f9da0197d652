// Every word, comment and text of the examples has the scope that its kind should have.
//
// A small scanner of its own tells the kinds apart; the words are those that the references list as reserved.
const assert = require('assert');
const fs = require('fs');
const path = require('path');
const oniguruma = require('vscode-oniguruma');
const textmate = require('vscode-textmate');

const root = path.join(__dirname, '../../..');
const kinds = {
  directive: 'meta.preprocessor', comment: 'comment', text: 'string.quoted.double', number: 'constant.numeric',
  reserved: /^(keyword|storage|constant\.language)/, name: /^(variable\.other|entity\.name)/ };
const languages = {
  pm: /(?<directive>^[ \t]*#(?:\\\n|.)*)|(?<text>"(?:\\.|[^"\\])*")|(?<number>\b\d+(?:\.\d+)?\b)|(?<word>[A-Za-z_]\w*)/gm,
  cl: /(?<comment>\/\/.*|\/\*[^]*?\*\/)|(?<text>"(?:\\.|[^"\\])*")|(?<number>\b\d+(?:\.\d+)?\b)|(?<word>[A-Za-z_]\w*)/gm };
const references = { pm: 'pm-grammar.md', cl: 'calculation-grammar.md' };

// Comments of models nest, which no regular expression follows: they are blanked, and their places kept.
function nested_comments(text) {
  const found = [];
  for (let at = 0, depth = 0, start = 0; at < text.length; ++at) {
    if (!depth && text[at] === '"') at = text.indexOf('"', at + 1);
    else if (text.startsWith('/*', at)) { if (!depth++) start = at; ++at; }
    else if (depth && text.startsWith('*/', at)) { ++at; if (!--depth) found.push([start, at + 1]); }
  }
  return found;
}

function pieces_of(text, language, reserved) {
  const found = [];
  let code = text;
  for (const [start, end] of language === 'pm' ? nested_comments(text) : []) {
    found.push(['comment', start, end]);
    code = code.slice(0, start) + code.slice(start, end).replace(/[^\n]/g, ' ') + code.slice(end);
  }
  for (const match of code.matchAll(languages[language])) {
    const [kind] = Object.entries(match.groups).find(([, value]) => value !== undefined);
    found.push([kind !== 'word' ? kind : reserved.has(match[0]) ? 'reserved' : 'name', match.index, match.index + match[0].length]);
  }
  return found;
}

function scopes_of(text, grammar) {
  const scopes = [];
  let stack = textmate.INITIAL;
  for (const line of text.split('\n')) {
    const { tokens, ruleStack } = grammar.tokenizeLine(line, stack);
    for (const token of tokens)
      for (let i = token.startIndex; i < Math.min(token.endIndex, line.length); ++i) scopes.push(token.scopes);
    scopes.push([]); // the end of the line
    stack = ruleStack;
  }
  return scopes;
}

async function main() {
  await oniguruma.loadWASM(fs.readFileSync(require.resolve('vscode-oniguruma/release/onig.wasm')));
  const registry = new textmate.Registry({
    onigLib: Promise.resolve({
      createOnigScanner: (patterns) => new oniguruma.OnigScanner(patterns),
      createOnigString: (string) => new oniguruma.OnigString(string) }),
    loadGrammar: (scope) => {
      const file = path.join(__dirname, '../syntaxes', scope.replace('source.', '') + '.tmLanguage.json');
      return textmate.parseRawGrammar(fs.readFileSync(file, 'utf8'), file);
    } });
  const counts = {};
  for (const language of ['pm', 'cl']) {
    const grammar = await registry.loadGrammar('source.norvane-' + language);
    const words = fs.readFileSync(path.join(root, 'docs', references[language]), 'utf8').match(/```words\n([^]*?)```/)[1];
    const reserved = new Set([...words.split(/\s+/).filter(Boolean), ...(language === 'pm' ? ['SOME', 'NONE'] : [])]);
    const examples = fs.readdirSync(path.join(root, 'examples'), { recursive: true }).filter((name) => name.endsWith('.' + language));
    for (const example of examples) {
      const text = fs.readFileSync(path.join(root, 'examples', example), 'latin1');
      const scopes = scopes_of(text, grammar);
      for (const [kind, start, end] of pieces_of(text, language, reserved)) {
        counts[`${language} ${kind}`] = (counts[`${language} ${kind}`] || 0) + 1;
        for (let i = start; i < end; ++i) {
          if (text[i] === '\n') continue;
          const fits = scopes[i].some((scope) => scope.match(kinds[kind]));
          const where = `${example}: ${kind} '${text.slice(start, end)}': ${scopes[i]}`;
          assert(fits, where);
          assert(kind === 'comment' || kind === 'directive' || !scopes[i].some((scope) => scope.startsWith('comment')), where);
        }
      }
    }
  }
  assert(Object.values(counts).reduce((sum, count) => sum + count) > 3000, JSON.stringify(counts));
  console.log('scopes of the examples:', counts);
}

main().catch((error) => { console.error(error.message); process.exit(1); });
