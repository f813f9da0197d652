"""Product models: read, checked, made finite and flat.

    >>> import norvane
    >>> model = norvane.load("pump.pm", defines={"MARKET": 2}, include_dirs=["parts"])
    >>> model.check()
    []
    >>> for expression, origin in model.flat():
    ...     print(expression)

What is wrong with the input is raised as ModelError, whose `reports` tell where and what. A failure of the
library itself is an InternalError. Both leave the interpreter and all other models as they are. The library
serves one thread at a time: calls from other threads wait, while all other Python code goes on.
"""
import os

from ._norvane import (Calculation, Expression, Fault, FlatRules, Function, Model, Note, Package, Place, Project,
                       Replacement, Report, Rule, Type, Variable, Workspace)
from . import _norvane

__all__ = ['Calculation', 'Expression', 'Fault', 'FlatRules', 'Function', 'InternalError', 'Model',
           'ModelError', 'Note', 'Package', 'Place', 'Project', 'Replacement', 'Report', 'Rule', 'Type',
           'Variable', 'Workspace', 'faults', 'load',
           'load_calculation', 'load_order', 'load_presentation', 'load_workspace', 'open_package', 'walk',
           'write']


class ModelError(ValueError):
    """The input is at fault. `reports` is the list of Report, errors and warnings, in their order."""

    def __init__(self, reports):
        super().__init__(reports)
        self.reports = reports

    def __str__(self):
        return '\n'.join(map(str, self.reports)) or 'the input cannot be read, or no temporary file be made'


class InternalError(RuntimeError):
    """A failure of the library, and not of its input. It may have leaked memory; nothing else is lost."""


def _path(path):
    """The path for the library, whose texts end at a null character: open() refuses one, too."""
    text = os.fspath(path)
    if '\0' in os.fsdecode(text):
        raise ValueError('embedded null character')
    return text


def load(path, *, defines=None, undefines=(), include_dirs=()):
    """Reads a product model: XML if the name ends in ".xml", else source through the C preprocessor.

    `defines` are macros, name to value, None for one without a value; `undefines` are names that are
    no macros; `include_dirs` are searched for included files. Raises ModelError.
    """
    return _norvane._load(_path(path), _arguments(defines, undefines, include_dirs))


def _arguments(defines, undefines, include_dirs):
    arguments = ['-I' + os.fspath(directory) for directory in include_dirs]
    for name, value in (defines or {}).items():
        arguments.append('-D%s' % name if value is None else '-D%s=%s' % (name, value))
    return [_path(argument) for argument in arguments + ['-U' + name for name in undefines]]


def faults(path, *, calculation=None, defines=None, undefines=(), include_dirs=(), warnings=()):
    """All faults of a model at once, with ranges, notes and replacements: a list of Fault.

    These are the reports of "norvane-pm check": load() and check() end at the first error. With the
    file of a calculation they are those of the model, or else of the calculation. `warnings` are words
    that the driver takes after -W, such as "all" or "no-unused-name"; any other word raises ValueError.
    What cannot be read is a fault.
    """
    arguments = _arguments(defines, undefines, include_dirs)
    words = [warnings] if isinstance(warnings, str) else list(warnings)
    if calculation is None:
        return _norvane._faults(_path(path), arguments, words)
    return _norvane._calculation_faults(_path(calculation), _path(path), arguments, words)


def write(model, path):
    """Writes a model: as XML if the name ends in ".xml", else as source. Raises ModelError."""
    model._write(_path(path))


def load_calculation(path, model=None):
    """Reads a calculation: source, XML if the name ends in ".clx", or that of a model in a package."""
    if model is None:
        return _norvane._load_calculation(_path(path))
    return _norvane._load_calculation_from_package(_path(path), model)


def load_presentation(path):
    """Reads display texts: a dictionary of layers, each from keys to texts. Raises ModelError."""
    return _norvane._load_presentation(_path(path))


def load_order(path):
    """Reads a variable order: the list of its names. Raises ModelError."""
    return _norvane._load_order(_path(path))


def load_workspace(path):
    """Reads a workspace. Raises ModelError."""
    return _norvane._load_workspace(_path(path))


def open_package(path):
    """Opens a package. Raises ModelError."""
    return _norvane._open_package(_path(path))


def walk(expression):
    """Yields an expression and all that it is made of, each before its parts."""
    open_ones = [expression]
    while open_ones:
        expression = open_ones.pop()
        yield expression
        open_ones += reversed(expression.args)
