"""The C ABI of libbrevant.so.1 as ctypes declarations, and where the library is found.

The library is looked for, in this order: the file named by the environment
variable BREVANT_LIBRARY, and nothing else when it is set; the path it was
installed at, which `cmake --install` records in brevant/_installed.py;
libbrevant.so.1 in the build tree beside this package (../../build/lib, as
`make` leaves it); libbrevant.so.1 on the loader's path.
"""

import ctypes
import os
from ctypes import (CFUNCTYPE, POINTER, Structure, Union, c_char_p, c_double, c_int16,
                    c_int32, c_uint8, c_uint16, c_uint32, c_uint64, c_void_p)

EMPTY, I2, I4, R8, STRING, OBJECT, BOOL, UI1, RECORD, ARRAY = 0, 2, 3, 5, 8, 9, 11, 17, 36, 0x2000
METHOD, GET, PUT = 1, 2, 4


class Guid(Structure):
    _fields_ = [("data1", c_uint32), ("data2", c_uint16), ("data3", c_uint16),
                ("data4", c_uint8 * 8)]


class Array(Structure):
    _fields_ = [("allocated", c_int32), ("lower_bound", c_int32), ("count", c_int32),
                ("data", c_void_p)]


class Variant(Structure):
    pass


class Record(Structure):
    _fields_ = [("field_count", c_int32), ("fields", POINTER(Variant))]


class _Value(Union):
    # Strings stay raw pointers: the library owns their memory.
    _fields_ = [("i2", c_int16), ("i4", c_int32), ("r8", c_double), ("boolean", c_int32),
                ("ui1", c_uint8), ("string", c_void_p), ("object", c_uint64), ("array", Array),
                ("record", Record)]


Variant._fields_ = [("type", c_int32), ("value", _Value)]


class ParamInfo(Structure):
    _fields_ = [("name", c_char_p), ("type", c_int32), ("type_name", c_char_p),
                ("by_ref", c_int32), ("optional", c_int32), ("default_value", c_int32)]


class MemberInfo(Structure):
    _fields_ = [("name", c_char_p), ("dispid", c_int32), ("kind", c_int32),
                ("result", ParamInfo), ("param_count", c_int32), ("params", POINTER(ParamInfo))]


class AliasInfo(Structure):
    _fields_ = [("name", c_char_p), ("major", c_int32), ("minor", c_int32), ("iid", Guid)]


class ClassInfo(Structure):
    _fields_ = [("name", c_char_p), ("interface_name", c_char_p), ("class_id", Guid),
                ("iid", Guid), ("major", c_int32), ("minor", c_int32), ("creatable", c_int32),
                ("slot_count", c_int32), ("alias_count", c_int32),
                ("aliases", POINTER(AliasInfo))]


class EnumMember(Structure):
    _fields_ = [("name", c_char_p), ("value", c_int32)]


class EnumInfo(Structure):
    _fields_ = [("name", c_char_p), ("member_count", c_int32), ("members", POINTER(EnumMember))]


class RecordInfo(Structure):
    _fields_ = [("name", c_char_p), ("field_count", c_int32), ("fields", POINTER(ParamInfo))]


class LibraryInfo(Structure):
    _fields_ = [("name", c_char_p), ("id", Guid), ("major", c_int32), ("minor", c_int32),
                ("description", c_char_p), ("locale", c_int32), ("help_file", c_char_p),
                ("help_context", c_int32)]


LOG_ENTRY = CFUNCTYPE(None, c_void_p, c_int32, c_char_p)
LOG_RELEASE = CFUNCTYPE(None, c_void_p)


class LogSink(Structure):
    _fields_ = [("log_entry", LOG_ENTRY), ("release", LOG_RELEASE), ("context", c_void_p)]


_NAME = "libbrevant.so.1"


class LibraryNotFound(ImportError):
    """libbrevant.so.1 did not load from any of the places it is looked for."""


def _places():
    """(what, path) in the order tried."""
    named = os.environ.get("BREVANT_LIBRARY")
    if named:
        # An explicit choice (a sanitizer build, a test copy) must not be
        # replaced silently by another library found further down.
        return [("BREVANT_LIBRARY", named)]
    places = []
    try:
        from ._installed import LIBRARY
        places.append(("where it was installed", LIBRARY))
    except ImportError:
        pass
    beside = os.path.join(os.path.dirname(__file__), "..", "..", "build", "lib", _NAME)
    places.append(("the build tree beside the package", os.path.normpath(beside)))
    places.append(("the loader's path", _NAME))
    return places


def _load():
    failures = []
    for what, path in _places():
        try:
            return ctypes.CDLL(path)
        except OSError as error:
            failures.append(f"  {what}: {path}: {str(error).removeprefix(path + ': ')}")
    raise LibraryNotFound(f"{_NAME} did not load from any of these places:\n"
                          + "\n".join(failures)
                          + f"\nSet BREVANT_LIBRARY to the path of {_NAME}.")


lib = _load()
libc = ctypes.CDLL(None)
libc.calloc.restype = c_void_p
libc.calloc.argtypes = [ctypes.c_size_t, ctypes.c_size_t]

_signatures = {
    "brevant_error_number": (c_int32, []),
    "brevant_error_source": (c_char_p, []),
    "brevant_error_description": (c_char_p, []),
    "brevant_variant_clear": (None, [POINTER(Variant)]),
    "brevant_variant_set_string": (c_int32, [POINTER(Variant), c_char_p]),
    "brevant_variant_set_array": (c_int32, [POINTER(Variant), c_int32, c_void_p, c_int32, c_int32]),
    "brevant_create_by_name": (c_int32, [c_char_p, POINTER(c_uint64)]),
    "brevant_release": (c_int32, [c_uint64]),
    "brevant_log_create": (c_int32, [POINTER(LogSink), POINTER(c_uint64)]),
    "brevant_invoke": (c_int32, [c_uint64, c_int32, c_int32, c_int32, POINTER(Variant),
                                 POINTER(Variant)]),
    "brevant_class_of": (c_int32, [c_uint64, POINTER(c_int32)]),
    "brevant_library": (POINTER(LibraryInfo), []),
    "brevant_class_count": (c_int32, []),
    "brevant_class_at": (POINTER(ClassInfo), [c_int32]),
    "brevant_slot_at": (POINTER(MemberInfo), [c_int32, c_int32]),
    "brevant_enum_count": (c_int32, []),
    "brevant_enum_at": (POINTER(EnumInfo), [c_int32]),
    "brevant_record_count": (c_int32, []),
    "brevant_record_at": (POINTER(RecordInfo), [c_int32]),
}
for _name, (_result, _args) in _signatures.items():
    getattr(lib, _name).restype = _result
    getattr(lib, _name).argtypes = _args

