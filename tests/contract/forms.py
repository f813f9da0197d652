#!/usr/bin/env python3
"""Holds what the driver says in JSON against its schema, and its SARIF against what readers of SARIF 2.1.0
rely on, for an error, a warning, wrong usage, a hint, notes and a file with a name that needs escapes."""
import json
import os
import subprocess
import tempfile

from common import finish, options, read

TYPES = {'string': str, 'integer': int, 'null': type(None), 'object': dict, 'array': list, 'boolean': bool}
PLACE = {'type': 'object', 'required': ['physicalLocation'], 'properties': {'physicalLocation': {
    'type': 'object', 'required': ['artifactLocation'], 'properties': {
        'artifactLocation': {'type': 'object', 'required': ['uri']},
        'region': {'type': 'object', 'required': ['startLine']}}}}}
MESSAGE = {'type': 'object', 'required': ['text'], 'properties': {'text': {'type': 'string'}}}
SARIF = {'type': 'object', 'required': ['$schema', 'version', 'runs'], 'properties': {
    'version': {'enum': ['2.1.0']},
    'runs': {'type': 'array', 'items': {'type': 'object', 'required': ['tool', 'results'], 'properties': {
        'columnKind': {'enum': ['unicodeCodePoints', 'utf16CodeUnits']},
        'results': {'type': 'array', 'items': {'type': 'object', 'required': ['message', 'level'], 'properties': {
            'level': {'enum': ['none', 'note', 'warning', 'error']}, 'message': MESSAGE,
            'locations': {'type': 'array', 'items': PLACE}}}}}}}}}


def faults(value, schema, root, where=''):
    """What of a JSON schema a value breaks, as far as these schemas use it."""
    while '$ref' in schema:
        schema = root['$defs'][schema['$ref'].rsplit('/', 1)[1]]
    types = schema.get('type', [])
    types = [types] if isinstance(types, str) else types
    if types and type(value) not in [TYPES[name] for name in types]:
        return ['%s is %r' % (where, value)]
    found = ['%s is %r' % (where, value)] * ('enum' in schema and value not in schema['enum'])
    found += ['%s is %r' % (where, value)] * (isinstance(value, int) and value < schema.get('minimum', value))
    if isinstance(value, dict):
        found += ['%s lacks %s' % (where, name) for name in schema.get('required', []) if name not in value]
        for name, part in value.items():
            if name in schema.get('properties', {}):
                found += faults(part, schema['properties'][name], root, where + '.' + name)
            elif schema.get('additionalProperties') is False:
                found.append('%s has %s' % (where, name))
    for part in value if isinstance(value, list) else []:
        found += faults(part, schema.get('items', {}), root, where + '[]')
    return found


def main():
    arguments = options(__doc__, 'driver', 'schema')
    schema, failures = json.loads(read(arguments.schema)), []
    with tempfile.TemporaryDirectory() as directory:
        for name, text in (('a b:é.pm', 'variable a : [r | g];\nrule b;\n'), ('in.pm', '#error no\n'),
                           ('model.pm', '#include "in.pm"\nvariable a : boolean;\n')):
            with open(os.path.join(directory, name), 'w', encoding='utf-8') as stream:
                stream.write(text)
        for words, expected in ((['a b:é.pm'], 2), (['in.pm'], 2), (['model.pm'], 1), ([], 1), (['none.pm'], 1)):
            def said(form):
                return subprocess.run([os.path.abspath(arguments.driver), 'check', '--format', form, *words],
                                      cwd=directory, capture_output=True, text=True).stderr
            reports = [json.loads(line) for line in said('json').splitlines()]
            for report in reports:
                failures += faults(report, schema, schema, 'report on %s' % words)
            log = json.loads(said('sarif'))
            failures += faults(log, SARIF, SARIF, 'log on %s' % words)
            if not len(reports) == len(log['runs'][0]['results']) == expected:
                failures.append('%s: %d reports, %r' % (words, len(reports), log))
            if words == ['a b:é.pm'] and 'a%20b%3A%C3%A9.pm' not in json.dumps(log):
                failures.append('a name without escapes: %r' % log)
    finish(failures)


main()
