// Starts the language server for the documents of both languages, and stops it at the end.
const vscode = require('vscode');
const { LanguageClient, TransportKind } = require('vscode-languageclient/node');

let client;

exports.activate = () => {
  const command = vscode.workspace.getConfiguration('norvane').get('driver');
  client = new LanguageClient(
    'norvane', 'Norvane',
    { command, args: ['lsp'], transport: TransportKind.stdio },
    { documentSelector: [{ language: 'norvane-pm' }, { language: 'norvane-cl' },
      { pattern: '**/.norvane.json' }] });
  return client.start();
};

exports.deactivate = () => client && client.stop();
