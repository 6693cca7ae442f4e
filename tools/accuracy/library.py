"""The library as the host sees it: exports found by name in the shared
object, typed from the one table of exports (src/boundary/export_table.def)."""
import ctypes
import os
import re

ROOT = os.path.normpath(os.path.join(os.path.dirname(__file__), "..", ".."))
TABLE = os.path.join(ROOT, "src", "boundary", "export_table.def")

_CTYPES = {"d": ctypes.c_double, "b": ctypes.c_ubyte, "i": ctypes.c_int32,
           "o": ctypes.POINTER(ctypes.c_double), "l": ctypes.POINTER(ctypes.c_double)}


class Export:
    def __init__(self, name, signature, errors, family, params, example):
        self.name, self.signature, self.errors = name, signature, errors
        self.family, self.params, self.example = family, params.split(), example

    @property
    def letters(self):
        return self.signature.split(":")[1]

    @property
    def scalar(self):
        return "m" not in self.letters


def read_table():
    rows = []
    pattern = re.compile(r'^QCM_EXPORT\((\w+), "(.*?)", "(.*?)", "(.*?)", "(.*?)", "(.*?)"\)')
    with open(TABLE) as f:
        for line in f:
            m = pattern.match(line)
            if m:
                rows.append(Export(*m.groups()))
    return rows


class Library:
    """Calls scalar exports with Python floats; outputs come back as a tuple
    (value, outputs...). Lists are passed as arrays of doubles."""

    def __init__(self, path=None):
        path = path or os.environ.get("QCM_LIBRARY") or os.path.join(ROOT, "build", "libQuillon.Core.Math.so")
        self.path = path
        self.dll = ctypes.CDLL(path, use_errno=True)
        self.exports = {e.name: e for e in read_table()}
        self._functions = {}

    def has(self, name):
        try:
            getattr(self.dll, name)
            return True
        except AttributeError:
            return False

    def function(self, name):
        if name not in self._functions:
            e = self.exports[name]
            f = getattr(self.dll, name)
            f.restype = ctypes.c_double if e.signature[0] == "d" else ctypes.c_int32
            f.argtypes = [_CTYPES[c] for c in e.letters]
            self._functions[name] = f
        return self._functions[name]

    def call(self, name, *args):
        """Returns (value, errno, outputs)."""
        e = self.exports[name]
        f = self.function(name)
        it = iter(args)
        cargs, outs = [], []
        for c in e.letters:
            if c == "o":
                out = ctypes.c_double(float("nan"))
                outs.append(out)
                cargs.append(ctypes.pointer(out))
            elif c == "l":
                values = list(next(it))
                cargs.append((ctypes.c_double * len(values))(*values))
            else:
                cargs.append(next(it))
        ctypes.set_errno(0)
        value = f(*cargs)
        return value, ctypes.get_errno(), [o.value for o in outs]
