#!/usr/bin/env python3
"""Measures the stages of the model pipeline on generated models, and prints one table.

usage: bench.py [--quick] [--only WORKLOAD,...] [--seconds S] [--rounds N] PROGRAM [--against PROGRAM]

PROGRAM is a built pipeline_bench, with the other programs beside it. Each workload is measured at three
sizes, a decade apart (the two smaller ones with --quick). Behind the figures of two sizes stands the
growth of each stage from one to the next: the exponent by which its time follows the work that it
does; 1 is linear. For the stages that look names up, another row has the exponent by which their time
follows that of the bare look-up: 1 is as the memory allows. The last two workloads have programs and
tables of their own: calc is the road of a calculation (calc_bench), xml the reading and writing of
models and of calculations in XML (model_xml_bench, calc_xml_bench).

With --against, both programs run in turns, and the table shows how many times as long the other one
takes: the median of the ratios of the rounds, above 1 where PROGRAM is faster. It leaves these two out.
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
}
CALC_FUNCTIONS = (100, 1000, 10000)
XML_MEGABYTES = (1, 10, 100)
STAGES = ('preprocess', 'parse', 'check', 'simplify', 'expand', 'print', 'free', 'look-up', 'total')
# Those whose growth stands beside that of looking their names up.
LOOKING_UP = ('check', 'simplify', 'expand')
# Shorter than that, a stage is no measure of anything.
LEAST_SECONDS = 0.0005


def run(program, model, seconds):
    done = subprocess.run([program, model, str(seconds)], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit('%s %s: %s' % (program, model, done.stderr or 'ended with %d' % done.returncode))
    return json.loads(done.stdout)


def generate(folder, workload, size):
    model = os.path.join(folder, '%s_%d.pm' % (workload, size))
    subprocess.run([sys.executable, os.path.join(HERE, 'generate.py'), workload, str(size), model], check=True)
    return model


def rate(stage):
    if stage['seconds'] < LEAST_SECONDS:
        return '-'
    amount = stage['units'] / stage['seconds'] / 1e6
    return '%.4g %s' % (amount, {'byte': 'MB/s', 'node': 'Mn/s'}[stage['unit']])


def growth(smaller, larger):
    work = larger['units'] / (smaller['units'] or 1)
    if work < 3 or smaller['seconds'] < LEAST_SECONDS:
        return '-'
    return '%.2f' % (math.log(larger['seconds'] / smaller['seconds']) / math.log(work))


def growth_over_look_up(name, smaller, larger):
    floors = [result['look-up']['seconds'] for result in (smaller, larger)]
    if name not in LOOKING_UP or floors[0] < LEAST_SECONDS:
        return ''
    return growth(*({'units': floor, 'seconds': result[name]['seconds']}
                    for floor, result in zip(floors, (smaller, larger))))


def memory_growth(smaller, larger):
    work = larger['total']['units'] / max(1, smaller['total']['units'])
    # Below that the program and its libraries are most of it.
    if work < 3 or smaller['peak_kib'] < 20000:
        return '-'
    return '%.2f' % (math.log(larger['peak_kib'] / smaller['peak_kib']) / math.log(work))


def row(*cells):
    print('| %-8s | %8s |' % cells[:2] + ''.join(' %11s |' % cell for cell in cells[2:]), flush=True)


def head(*names):
    row(*names)
    print('|' + '---|' * len(names))


def measure(folder, arguments):
    head('workload', 'size', *STAGES[:-1], 'total ms', 'first ms', 'peak MiB')
    for workload, sizes in arguments.workloads.items():
        before = None
        for size in sizes:
            result = run(arguments.program, generate(folder, workload, size), arguments.seconds)
            if before:
                row('', 'growth', *(growth(before[s], result[s]) for s in STAGES),
                    '', memory_growth(before, result))
                row('', '/look-up', *(growth_over_look_up(s, before, result) for s in STAGES), '', '')
            row(workload, size, *(rate(result[s]) for s in STAGES[:-1]),
                '%.1f' % (1000 * result['total']['seconds']),
                '%.1f' % (1000 * result['first_seconds']), '%.1f' % (result['peak_kib'] / 1024))
            before = result


CALC_STAGES = ('parse', 'check', 'print', 'write', 'read', 'free')


def calc_row(*cells):
    print('| %9s | %-11s |' % cells[:2] + ''.join(' %10s |' % cell for cell in cells[2:]), flush=True)


def measure_calc(folder, arguments):
    program = os.path.join(os.path.dirname(arguments.program), 'calc_bench')
    generator = os.path.join(HERE, 'peers', 'gen_calc.py')
    print('\nCalculations\n')
    calc_row('functions', '', *CALC_STAGES, 'front peak', 'peak')
    print('|---|---|' + '---|' * (len(CALC_STAGES) + 2))
    before = None
    for size in CALC_FUNCTIONS[:arguments.count]:
        subprocess.run([sys.executable, generator, str(size), folder, '--formats', 'cl'], check=True,
                       stdout=subprocess.DEVNULL)
        files = [os.path.join(folder, name) for name in ('calc.cl', 'calc_model.pm')]
        done = subprocess.run([program, *files, str(arguments.seconds)], capture_output=True, text=True, check=False)
        if done.returncode != 0:
            sys.exit('%s: %s' % (program, done.stderr or 'ended with %d' % done.returncode))
        result = json.loads(done.stdout)
        stages = [result[name] for name in CALC_STAGES]
        if before:
            calc_row('', 'growth', *(growth(before[name], result[name]) for name in CALC_STAGES))
        kib = [result['front_peak_kib'], result['peak_kib']]
        calc_row(size, 'MB/s', *('%.1f' % (stage['units'] / stage['seconds'] / 1e6) for stage in stages),
                 *('%.1f' % (peak * 1024 / result['parse']['units']) if peak > 20000 else '-' for peak in kib))
        calc_row('', 'functions/s', *('%.0f' % (size / stage['seconds']) for stage in stages))
        calc_row('', 'MB', *('%.1f' % (stage['units'] / 1e6) for stage in stages))
        before = result


def measure_xml(arguments):
    sizes = [str(size) for size in XML_MEGABYTES[:arguments.count]]
    for title, name in (('Models in XML', 'model_xml_bench'), ('Calculations in XML', 'calc_xml_bench')):
        program = os.path.join(os.path.dirname(arguments.program), name)
        print('\n%s\n' % title, flush=True)
        subprocess.run([program, str(arguments.rounds), *sizes], check=True)


def compare(folder, arguments):
    head('workload', 'size', *STAGES, 'peak')
    for workload, sizes in arguments.workloads.items():
        for size in sizes:
            model = generate(folder, workload, size)
            ratios = {name: [] for name in STAGES + ('peak_kib',)}
            for _ in range(arguments.rounds):
                ours = run(arguments.program, model, arguments.seconds)
                theirs = run(arguments.against, model, arguments.seconds)
                for stage in STAGES:
                    if ours[stage]['seconds'] >= LEAST_SECONDS:
                        ratios[stage].append(theirs[stage]['seconds'] / ours[stage]['seconds'])
                ratios['peak_kib'].append(theirs['peak_kib'] / ours['peak_kib'])
            row(workload, size, *('%.2f' % statistics.median(r) if len(r) == arguments.rounds else '-'
                                  for r in ratios.values()))


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument('program')
    parser.add_argument('--against')
    parser.add_argument('--quick', action='store_true')
    parser.add_argument('--only', default=','.join([*SIZES, 'calc', 'xml']))
    parser.add_argument('--seconds', type=float, default=0.5)
    parser.add_argument('--rounds', type=int, default=5)
    arguments = parser.parse_args()
    names = arguments.only.split(',')
    unknown = set(names) - set(SIZES) - {'calc', 'xml'}
    if unknown:
        sys.exit('no such workload: ' + ' '.join(sorted(unknown)))
    arguments.count = 2 if arguments.quick else 3
    arguments.workloads = {name: SIZES[name][:arguments.count] for name in names if name in SIZES}
    with tempfile.TemporaryDirectory(prefix='norvane-bench.') as folder:
        if arguments.against:
            compare(folder, arguments)
        elif arguments.workloads:
            measure(folder, arguments)
        if 'calc' in names and not arguments.against:
            measure_calc(folder, arguments)
    if 'xml' in names and not arguments.against:
        measure_xml(arguments)


if __name__ == '__main__':
    main()
