"""A program of somebody else, in Python over ctypes: it loads, checks, simplifies and expands a model,
and prints what it gets and what is reported, to be compared with the same program in other languages.

usage: consumer.py FOLDER_OF_THE_LIBRARIES MODEL"""
import ctypes
import os
import sys
from ctypes import POINTER, Structure, c_char, c_char_p, c_int, c_size_t, c_uint, c_void_p


class Node(Structure):
    pass


Node._fields_ = [('element', c_void_p), ('next', POINTER(Node))]


class List(Structure):
    _fields_ = [('first', POINTER(Node)), ('last', POINTER(Node)), ('len', c_uint)]

    def __iter__(self):
        node = self.first
        while node:
            yield node.contents.element
            node = node.contents.next


class Project(Structure):
    _fields_ = [('name', c_char_p), ('description', c_char_p), ('filename', c_char_p),
                ('constants', POINTER(List)), ('types', POINTER(List)),
                ('variables', POINTER(List)), ('rules', POINTER(List))]


class String(Structure):
    _fields_ = [('text', c_char_p), ('length', c_size_t), ('capacity', c_size_t)]


class ErrorInfo(Structure):
    _fields_ = [('name', c_char * 2048), ('message', c_char * 2048)]


Sink = ctypes.CFUNCTYPE(None, c_int, POINTER(ErrorInfo), c_void_p)


def load(folder):
    base = ctypes.CDLL(os.path.join(folder, 'libnorvane_base.so.1'), ctypes.RTLD_GLOBAL)
    proj = ctypes.CDLL(os.path.join(folder, 'libnorvane_proj.so.1'))
    for library, name, result, *arguments in (
            (base, 'msg_set_error_sink', None, Sink, c_void_p),
            (base, 'err_delete', None, POINTER(ErrorInfo)),
            (base, 'plist_new', POINTER(List), c_void_p, c_void_p, c_void_p),
            (base, 'plist_delete', None, POINTER(List)),
            (base, 'ustr_new', POINTER(String)),
            (base, 'ustr_delete', None, POINTER(String)),
            (proj, 'proj_import_from_pmfile', POINTER(Project), c_char_p, POINTER(List)),
            (proj, 'proj_static_sem_check', c_void_p, POINTER(Project)),
            (proj, 'simplify_project', POINTER(Project), POINTER(Project), c_void_p),
            (proj, 'proj_get_expanded_rules', POINTER(List), POINTER(Project), c_void_p, c_int),
            (proj, 'ppm_printn_expr_str', None, c_void_p, POINTER(String), c_int),
            (proj, 'symtbl_delete_symbol_table', None, c_void_p),
            (proj, 'proj_delete', None, POINTER(Project))):
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    return base, proj


def main():
    base, proj = load(sys.argv[1])

    def print_report(kind, error, _):
        info = error.contents
        print('report %d %s: %s' % (kind, info.name.decode(), info.message.decode()))
        base.err_delete(error)

    sink = Sink(print_report)
    base.msg_set_error_sink(sink, None)
    cpp_args = base.plist_new(None, None, None)
    project = proj.proj_import_from_pmfile(sys.argv[2].encode(), cpp_args)
    base.plist_delete(cpp_args)
    if not project:
        return 1
    table = proj.proj_static_sem_check(project)
    if table:
        finite = proj.simplify_project(project, table)
        rules = proj.proj_get_expanded_rules(project, table, 1)
        print('variables %d' % finite.contents.variables.contents.len)
        line = base.ustr_new()
        for rule in rules.contents:
            proj.ppm_printn_expr_str(rule, line, -1)
            print(line.contents.text.decode())
        base.ustr_delete(line)
        base.plist_delete(rules)
        proj.proj_delete(finite)
        proj.symtbl_delete_symbol_table(table)
    proj.proj_delete(project)
    return 0 if table else 1


sys.exit(main())
