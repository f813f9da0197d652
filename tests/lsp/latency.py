#!/usr/bin/env python3
"""Measures the time from a change of the text to its diagnostics: latency.py DRIVER [RULES...]. The minimum of
several runs approximates the server alone; the median includes other load on the machine."""
import statistics
import sys
import tempfile
import time

from session import Session


def model(rules):
    lines = ['constant N : 9;', 'type Size : [small, medium, large];', 'variable']
    lines += ['  public v%d : [0..N];  public s%d : Size;' % (i, i) for i in range(rules // 2)]
    lines += ['rule']
    lines += ['  s%d = large and v%d > %d -> v%d < %d or s%d <> small;' %
              (i % (rules // 2), (i + 1) % (rules // 2), i % 7, (i * 3) % (rules // 2), 3 + i % 5,
               (i * 7) % (rules // 2)) for i in range(rules)]
    return '\n'.join(lines) + '\n'


def measure(driver, rules, rounds=20):
    with tempfile.TemporaryDirectory() as directory:
        path = directory + '/model.pm'
        text = model(rules)
        last = text.count('\n') - 1
        session = Session(driver)
        session.open(path, text)
        assert session.diagnostics(path) == []
        times = {True: [], False: []}
        for i in range(rounds):
            is_faulty = i % 2 == 0
            start = time.monotonic()
            session.change(path, ((last, 2, last, 3), 'x' if is_faulty else 's'))
            found = session.diagnostics(path)
            times[is_faulty].append(time.monotonic() - start)
            assert bool(found) == is_faulty
        session.end()
    return [1000 * of(times[is_faulty]) for is_faulty in (False, True) for of in (min, statistics.median)]


if __name__ == '__main__':
    for count in [int(word) for word in sys.argv[2:]] or [500, 5000]:
        print('%5d rules: %4.0f ms (median %4.0f) without a fault, %4.0f ms (median %4.0f) with one' % (count, *measure(sys.argv[1], count)))
