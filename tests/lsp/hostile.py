#!/usr/bin/env python3
"""A client that does everything wrong. The server answers what can be answered, and goes on."""
import os
import signal
import subprocess
import sys
import tempfile
import time

from session import PATIENCE, Session, uri_of

PARSE, REQUEST, NO_METHOD, PARAMS, NOT_YET, CANCELLED = -32700, -32600, -32601, -32602, -32002, -32800
MODEL = 'variable public a : boolean;\nrule a;\n'
LONG_MODEL = 'variable public a : boolean;\nrule ' + ' and '.join(['a'] * 200000) + ';\n'


def framed(body):
    return b'Content-Length: %d\r\n\r\n%s' % (len(body), body)


# What is sent, and the code of the answer without an id.
MALFORMED = [
    (framed(b'{"jsonrpc": '), PARSE),
    (framed(b'[]'), REQUEST),
    (framed(b'{"id": {}, "method": "shutdown"}'), REQUEST),
    (framed(b'{"id": 5.5, "method": "shutdown"}'), REQUEST),
    (framed(b'\xff\xfe'), PARSE),
    (framed(b'[' * 200000), PARSE),
    (framed(b'{"id": 1, "method": "textDocument/hover", "params": %s1%s}' % (b'{"a":' * 99999, b'}' * 99999)), PARSE),
    (framed(b'{"id": %s, "method": "x"}' % (b'[' * 200000 + b']' * 200000)) +
     framed(b'{"method": "$/cancelRequest", "params": {"id": 5}}'), PARSE),
    (b'Content-Length: 10\r\n\r\n{"id":1,"method":"x"}', PARSE),
    (b'Content-Length: x\r\n\r\n', PARSE),
    (b'Content-Length: 99999999999999999999999\r\n\r\n', PARSE),
    (b'Hello\r\n\r\n', PARSE),
    (b'x' * 100000, PARSE),
]


def expect(condition, what):
    if not condition:
        raise AssertionError(what)


def children(process):
    out = subprocess.run(['ps', '-o', 'pid=', '--ppid', str(process.pid)], capture_output=True, text=True)
    return out.stdout.split()


def malformed(session, path):
    for text, code in MALFORMED:
        session.answers.clear()
        session.send_bytes(text)
        session.wait(lambda: None in session.answers, 'answer to %r' % text[:40])
        expect(session.answers[None]['error']['code'] == code, text[:40])
        expect(session.ask('no/such', {})['code'] == NO_METHOD, 'the next message after %r' % text[:40])


def odd_parameters(session, path):
    """Parameters of other types; a document that is not open, or opened twice, or whose file cannot be read;
    positions beyond a text."""
    for params in (None, [], 5, {'textDocument': 5}, {'textDocument': {'uri': 7}},
                   {'textDocument': {'uri': uri_of(path)}, 'contentChanges': [5, {}, {'text': 5}]}):
        for method in ('didOpen', 'didChange', 'didSave', 'didClose'):
            session.tell('textDocument/' + method, params)
        session.tell('workspace/didChangeWatchedFiles', params)
        session.tell('$/cancelRequest', params)
    session.open('/proc/self/mem', 'rule a;')
    expect(session.diagnostics('/proc/self/mem'), 'a file with a read error')
    session.open(path, MODEL)
    session.open(path, MODEL)
    session.change(path, ((7, 0, 9, 9), 'x'), ((0, 99, 0, 3), ' '), ((-1, -1, 0, 0), ''), ((2**40, 0, 2**40, 1), ''))
    expect(session.diagnostics(path), 'the text was not changed')


def flood(session, path):
    """10,000 changes in a row, one run at a time, and the diagnostics of the last one."""
    session.open(path, MODEL)
    for i in range(10000):
        session.change(path, ((1, 5, 1, 6), 'ab'[i % 2]))
    expect(len(children(session.process)) <= 1, 'two runs at a time')
    expect(session.diagnostics(path)[0][:4] == (1, 5, 1, 6), 'other diagnostics')


def cancelled(session, path):
    """What waits for a run can be given up, and what is not is answered after the run."""
    session.open(path, LONG_MODEL)
    hover, symbols, links = (session.begin(method, {
        'textDocument': {'uri': uri_of(path)}, 'query': 'a', 'position': {'line': 0, 'character': 16}})
        for method in ('textDocument/hover', 'workspace/symbol', 'textDocument/definition'))
    session.tell('$/cancelRequest', {'id': hover})
    session.tell('$/cancelRequest', {'id': symbols})
    expect(session.answer(hover)['error']['code'] == session.answer(symbols)['error']['code'] == CANCELLED, 'not cancelled')
    expect(session.shown_now(path) is None, 'the run has ended before')
    expect(session.answer(links)['result']['range']['start']['line'] == 0, 'no answer after the run')


def huge(session, path):
    session.open(path, '/*' + 'x' * 100_000_000 + '*/' + MODEL)
    expect(session.diagnostics(path), 'a file of 100 MB')
    expect('too large' in session.shown[uri_of(path)]['diagnostics'][0]['message'], 'a file of 100 MB')
    session.close(path)
    session.open(path, MODEL + 'rule a' + ' and a' * 60_000 + ';')
    request = {'textDocument': {'uri': uri_of(path)}}
    expect(len(session.ask('textDocument/semanticTokens/full', request)['data']) > 300_000, 'a long line')
    session.close(path)
    names = ['public a%d : boolean;' % i for i in range(30_000)]
    session.open(path, 'variable ' + ' '.join(names))
    expect(len(session.ask('textDocument/documentSymbol', request)) == len(names), 'an outline of a long line')
    session.close(path)


def deep(session, path):
    for text in ('rule ' + '(' * 100000, '{' * 100000, 'type T : ' + 'optional ' * 100000, '/*' * 100000):
        session.open(path, MODEL + text)
        expect(session.diagnostics(path), 'deep nesting')


def out_of_memory(driver, path):
    """The run or the message that needs more than there is ends, and the server goes on."""
    def limited(kilobytes):
        with open(os.path.join(os.path.dirname(path), 'limited'), 'w') as script:
            script.write('#!/bin/sh\nulimit -v %d\nexec %s "$@"\n' % (kilobytes, driver))
        os.chmod(script.name, 0o700)
        return Session(script.name)
    session = limited(3 << 20)
    session.open(path, 'variable public a : array 16000000 of array 16000000 of boolean;\nrule ' +
                 ' and '.join('forall i in [0..9] : (a[i][i])' for i in range(300000)) + ';\n')
    session.diagnostics(path)
    session.change(path, MODEL)
    expect(session.diagnostics(path) == [], 'the run after it')
    expect(session.end() == 0, 'the end')
    session = limited(300_000)
    for size in (70_000_000, 100_000_000):
        session.others.clear()
        session.open(path, '/*' + 'x' * size + '*/')
        session.wait(lambda: 'again' in str(session.others), 'message about the text that is lost')
        session.open(path, MODEL)
        expect(session.diagnostics(path) == [], 'the document that is opened again')
    expect(session.end() == 0, 'the end of the small one')


def ends(driver, path):
    """The server ends with its client, however that goes, and leaves no process and no file."""
    def kill(number):
        return lambda session: session.process.send_signal(number)
    def crash(session):
        session.process.send_signal(signal.SIGSTOP)
        session.process.send_signal(signal.SIGSEGV)
        runs = children(session.process)
        for pid in runs:
            os.kill(int(pid), signal.SIGKILL)
        session.process.send_signal(signal.SIGCONT)
        while any(os.path.exists('/proc/' + pid) for pid in runs): # the system takes them over
            time.sleep(0.01)
    def close_pipes(session):
        session.process.stdin.close()
    def stop_reading(session):
        session.process.stdout.close()
        session.open(path, MODEL)
    def exit_at_once(session):
        session.tell('exit', None)
    kills = [(kill(number), 1) for number in (signal.SIGTERM, signal.SIGQUIT, signal.SIGUSR1, signal.SIGALRM, signal.SIGRTMIN)]
    for end, status in (*kills, (crash, -signal.SIGSEGV), (close_pipes, 1), (stop_reading, 1), (exit_at_once, 1)):
        with tempfile.TemporaryDirectory() as directory:
            session = Session(driver, TMPDIR=directory)
            session.open(path, LONG_MODEL)
            time.sleep(0.05)
            pids = children(session.process)
            end(session)
            expect(session.process.wait(PATIENCE) == status, end.__name__)
            expect(os.listdir(directory) == [], end.__name__ + ' leaves ' + str(os.listdir(directory)))
            expect(not any(os.path.exists('/proc/%s/stat' % pid) for pid in pids), end.__name__ + ': a process')


def out_of_order(driver, path):
    session = Session(driver, initialize=False)
    expect(session.ask('shutdown', None)['code'] == NOT_YET, 'before initialize')
    session.open(path, MODEL)
    session.tell('initialized', {})
    session.ask('initialize', {})
    expect(session.ask('initialize', {})['code'] == REQUEST, 'initialize twice')
    expect(session.end() == 0, 'the end')


def main(driver):
    with tempfile.TemporaryDirectory() as directory:
        path = directory + '/model.pm'
        for scenario in (malformed, odd_parameters, flood, cancelled, huge, deep):
            session = Session(driver)
            scenario(session, path)
            expect(session.end() == 0, scenario.__name__)
        for scenario in (out_of_memory, ends, out_of_order):
            scenario(driver, path)


main(sys.argv[1])
