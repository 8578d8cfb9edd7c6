"""Out values of failing and short calls, the same through the C++ classes, the C
ABI, the Python package and the COM server.

Each case runs in a process of its own on the bench it names: the C++ runner
(brevant-out-values, named by BREVANT_OUT_VALUES), this file run as a script
for the C ABI (ctypes, no package class) and for Python, and a COM client of
Brevant.dll under Wine (the command in BREVANT_COM_OUT_VALUES, which the
Windows build's test ComOutValues sets). Each prints
[error number, out values...] as JSON. Run as a script: out_values_test.py
c|python ACTION EXTRA.
"""

import ctypes
import json
import os
import shlex
import subprocess
import sys
from ctypes import byref, c_char_p, c_int32, c_uint64

import pytest

DRIVER_FAILURE = -2147215403


def single(**failures):
    return {"devices": [{"serialNumber": "SN1A", "description": "Probe A", "location": "0x0121",
                         "listFailures": failures}]}


TWIN = {"devices": [{"part": "FT2232H", "serial": "QX17", "location": "0x0131",
                     "description": "Twin Port"}]}
# Two channels at the largest location: the next one's location cannot be had.
AT_THE_TOP = {"devices": [
    {"serialNumber": "QX17A", "description": "Edge", "location": "0x7FFFFFFF"},
    {"serialNumber": "QX17B", "description": "Edge", "location": "0x7FFFFFFF"}]}
FIFO = {"devices": [{"part": "FT232H", "serial": "F1", "location": "0x0111"}]}

# name, action, extra, bench, [error, out values...]. The in-values are the
# runners': GetDeviceInfo(0, "old", "old", 7); ScanDevices(5, one old record);
# DiscernModules(scanned count + extra, scan, -1, no modules); DataRead of 5 into
# EE EE EE EE EE with BytesRead -1, after writing 80 5A 01.
CASES = [
    ("serial read fails", "GetDeviceInfo", 0, single(serialNumber=4),
     [DRIVER_FAILURE, "old", "old", 7]),
    ("description read fails", "GetDeviceInfo", 0, single(description=4),
     [DRIVER_FAILURE, "SN1A", "old", 7]),
    ("location read fails", "GetDeviceInfo", 0, single(location=4),
     [DRIVER_FAILURE, "SN1A", "Probe A", 7]),
    ("empty machine", "ScanDevices", 0, {"devices": []}, [0, 0, []]),
    ("count fails", "ScanDevices", 0,
     dict(TWIN, faults=[{"call": "FT_ListDevices", "nth": 1}]), [0, 0, []]),
    ("count beyond the records", "DiscernModules", 1, TWIN,
     [9, 1, [["QX17", "Twin Port", 2, [0, 1]]]]),
    ("location overflows", "DiscernModules", 0, AT_THE_TOP, [6, 1, [["QX17", "Edge", 1, [0]]]]),
    ("short read", "DataRead", 0, FIFO, [0, "805A01EEEE", 3]),
]


@pytest.mark.parametrize("surface", ["c++", "c", "python", "com"])
@pytest.mark.parametrize("name, action, extra, bench, expected", CASES,
                         ids=[case[0] for case in CASES])
def test_out_values(tmp_path, surface, name, action, extra, bench, expected):
    path = tmp_path / "bench.json"
    path.write_text(json.dumps(bench))
    if surface == "c++":
        if not os.environ.get("BREVANT_OUT_VALUES"):
            pytest.skip("BREVANT_OUT_VALUES names no C++ runner (CTest sets it)")
        command = [os.environ["BREVANT_OUT_VALUES"]]
    elif surface == "com":
        if not os.environ.get("BREVANT_COM_OUT_VALUES"):
            pytest.skip("BREVANT_COM_OUT_VALUES names no COM runner (the Windows build sets it)")
        command = shlex.split(os.environ["BREVANT_COM_OUT_VALUES"])
    else:
        command = [sys.executable, __file__, surface]
    # Files, not pipes: the Wine server that the COM runner starts holds a pipe
    # open for seconds after the program has ended.
    out, err = tmp_path / "out", tmp_path / "err"
    with out.open("w") as stdout, err.open("w") as stderr:
        run = subprocess.run(command + [action, str(extra)], stdout=stdout, stderr=stderr,
                             env=dict(os.environ, BREVANT_DRIVER=f"virtual:{path}"))
    assert run.returncode == 0, err.read_text()
    assert json.loads(out.read_text()) == expected


# The C ABI ---------------------------------------------------------------------

def c_runner(action, extra):
    from brevant import _abi
    from brevant._abi import ARRAY, BOOL, I2, I4, METHOD, RECORD, UI1, Variant, lib
    lib.brevant_dispid.argtypes = [c_uint64, c_char_p, ctypes.POINTER(c_int32)]

    def make(name):
        handle = c_uint64()
        assert lib.brevant_create_by_name(name.encode(), byref(handle)) == 0
        return handle.value

    def call(obj, member, *args):
        dispid = c_int32()
        assert lib.brevant_dispid(obj, member.encode(), byref(dispid)) == 0
        variants = (Variant * max(len(args), 1))(*args)
        status = lib.brevant_invoke(obj, dispid.value, METHOD, len(args), variants, None)
        return (lib.brevant_error_number() if status else 0), variants

    def number(kind, value):
        v = Variant(kind)
        setattr(v.value, {I2: "i2", I4: "i4"}[kind], value)
        return v

    def text(value):
        v = Variant()
        lib.brevant_variant_set_string(byref(v), value.encode())
        return v

    def string(v):
        return ctypes.string_at(v.value.string).decode()

    def data(values):
        v = Variant()
        lib.brevant_variant_set_array(byref(v), UI1, bytes(values), len(values), 0)
        return v

    def records(items):
        # The library frees what it writes over, so records live in malloc'ed memory.
        v = Variant(ARRAY | RECORD)
        memory = _abi.libc.calloc(max(len(items), 1), ctypes.sizeof(Variant))
        v.value.array = _abi.Array(1 if items else 0, 0, len(items), memory)
        for k, fields in enumerate(items):
            record = Variant.from_address(memory + k * ctypes.sizeof(Variant))
            array = _abi.libc.calloc(len(fields), ctypes.sizeof(Variant))
            record.type, record.value.record = RECORD, _abi.Record(
                len(fields), ctypes.cast(array, ctypes.POINTER(Variant)))
            for f, field in enumerate(fields):
                record.value.record.fields[f] = field
        return v

    def elements(v):
        a = v.value.array
        return [Variant.from_address(a.data + k * ctypes.sizeof(Variant)).value.record.fields
                for k in range(a.count)]

    def device(fields):
        return [fields[0].value.i2, fields[1].value.boolean != 0, string(fields[2]),
                string(fields[3]), fields[4].value.i4]

    if action == "GetDeviceInfo":
        error, out = call(make("clsDeviceList"), "GetDeviceInfo", number(I2, 0), text("old"),
                          text("old"), number(I4, 7))
        return [error, string(out[1]), string(out[2]), out[3].value.i4]
    if action == "ScanDevices":
        old = [number(I2, 9), Variant(BOOL), text("old"), text("old"), number(I4, 7)]
        error, out = call(make("clsDeviceList"), "ScanDevices", number(I4, 5), records([old]))
        return [error, out[0].value.i4, [device(f) for f in elements(out[1])]]
    if action == "DiscernModules":
        devices = make("clsDeviceList")
        _, scan = call(devices, "ScanDevices", number(I4, 0), records([]))
        error, out = call(devices, "DiscernModules", number(I4, scan[0].value.i4 + extra),
                          scan[1], number(I4, -1), records([]))
        modules = [[string(m[2]), string(m[3]), m[0].value.i4,
                    [device(d)[0] for d in elements(m[1])]] for m in elements(out[3])]
        return [error, out[2].value.i4, modules]
    if action == "DataRead":
        fifo = make("clsFTDI245FIFO")
        assert call(fifo, "Initialize", number(I2, 0))[0] == 0
        assert call(fifo, "DataWrite", data([0x80, 0x5A, 0x01]), number(I4, 3))[0] == 0
        error, out = call(fifo, "DataRead", data([0xEE] * 5), number(I4, 5), number(I4, -1))
        buffer = ctypes.string_at(out[0].value.array.data, out[0].value.array.count)
        return [error, buffer.hex().upper(), out[2].value.i4]
    raise ValueError(action)


# Python ------------------------------------------------------------------------

def python_runner(action, extra):
    import brevant
    from brevant import Ref

    def failure(call):
        try:
            call()
            return 0
        except brevant.BrevantError as error:
            return error.number

    def device(i):
        return [i.Device, i.Error, i.SerialNumber, i.Description, i.LocationID]

    devices = brevant.clsDeviceList()
    if action == "GetDeviceInfo":
        serial, description, location = Ref("old"), Ref("old"), Ref(7)
        error = failure(lambda: devices.GetDeviceInfo(0, serial, description, location))
        return [error, serial.value, description.value, location.value]
    if action == "ScanDevices":
        count, infos = Ref(5), [brevant.tDeviceInfo(9, False, "old", "old", 7)]
        error = failure(lambda: devices.ScanDevices(count, infos))
        return [error, count.value, [device(i) for i in infos]]
    if action == "DiscernModules":
        count, infos, modules, found = Ref(0), [], Ref(-1), []
        devices.ScanDevices(count, infos)
        error = failure(lambda: devices.DiscernModules(count.value + extra, infos, modules, found))
        return [error, modules.value, [[m.SerialNumber, m.Description, m.DeviceCount,
                                        [d.Device for d in m.DeviceInfos]] for m in found]]
    if action == "DataRead":
        fifo = brevant.clsFTDI245FIFO()
        fifo.Initialize(0)
        fifo.DataWrite(b"\x80\x5A\x01", 3)
        buffer, read = bytearray([0xEE] * 5), Ref(-1)
        error = failure(lambda: fifo.DataRead(buffer, 5, read))
        return [error, buffer.hex().upper(), read.value]
    raise ValueError(action)


if __name__ == "__main__":
    surface, action, extra = sys.argv[1], sys.argv[2], int(sys.argv[3])
    runner = {"c": c_runner, "python": python_runner}[surface]
    print(json.dumps(runner(action, extra)))
