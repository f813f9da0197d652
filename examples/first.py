"""Prints the flat rules of a model. Faults of the model are reported on standard error."""
import sys

import norvane

try:
    for rule, _ in norvane.load(sys.argv[1]).flat():
        print(rule)
except norvane.ModelError as error:
    for report in error.reports:
        print('%s (%d): %s [%s]' % (report.file, report.line, report.message, report.name), file=sys.stderr)
    sys.exit(1)
