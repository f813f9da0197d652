#!/usr/bin/env python3
"""Measures the stages of the library on generated input at three sizes, and prints one table.

usage: bench.py [--quick] [--only WORKLOAD,...] [--seconds S] [--rounds N] [--peers DRIVER] PROGRAM
       bench.py ... PROGRAM --against PROGRAM

PROGRAM is a built pipeline_bench; the other programs are in the same directory. Sizes differ by a factor of
10 (--quick takes the two smaller ones). A cell holds a figure for each size: the rate; the growth, which is
the exponent of the time as a function of the work, 1 being linear; the time as a multiple of the floor,
which is the least work that the stage must do; and the peak memory.

With --peers, the commands of DRIVER run in alternation with other tools that do the same work, as far as
they are installed (peers/run.sh). The last column shows their times as multiples of ours.

With --against, both programs run in alternation, and the table shows the time of the other one as a
multiple of that of PROGRAM: the median of the ratios of the rounds, above 1 if PROGRAM is faster. It covers
the workloads of the pipeline only.
"""
import argparse
import json
import math
import os
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SIZES = {
    'flat': (500, 5000, 50000),
    'records': (30, 300, 3000),
    'loops': (5000, 50000, 500000),
    'values': (500, 5000, 50000),
    'chain': (10000, 100000, 1000000),
    'calc': (100, 1000, 10000),
    'model-xml': (1, 10, 100),
    'calc-xml': (1, 10, 100),
}
XML_PROGRAMS = {'model-xml': 'model_xml_bench', 'calc-xml': 'calc_xml_bench'}
PIPELINE = [name for name in SIZES if name not in XML_PROGRAMS and name != 'calc']
PEERS = ['startup', 'flat', 'records', 'loops', 'calc']
# Shorter times are not significant.
LEAST_SECONDS = 0.0005
MEBIBYTE = 1 << 20
# The peak of a process includes that of its parent at the fork, so smaller ones are not significant.
LEAST_PEAK = 20 * MEBIBYTE
BETWEEN = ' · '


def run(*command):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit('%s: %s' % (command[0], done.stderr or 'ended with %d' % done.returncode))
    return json.loads(done.stdout)


class Programs:
    """Runs the built programs on workloads of a given size."""

    def __init__(self, arguments, directory):
        self.built = os.path.dirname(arguments.program)
        self.arguments = arguments
        self.directory = directory

    def generated(self, workload, size):
        model = os.path.join(self.directory, '%s_%d.pm' % (workload, size))
        subprocess.run([sys.executable, os.path.join(HERE, 'generate.py'), workload, str(size), model], check=True)
        return model

    def run_built(self, name, *arguments):
        return run(os.path.join(self.built, name), *arguments)

    def pipeline(self, workload, size):
        model = self.generated(workload, size)
        stages = run(self.arguments.program, model, self.arguments.seconds)
        preprocessed = model + '.i'
        with open(preprocessed, 'wb') as text:
            subprocess.run(['cpp', '-P', model], stdout=text, check=True)
        return {**stages, **self.run_built('scan_bench', 'pm', preprocessed, self.arguments.seconds / 4)}

    def calculations(self, size):
        generator = os.path.join(HERE, 'peers', 'gen_calc.py')
        subprocess.run([sys.executable, generator, str(size), self.directory, '--formats', 'cl'], check=True,
                       stdout=subprocess.DEVNULL)
        source, model = (os.path.join(self.directory, name) for name in ('calc.cl', 'calc_model.pm'))
        return {**self.run_built('calc_bench', source, model, self.arguments.seconds),
                **self.run_built('scan_bench', 'cl', source, self.arguments.seconds / 4)}

    def stages_of(self, workload, size):
        if workload in XML_PROGRAMS:
            return self.run_built(XML_PROGRAMS[workload], size, self.arguments.rounds)
        return self.calculations(size) if workload == 'calc' else self.pipeline(workload, size)


def row(*cells):
    print('| ' + ' | '.join(cells) + ' |', flush=True)


def figures(values):
    """One cell with a figure for each size; empty if there are none."""
    shown = ['-' if value is None else '%.3g' % value if value < 100 else '%.0f' % value for value in values]
    return '' if set(shown) <= {'-'} else BETWEEN.join(shown)


def rate(stage):
    return stage['units'] / stage['seconds'] / 1e6 if stage['seconds'] >= LEAST_SECONDS and stage['units'] else None


def growth(smaller, larger):
    work = larger['units'] / (smaller['units'] or 1)
    if work < 3 or smaller['seconds'] < LEAST_SECONDS:
        return None
    return math.log(larger['seconds'] / smaller['seconds']) / math.log(work)


def over_floor(stage, floor):
    measurable = min(stage['seconds'], floor['seconds']) >= LEAST_SECONDS
    return stage['seconds'] / floor['seconds'] if measurable else None


def mebibytes(peaks):
    shown = figures(peak / MEBIBYTE if peak >= LEAST_PEAK else None for peak in peaks)
    return shown and shown + ' MiB'


def print_stage(name, results):
    stages = [result[name] for result in results]
    unit = {'byte': ' MB/s', 'node': ' Mn/s'}[stages[0]['unit']]
    floor = stages[0]['floor']
    floors = floor and figures(over_floor(stage, result[floor]) for stage, result in zip(stages, results))
    rates = figures(rate(stage) for stage in stages)
    if not rates:
        return
    row('', name, rates + unit, '', figures(growth(*pair) for pair in zip(stages, stages[1:])),
        floors and floors + ' × ' + floor, mebibytes(stage['peak'] for stage in stages), '')


def print_command(workload, commands):
    """A command of the driver and its peers, at all sizes."""
    ours = commands.pop('ours')
    rates = figures(result['bytes'] / result['cpu'] / 1e6 for result in ours)
    floors = [1 / result['ratio'] if result.get('ratio') else None for result in commands.pop('floor cpp', [])]
    commands = {name: results for name, results in commands.items() if not name.startswith('floor')}
    peers = [name + ' ' + figures(result.get('ratio') for result in results) for name, results in commands.items()
             if 'ratio' in results[-1]]
    growths = [math.log(b['cpu'] / a['cpu']) / math.log(b['size'] / a['size']) if a['cpu'] > 0.02 else None
               for a, b in zip(ours, ours[1:])]
    units = figures(result['units'] / result['cpu'] for result in ours)
    row(workload, 'the command', rates + ' MB/s', units + ' ' + ours[0]['unit'] + '/s', figures(growths),
        figures(floors) and figures(floors) + ' × cpp', mebibytes(result['rss'] * MEBIBYTE for result in ours),
        ', '.join(peers))


def measure_peers(directory, arguments, names):
    results = os.path.join(directory, 'peers.jsonl')
    environment = {**os.environ, 'NORVANE_PM': arguments.peers}
    subprocess.run(['bash', os.path.join(HERE, 'peers', 'run.sh'), '-n', str(arguments.rounds), '-o', results,
                    *(['-q'] if arguments.quick else []), *names],
                   env=environment, check=True, stdout=subprocess.DEVNULL)
    workloads = {}
    with open(results) as lines:
        for result in map(json.loads, lines):
            workloads.setdefault(result['workload'], {}).setdefault(result['label'], []).append(result)
    for workload, commands in workloads.items():
        print_command(workload, commands)


def head(*names):
    row(*names)
    print('|' + '---|' * len(names))


def measure(directory, arguments):
    head('work', 'stage', 'bytes or nodes', 'units', 'growth', 'over its floor', 'peak', 'others take, times ours')
    programs = Programs(arguments, directory)
    for workload, sizes in arguments.workloads.items():
        results = [programs.stages_of(workload, size) for size in sizes]
        row('**%s**' % workload, BETWEEN.join(format(size, ',') for size in sizes), '', '', '', '', '', '')
        for name in results[0]:
            print_stage(name, results)
    if arguments.peers:
        measure_peers(directory, arguments, [name for name in PEERS if name in arguments.names])


def compare(directory, arguments):
    programs = Programs(arguments, directory)
    names = None
    for workload, sizes in arguments.workloads.items():
        for size in sizes:
            model = programs.generated(workload, size)
            rounds = [[run(program, model, arguments.seconds) for program in (arguments.program, arguments.against)]
                      for _ in range(arguments.rounds)]
            if not names:
                names = list(rounds[0][0])
                head('workload', 'size', *names)
            ratios = [[theirs[name]['seconds'] / ours[name]['seconds'] for ours, theirs in rounds
                       if ours[name]['seconds'] >= LEAST_SECONDS] for name in names]
            row(workload, str(size), *('%.2f' % statistics.median(r) if len(r) == arguments.rounds else '-'
                                       for r in ratios))


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument('program')
    parser.add_argument('--against')
    parser.add_argument('--peers', metavar='DRIVER')
    parser.add_argument('--quick', action='store_true')
    parser.add_argument('--only', default=','.join(['startup', *SIZES]))
    parser.add_argument('--seconds', type=float, default=0.5)
    parser.add_argument('--rounds', type=int, default=5)
    arguments = parser.parse_args()
    arguments.names = arguments.only.split(',')
    unknown = set(arguments.names) - set(SIZES) - set(PEERS)
    if unknown:
        sys.exit('no such workload: ' + ' '.join(sorted(unknown)))
    known = PIPELINE if arguments.against else SIZES
    arguments.workloads = {name: SIZES[name][:2 if arguments.quick else 3] for name in arguments.names
                           if name in known}
    with tempfile.TemporaryDirectory(prefix='norvane-bench.') as directory:
        (compare if arguments.against else measure)(directory, arguments)


if __name__ == '__main__':
    main()
