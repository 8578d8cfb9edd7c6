"""Builds the Python classes, enums and records from the library's type information.

Nothing here names a class of the library: every member, argument type and
dispatch id is read from the type information at import.
"""

import ctypes
import dataclasses
import enum
import numbers
from ctypes import byref, c_int32, c_uint64

from . import _abi
from ._abi import (ARRAY, BOOL, GET, I2, I4, METHOD, OBJECT, PUT, R8, RECORD, STRING, UI1,
                   Variant, lib)


class BrevantError(Exception):
    """A failed call: the error's Number, Source and Description."""

    def __init__(self, number, source, description):
        super().__init__(f"{description} ({source}, {number})")
        self.number, self.source, self.description = number, source, description


class Ref:
    """A by-reference argument: the member reads `value` and writes it back."""

    def __init__(self, value=None):
        self.value = value

    def __repr__(self):
        return f"Ref({self.value!r})"


def _error(status):
    """The error of a failed call, None for status 0."""
    if status == 0:
        return None
    return BrevantError(lib.brevant_error_number(), _decode(lib.brevant_error_source()),
                        _decode(lib.brevant_error_description()))


def _check(status):
    error = _error(status)
    if error:
        raise error


def _text(raw):
    return raw.decode() if raw else None


def _decode(raw):
    # The driver's texts are 8-bit and cut at 64 bytes, possibly inside a
    # character: a scan must not fail on them.
    return (raw or b"").decode("utf-8", "replace")


class _Sinks:
    """Python log sinks handed to the library, kept alive until it lets them go."""

    def __init__(self):
        self.live = {}
        self.next = 1
        self.entry = _abi.LOG_ENTRY(self._entry)
        self.release = _abi.LOG_RELEASE(self._release)

    def _entry(self, context, level, text):
        target = self.live[context]
        (target.LogEntry if hasattr(target, "LogEntry") else target)(level, _decode(text))

    def _release(self, context):
        del self.live[context]

    def create(self, target):
        key, self.next = self.next, self.next + 1
        self.live[key] = target
        handle = c_uint64()
        _check(lib.brevant_log_create(
            byref(_abi.LogSink(self.entry, self.release, key)), byref(handle)))
        return handle.value


class _Library:
    """The type information as Python: enums, records, classes."""

    def __init__(self):
        self.sinks = _Sinks()
        self.enums = {}
        for i in range(lib.brevant_enum_count()):
            info = lib.brevant_enum_at(i).contents
            members = {info.members[k].name.decode(): info.members[k].value
                       for k in range(info.member_count)}
            self.enums[info.name.decode()] = enum.IntEnum(info.name.decode(), members)
        self.records = {}
        for i in range(lib.brevant_record_count()):
            info = lib.brevant_record_at(i).contents
            fields = [info.fields[k] for k in range(info.field_count)]
            cls = dataclasses.make_dataclass(
                info.name.decode(),
                [(f.name.decode(), object, dataclasses.field(default=None)) for f in fields])
            cls._fields = fields
            self.records[info.name.decode()] = cls
        self.classes = [self._make_class(i) for i in range(lib.brevant_class_count())]

    # Python to variant ------------------------------------------------------
    def to_variant(self, v, value, param):
        kind, name = param.type, _text(param.type_name)
        if isinstance(value, Ref):
            value = value.value
        if isinstance(value, str):
            # Text goes as text; the library tells whether the member takes it.
            kind = STRING
        elif (kind in (I2, I4, UI1) and isinstance(value, numbers.Real)
              and not isinstance(value, numbers.Integral)):
            # A fraction goes as a double: the library refuses it for an integer,
            # as it does for any client, where int() would truncate it.
            kind = R8
        v.type = kind
        if kind in (I2, I4, UI1) and not param.by_ref:
            # The library narrows by-value integers itself and reports an overflow.
            v.type, v.value.i4 = I4, _fits(int(value), 32)
        elif kind == I2:
            v.value.i2 = _fits(int(value), 16)
        elif kind == I4:
            v.value.i4 = _fits(int(value), 32)
        elif kind == UI1:
            v.value.ui1 = _fits(int(value), 8, unsigned=True)
        elif kind == R8:
            v.value.r8 = float(value)
        elif kind == BOOL:
            v.value.boolean = -1 if value else 0
        elif kind == STRING:
            text = str(value or "")
            if "\0" in text:
                # The library's texts end at their first NUL; the rest would be lost.
                raise ValueError(f"{_text(param.name)}: a text with a NUL, where the "
                                 "library's texts end")
            _check(lib.brevant_variant_set_string(byref(v), text.encode()))
        elif kind == OBJECT:
            v.value.object = self._object_handle(value, param)
        elif kind in (ARRAY | UI1, ARRAY | I2):
            self._packed_array(v, kind, value)
        elif kind == ARRAY | RECORD:
            items = list(value or [])
            data = _abi.libc.calloc(max(len(items), 1), ctypes.sizeof(Variant))
            elements = (Variant * max(len(items), 1)).from_address(data)
            v.value.array = _abi.Array(1 if value is not None else 0, 0, len(items), data)
            for k, item in enumerate(items):
                self.to_variant(elements[k], item, _record_param(name))
        elif kind == RECORD:
            fields = self.records[name]._fields
            data = _abi.libc.calloc(len(fields), ctypes.sizeof(Variant))
            v.value.record = _abi.Record(len(fields), ctypes.cast(data, ctypes.POINTER(Variant)))
            for k, field in enumerate(fields):
                self.to_variant(v.value.record.fields[k], getattr(value, field.name.decode()),
                                field)

    def _packed_array(self, v, kind, value):
        if value is None:
            v.value.array = _abi.Array(0, 0, 0, None)
            return
        if kind == ARRAY | UI1:
            data = bytes(value)
            buffer = ctypes.create_string_buffer(data, len(data) or 1)
        else:
            buffer = (ctypes.c_int16 * max(len(value), 1))(*value)
        _check(lib.brevant_variant_set_array(byref(v), kind & ~ARRAY, buffer, len(value), 0))

    def _object_handle(self, value, param):
        if value is None:
            return 0
        if isinstance(value, Object):
            return value._handle
        # Any other object is a log sink: a LogEntry method, or a callable. It is
        # refused here, since the library would only find out at its first entry.
        if not callable(getattr(value, "LogEntry", value)):
            raise TypeError(f"{_text(param.name)} takes an icLog: an object with a LogEntry "
                            f"method, a callable or None, not {type(value).__name__}")
        return self.sinks.create(value)

    # Variant to Python ------------------------------------------------------
    def from_variant(self, v, param):
        kind, name = v.type, _text(param.type_name)
        if kind in (I2, I4, UI1):
            number = {I2: v.value.i2, I4: v.value.i4, UI1: v.value.ui1}[kind]
            return self.enums[name](number) if name in self.enums and \
                number in self.enums[name]._value2member_map_ else number
        if kind == R8:
            return v.value.r8
        if kind == BOOL:
            return v.value.boolean != 0
        if kind == STRING:
            return _decode(ctypes.string_at(v.value.string)) if v.value.string else ""
        if kind == OBJECT:
            return self.wrap(v.value.object) if v.value.object else None
        if kind & ARRAY:
            a = v.value.array
            if not a.allocated:
                return None
            if kind == ARRAY | UI1:
                return bytearray(ctypes.string_at(a.data, a.count)) if a.count else bytearray()
            if kind == ARRAY | I2:
                return list((ctypes.c_int16 * a.count).from_address(a.data)) if a.count else []
            elements = (Variant * a.count).from_address(a.data) if a.count else []
            return [self.from_variant(e, _record_param(name)) for e in elements]
        if kind == RECORD:
            cls = self.records[name]
            return cls(**{f.name.decode(): self.from_variant(v.value.record.fields[k], f)
                          for k, f in enumerate(cls._fields)})
        return None

    def wrap(self, handle):
        index = c_int32(-1)
        _check(lib.brevant_class_of(handle, byref(index)))
        obj = object.__new__(self.classes[index.value])
        obj._handle = handle
        return obj

    # Calls ------------------------------------------------------------------
    def invoke(self, handle, member, args):
        params = [member.params[k] for k in range(member.param_count)]
        if len(args) > len(params):
            raise TypeError(f"{member.name.decode()} takes at most {len(params)} arguments")
        variants = (Variant * max(len(args), 1))()
        result = Variant()
        try:
            for k, value in enumerate(args):
                self.to_variant(variants[k], value, params[k])
            error = _error(lib.brevant_invoke(handle, member.dispid, member.kind, len(args),
                                              variants, byref(result)))
            # By-reference arguments come back from a failed call too, with what
            # the member stored before it raised.
            lost = [_text(params[k].name) for k, value in enumerate(args) if params[k].by_ref
                    and not _write_back(value, self.from_variant(variants[k], params[k]))]
            if error:
                raise error
            if lost:
                raise TypeError(f"{member.name.decode()} stored into {', '.join(lost)}, which "
                                "cannot take it: pass a bytearray, a list or a Ref")
            return self.from_variant(result, member.result) if member.result.type else None
        finally:
            for k in range(len(args)):
                lib.brevant_variant_clear(byref(variants[k]))
            lib.brevant_variant_clear(byref(result))

    def _make_class(self, index):
        info = lib.brevant_class_at(index).contents
        members = {}
        for slot in range(info.slot_count):
            member = lib.brevant_slot_at(index, slot).contents
            members.setdefault(member.name.decode(), {})[member.kind] = member
        namespace = {"_info": info, "__doc__": f"{info.name.decode()} of the Brevant library"}
        for name, kinds in members.items():
            namespace[name] = _member(self, name, kinds)
        return type(info.name.decode(), (Object,), namespace)


def _fits(value, bits, unsigned=False):
    low, high = (0, 2 ** bits - 1) if unsigned else (-2 ** (bits - 1), 2 ** (bits - 1) - 1)
    if not low <= value <= high:
        raise OverflowError(f"{value} does not fit in {bits} bits")
    return value


def _record_param(name):
    return _abi.ParamInfo(None, RECORD, name.encode(), 1, 0, 0)


def _write_back(target, value):
    """Puts what the member left in a by-reference argument into `target`.

    False when `target` is an immutable array (bytes, a tuple) that the member
    changed: what it stored would be lost. Other plain values are in-values only.
    """
    if isinstance(target, Ref):
        target.value = value
    elif isinstance(target, (bytearray, list)):
        # An array without bounds comes back as None: what the list held is gone.
        target[:] = [] if value is None else value
    elif isinstance(target, (bytes, tuple, memoryview)):
        return list(target) == list(value or [])
    return True


def _member(library, name, kinds):
    get, put, method = kinds.get(GET), kinds.get(PUT), kinds.get(METHOD)
    if method:
        def call(self, *args):
            return library.invoke(self._handle, method, args)
        call.__name__ = name
        return call
    if (get is None or get.param_count == 0) and (put is None or put.param_count == 1):
        return property(
            (lambda self: library.invoke(self._handle, get, ())) if get else None,
            (lambda self, value: library.invoke(self._handle, put, (value,))) if put else None)

    # A property with arguments: a read with its arguments, a write with the value last.
    def access(self, *args):
        if get is not None and len(args) == get.param_count:
            return library.invoke(self._handle, get, args)
        if put is not None and len(args) == put.param_count:
            return library.invoke(self._handle, put, args)
        raise TypeError(f"{name}: wrong number of arguments")
    access.__name__ = name
    return access


class Object:
    """An object of the library, its reference released with the Python object."""

    _handle = 0

    def __init__(self):
        handle = c_uint64()
        _check(lib.brevant_create_by_name(self._info.name, byref(handle)))
        self._handle = handle.value

    def __del__(self):
        if self._handle:
            lib.brevant_release(self._handle)
            self._handle = 0
