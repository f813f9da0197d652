"""Checks many models: here, one after the other, or on the workers of a Dask cluster.

    >>> from distributed import Client
    >>> with Client("scheduler:8786") as client:
    ...     for outcome in norvane.batch.check(paths, client, include_dirs=["parts"]):
    ...         print(outcome.path, outcome.is_good)

The workers read the files by the same names, so they need the same file system, and the package norvane.
"""
from typing import List, NamedTuple, Optional

import norvane

__all__ = ['Line', 'Outcome', 'check']


class Line(NamedTuple):
    """A norvane.Report as plain values, which can go from one machine to another."""
    severity: str
    name: str
    file: str
    line: int
    message: str


class Outcome(NamedTuple):
    """What checking one model gave."""
    path: str
    reports: List[Line]
    failure: Optional[str] = None  # of the library or the worker, and not of the model

    @property
    def is_good(self):
        """Whether the model passed: no error, and no failure."""
        return self.failure is None and all(report.severity != 'error' for report in self.reports)


def _check_one(path, options):
    try:
        reports, failure = norvane.load(path, **options).check(), None
    except norvane.ModelError as error:
        reports, failure = error.reports, None
    except (norvane.InternalError, MemoryError) as error:
        reports, failure = [], '%s: %s' % (type(error).__name__, error)
    return Outcome(path, [Line(report.severity, report.name, report.file, report.line, report.message)
                          for report in reports], failure)


def _check_group(paths, options):
    return [_check_one(path, options) for path in paths]


def check(models, client=None, *, batch_size=16, **options):
    """Yields an Outcome for each model, with the options of norvane.load().

    Without a client the models are checked here, in their order. With a distributed.Client its workers
    check them, and outcomes come as they are ready, in groups of `batch_size` models. What a lost worker
    was at is done again by another one. The outcomes are the same either way.
    """
    models = list(map(str, models))
    if client is None:
        for path in models:
            yield _check_one(path, options)
        return
    from distributed import as_completed
    groups = [models[i:i + batch_size] for i in range(0, len(models), batch_size)]
    running = {}

    def start(group):
        future = client.submit(_check_group, group, options, pure=False)
        running[future] = group
        return future

    done = as_completed([start(group) for group in groups])
    for future in done:
        group = running.pop(future)
        try:
            yield from future.result()
        except Exception as error:  # the workers that had the group died
            if len(group) > 1:  # of one of its models
                done.update([start([path]) for path in group])
            else:
                yield Outcome(group[0], [], '%s: %s' % (type(error).__name__, error))
