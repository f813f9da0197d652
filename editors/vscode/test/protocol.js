// The server with the protocol library that the extension uses: what Neovim's client does not ask for.
const assert = require('assert');
const { spawn } = require('child_process');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { pathToFileURL } = require('url');
const protocol = require('vscode-languageserver-protocol/node');

const model = `constant N : 3;
type Colour : [red, "dark red", blue];
variable
  public colour : Colour;  public kg : integer;
rule
  colour = "dark red" -> kg > N;
  case colour of red then kg < 9 | default true esac;
`;
const [directory, driver] = [fs.mkdtempSync(path.join(os.tmpdir(), 'norvane-')), process.env.NORVANE_DRIVER || 'norvane-pm'];
const uri = pathToFileURL(path.join(directory, 'm.pm')).href;
const textDocument = { uri };
const whole = { start: { line: 0, character: 0 }, end: { line: 99, character: 0 } };

// The place of the n-th character of a text.
function position(text, offset) {
  const lines = text.slice(0, offset).split('\n');
  return { line: lines.length - 1, character: lines.pop().length };
}

function apply(text, edits) {
  const offset = ({ line, character }) => text.split('\n').slice(0, line).reduce((sum, each) => sum + each.length + 1, character);
  return edits.reduceRight((changed, { range, newText }) =>
    changed.slice(0, offset(range.start)) + newText + changed.slice(offset(range.end)), text);
}

async function main() {
  const server = spawn(driver, ['lsp'], { stdio: ['pipe', 'pipe', 'inherit'] });
  const client = protocol.createProtocolConnection(
    new protocol.StreamMessageReader(server.stdout), new protocol.StreamMessageWriter(server.stdin));
  let seen;
  const watched = new Promise((done) => client.onRequest(protocol.RegistrationRequest.type, (params) => done(params)));
  client.onNotification(protocol.PublishDiagnosticsNotification.type, (params) => seen && params.uri === uri && seen(params));
  client.listen();
  const shown = () => new Promise((done) => { seen = done; });

  const { capabilities } = await client.sendRequest(protocol.InitializeRequest.type, {
    processId: process.pid, rootUri: null, capabilities: {
      workspace: { didChangeWatchedFiles: { dynamicRegistration: true } },
      textDocument: { completion: { completionItem: { snippetSupport: true } } } } });
  await client.sendNotification(protocol.InitializedNotification.type, {});
  const { registrations: [{ registerOptions: { watchers } }] } = await watched;
  assert(watchers.some(({ globPattern }) => globPattern === '**/.norvane.json'));

  let version = 0;
  const change = async (text) => {
    const diagnostics = shown();
    version += 1;
    if (version === 1)
      client.sendNotification(protocol.DidOpenTextDocumentNotification.type, { textDocument: { uri, languageId: 'norvane-pm', version, text } });
    else
      client.sendNotification(protocol.DidChangeTextDocumentNotification.type, { textDocument: { uri, version }, contentChanges: [{ text }] });
    return (await diagnostics).diagnostics;
  };

  // Asked for before the first check has ended, all of this is answered after it, or cancelled at once.
  const found = change(model);
  const source = new protocol.CancellationTokenSource();
  const given_up = client.sendRequest(protocol.InlayHintRequest.type, { textDocument, range: whole }, source.token);
  const symbols = client.sendRequest(protocol.WorkspaceSymbolRequest.type, { query: 'COL' });
  source.cancel();
  await assert.rejects(given_up, { code: protocol.LSPErrorCodes.RequestCancelled });
  assert.deepStrictEqual((await symbols).map(({ name }) => name), ['Colour', 'colour']);
  assert.deepStrictEqual(await found, []);

  const hints = await client.sendRequest(protocol.InlayHintRequest.type, { textDocument, range: whole });
  assert.deepStrictEqual(hints.map(({ label }) => label), ['= 0', '= 1', '= 2', '5 classes']);

  const { legend } = capabilities.semanticTokensProvider;
  const { data } = await client.sendRequest(protocol.SemanticTokensRequest.type, { textDocument });
  const kinds = {};
  for (let i = 0, line = 0, character = 0; i < data.length; i += 5) {
    character = data[i + 1] + (data[i] ? 0 : character);
    line += data[i];
    const modifiers = legend.tokenModifiers.filter((_, bit) => data[i + 4] & (1 << bit)).join(' ');
    (kinds[model.split('\n')[line].substr(character, data[i + 2])] ||= []).push(`${legend.tokenTypes[data[i + 3]]} ${modifiers}`.trim());
  }
  assert.deepStrictEqual(kinds, {
    N: ['variable declaration readonly', 'variable readonly'], Colour: ['type declaration', 'type'],
    red: ['enumMember declaration readonly', 'enumMember readonly'], blue: ['enumMember declaration readonly'],
    '"dark red"': ['enumMember declaration readonly', 'enumMember readonly'],
    colour: ['variable declaration', 'variable', 'variable'], kg: ['variable declaration', 'variable', 'variable'] });

  const snippets = await client.sendRequest(protocol.CompletionRequest.type, { textDocument, position: position(model, model.indexOf('  case')) });
  assert(snippets.some(({ insertText, insertTextFormat }) => insertTextFormat === 2 && insertText.includes('${1:')));

  // What an action changes comes with it, so that none is left to resolve; and each does what its title says.
  assert(!capabilities.codeActionProvider.resolveProvider);
  const act = async (text, at, title) => {
    const diagnostics = await change(text);
    const actions = await client.sendRequest(protocol.CodeActionRequest.type, {
      textDocument, range: { start: position(text, text.indexOf(at)), end: position(text, text.indexOf(at)) }, context: { diagnostics } });
    const action = actions.find((each) => each.title.includes(title));
    assert(action, `${title}: ${JSON.stringify(actions)}`);
    return change(apply(text, action.edit.changes[uri]));
  };
  assert.deepStrictEqual(await act(model, 'default', 'add the arms'), []);
  assert.deepStrictEqual(await act(model.replace('kg < 9', 'kq < 9'), 'case', 'did you mean'), []);
  assert.deepStrictEqual(await act(model.replace('kg > N', 'heavy'), 'heavy', 'declare'), []);

  await client.sendRequest(protocol.ShutdownRequest.type);
  const status = new Promise((done) => server.on('exit', done));
  await client.sendNotification(protocol.ExitNotification.type);
  assert.strictEqual(await status, 0);
}

main().then(() => console.log('the session with the server went as it should'))
  .finally(() => fs.rmSync(directory, { recursive: true }))
  .catch((error) => { console.error(error); process.exit(1); });
