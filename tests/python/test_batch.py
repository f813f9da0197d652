"""Checks many models on a cluster of two workers, of which one is killed;
holds the outcomes against those of a serial run."""
import os
import signal
import sys
import tempfile

try:
    from distributed import Client, LocalCluster
except ImportError:
    print('NOT CHECKED: python3-distributed is not there')
    sys.exit(77)

import norvane.batch

RULES = ('a', 'b', 'a -> a', '"t" = 3', '(')


def main():
    with tempfile.TemporaryDirectory() as directory:
        paths = []
        for index in range(300):
            paths.append(os.path.join(directory, '%d.pm' % index))
            with open(paths[-1], 'w', encoding='ascii') as file:
                file.write('variable a : boolean;\nrule %s;\n' % RULES[index % len(RULES)])
        serial = list(norvane.batch.check(paths))
        assert [outcome.is_good for outcome in serial[:5]] == [True, False, True, False, False], serial[:5]
        with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster, \
                Client(cluster) as client:
            victim = next(iter(client.run(os.getpid).values()))
            outcomes = []
            for outcome in norvane.batch.check(paths, client, batch_size=4):
                outcomes.append(outcome)
                if len(outcomes) == 20:
                    os.kill(victim, signal.SIGKILL)
    assert sorted(outcomes) == sorted(serial)


if __name__ == '__main__':
    main()
