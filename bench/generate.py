#!/usr/bin/env python3
"""Writes a generated model: generate.py WORKLOAD SIZE FILE. The same arguments give the same file.

flat      SIZE booleans, ranges and enumerations, and SIZE rules of mixed operators
records   an array of SIZE records, with nested records and arrays of records, and their rules
loops     nested forall, exist and sum with SIZE iterations in all, no loop with more than SIZE / 500
values    SIZE values of an integer, a float and a string, and labels of an enumeration, each
          compared with in one rule
chain     one rule of SIZE terms, and one loop of SIZE iterations

The first three come from peers/, where other tools are measured on them too.
"""
import os
import random
import subprocess
import sys
import tempfile

PEERS = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'peers')


def of_peers(workload, size, path):
    with tempfile.TemporaryDirectory() as directory:
        subprocess.run([sys.executable, '-B', os.path.join(PEERS, 'gen_%s.py' % workload), str(size), directory,
                        '--formats', 'pm'], check=True, stdout=subprocess.DEVNULL)
        with open(os.path.join(directory, workload + '.pm')) as source, open(path, 'w') as target:
            target.write(source.read())


def values(size, w):
    w('/* Many values, generated. */\ntype\n  Code : [%s];\n' % ',\n    '.join('code_%d' % i for i in range(size)))
    w('variable\n  public number : integer;\n  public weight : float;\n  public text : string;\n')
    w('  public code : Code;\n  public free : boolean;\nrule\n')
    order = list(range(size))
    random.Random(size).shuffle(order)
    for i in order:
        w('  number = %d -> weight < %d.5 or text <> "text %d" or code = code_%d or free;\n'
          % (3 * i, i, i, (i + 1) % size))


def chain(size, w):
    w('/* Long chains, generated. */\nvariable\n  public x : array %d of boolean;\nrule\n  x[0]' % size)
    for i in range(1, size):
        w('\n  and x[%d]' % i)
    w(';\n  forall i in [0..%d] : (x[0] or i < 5);\n' % (size - 1))


OWN = {'values': values, 'chain': chain}
WORKLOADS = ('flat', 'records', 'loops', 'values', 'chain')


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in WORKLOADS:
        sys.exit(__doc__)
    workload, size, path = sys.argv[1], int(sys.argv[2]), sys.argv[3]
    if workload not in OWN:
        return of_peers(workload, size, path)
    with open(path, 'w', buffering=1 << 20) as stream:
        OWN[workload](size, stream.write)


if __name__ == '__main__':
    main()
