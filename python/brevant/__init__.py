"""Brevant, the Halvorn FTDI Device Library, for Python.

Every class, enum and record of the library is built here at import from the
library's own type information:

    import brevant
    fifo = brevant.clsFTDI245FIFO()
    fifo.Log = lambda level, entry: print(level, entry)
    fifo.Initialize(0)
    fifo.DataWrite(b"hi", 2)
    data, count = bytearray(2), brevant.Ref(0)
    fifo.DataRead(data, 2, count)

A failure raises BrevantError with .number, .source and .description.
By-reference arguments are written back into a Ref, a bytearray or a list,
also when the call fails.
"""

from ._abi import lib as _lib
from ._build import BrevantError, Object, Ref, _Library
from ._version import __version__

_library = _Library()
globals().update(_library.enums)
globals().update(_library.records)
globals().update({cls.__name__: cls for cls in _library.classes})

library = _lib.brevant_library().contents
__all__ = (["BrevantError", "Object", "Ref", "library"] + list(_library.enums)
           + list(_library.records) + [cls.__name__ for cls in _library.classes])
