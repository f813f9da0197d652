"""A client of the language server, for tests: it starts a server, talks to it, and keeps what it says."""
import json
import os
import select
import subprocess
import time
from urllib.parse import quote


PATIENCE = 120  # seconds, for a machine that does much else


def uri_of(path):
    return 'file://' + quote(path)


class Session:
    def __init__(self, driver, initialize=True, **environment):
        self.temporary = environment.get('TMPDIR')
        self.process = subprocess.Popen([driver, 'lsp'], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        env={**os.environ, **environment})
        self.buffer, self.last_id, self.versions = b'', 0, {}
        self.shown, self.answers, self.others = {}, {}, []
        if initialize:
            self.capabilities = self.ask('initialize', {'processId': os.getpid(), 'rootUri': None,
                                                        'capabilities': {}})['capabilities']
            self.tell('initialized', {})

    # Out.
    def send_bytes(self, text):
        self.process.stdin.write(text)
        self.process.stdin.flush()

    def send(self, message):
        body = json.dumps({'jsonrpc': '2.0', **message}).encode()
        self.send_bytes(b'Content-Length: %d\r\n\r\n%s' % (len(body), body))

    def tell(self, method, params):
        self.send({'method': method, 'params': params})

    def begin(self, method, params):
        self.last_id += 1
        self.send({'id': self.last_id, 'method': method, 'params': params})
        return self.last_id

    # In.
    def receive(self, timeout=PATIENCE):
        """Takes one message; False where none comes in time, or ever."""
        end = time.monotonic() + timeout
        while True:
            head, found, rest = self.buffer.partition(b'\r\n\r\n')
            length = int(head.split(b':')[1]) if found else 0
            if found and len(rest) >= length:
                self.buffer = rest[length:]
                self.keep(json.loads(rest[:length]))
                return True
            left = end - time.monotonic()
            if left <= 0 or not select.select([self.process.stdout], [], [], left)[0]:
                return False
            more = os.read(self.process.stdout.fileno(), 1 << 16)
            if not more:
                return False
            self.buffer += more

    def keep(self, message):
        if message.get('method') == 'textDocument/publishDiagnostics':
            self.shown[message['params']['uri']] = message['params']
        elif 'method' in message:
            self.others.append(message)
        else:
            self.answers[message['id']] = message

    def wait(self, holds, what, timeout=PATIENCE):
        end = time.monotonic() + timeout
        while not holds():
            if not self.receive(max(0, end - time.monotonic())):
                raise AssertionError('no ' + what)

    def answer(self, request):
        self.wait(lambda: request in self.answers, 'answer')
        return self.answers.pop(request)

    def ask(self, method, params):
        """The result, or the error where there is none."""
        answer = self.answer(self.begin(method, params))
        return answer['result'] if 'result' in answer else answer['error']

    # Documents.
    def open(self, path, text=None, language='norvane-pm'):
        if text is None:
            with open(path, encoding='cp1252') as stream:
                text = stream.read()
        self.versions[path] = 1
        self.tell('textDocument/didOpen', {'textDocument': {
            'uri': uri_of(path), 'languageId': 'norvane-cl' if path.endswith('.cl') else language,
            'version': 1, 'text': text}})

    def change(self, path, *changes):
        """Each change is a whole text, or a pair: (line, character, line, character), text."""
        self.versions[path] += 1
        content = []
        for change in changes:
            if isinstance(change, str):
                content.append({'text': change})
            else:
                line, character, end_line, end_character = change[0]
                content.append({'range': {'start': {'line': line, 'character': character},
                                          'end': {'line': end_line, 'character': end_character}},
                                'text': change[1]})
        self.tell('textDocument/didChange', {
            'textDocument': {'uri': uri_of(path), 'version': self.versions[path]}, 'contentChanges': content})

    def close(self, path):
        self.versions.pop(path, None)
        self.tell('textDocument/didClose', {'textDocument': {'uri': uri_of(path)}})

    def shown_now(self, path):
        """What is shown of the last version, in short: (line, character, end line, end character, code);
        None until it is."""
        shown = self.shown.get(uri_of(path), {})
        if 'diagnostics' not in shown or shown.get('version') != self.versions.get(path):
            return None
        return sorted(map(short, shown['diagnostics']), key=str)

    def diagnostics(self, path):
        self.wait(lambda: self.shown_now(path) is not None, 'diagnostics of ' + path)
        return self.shown_now(path)

    def end(self):
        """Ends the session as the protocol has it; the status of the server."""
        self.ask('shutdown', None)
        self.tell('exit', None)
        return self.process.wait(PATIENCE)


def short(diagnostic):
    start, end = diagnostic['range']['start'], diagnostic['range']['end']
    return (start['line'], start['character'], end['line'], end['character'], diagnostic.get('code'))
