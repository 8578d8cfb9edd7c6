"""The Python package on the virtual bench, through the shared library."""

import json
import os
import shutil
import subprocess
import sys

import pytest

import brevant
from brevant import Ref


class Sink:
    def __init__(self):
        self.lines = []

    def LogEntry(self, level, entry):
        self.lines.append((level, entry))


def test_type_information_builds_the_package():
    assert brevant.library.name == b"Brevant"
    assert (brevant.library.major, brevant.library.minor) == (1, 3)
    assert brevant.eFTDIChannel.eftD7 == 128
    assert brevant.errDeviceList.errDialogCancel == -2147214602
    assert [f.name for f in brevant.tModuleInfo.__dataclass_fields__.values()] == [
        "DeviceCount", "DeviceInfos", "SerialNumber", "Description"]
    assert (brevant.Process().Major, brevant.Process().Minor, brevant.Process().Revision) == (
        1, 0, 10)


def test_fifo_echo_with_log_sink_and_error():
    sink, fifo = Sink(), brevant.clsFTDI245FIFO()
    fifo.Log = sink
    fifo.Initialize(0)
    assert sink.lines[0] == (3, "FT_Open (0, 0x00000A3C) = 0")
    fifo.DataWrite(bytearray(b"abc"), 3)
    data, count = bytearray(4), Ref(0)
    fifo.DataRead(data, 4, count)
    assert (bytes(data[:3]), count.value) == (b"abc", 3)
    fifo.Terminate()
    with pytest.raises(brevant.BrevantError) as failure:
        fifo.QueueTx()
    assert (failure.value.number, failure.value.source, failure.value.description) == (
        -2147215402, "clsFTD2xx", "Device not opened")


def test_records_and_reference_arrays():
    devices = brevant.clsDeviceList()
    count, infos = Ref(0), Ref()
    devices.ScanDevices(count, infos)
    assert count.value == 7 and infos.value[0].SerialNumber == "BV23H002"
    modules, found = Ref(0), Ref()
    devices.DiscernModules(count.value, infos, modules, found)
    assert [(m.Description, m.DeviceCount) for m in found.value[:modules.value]] == [
        ("Quad RS232-HS", 4), ("Dual RS232-HS", 2)]
    channels = []
    assert devices.FindModule(2, "Dual RS232-HS", channels) == 1 and channels == [0, 1]


@pytest.mark.parametrize("action, number", [
    (lambda: brevant.clsFTDIMPSSEPortIO(), -2147221231),        # not creatable
    (lambda: brevant.clsFTDI245FIFO().Initialize("zero"), -2147352571),  # type mismatch
    (lambda: brevant.clsFTDI245FIFO().Initialize(70000), -2147352566),   # overflow
    (lambda: brevant.clsFTDI245FIFO().Initialize(1.5), -2147352571),     # not truncated to 1
    (lambda: brevant.clsDeviceList().DialogSelectModule("two", "a", "b"), -2147352571),
])
def test_bad_calls_raise_with_a_number(action, number):
    with pytest.raises(brevant.BrevantError) as failure:
        action()
    assert failure.value.number == number and failure.value.source == "Brevant"
    assert failure.value.description


def read_into_bytes():
    fifo = brevant.clsFTDI245FIFO()
    fifo.Initialize(0)
    fifo.DataWrite(b"\x80\x01", 2)
    fifo.DataRead(b"xx", 2, Ref(0))


@pytest.mark.parametrize("action, refusal", [
    # A sink that cannot take entries would fail at each one, inside the library.
    (lambda: setattr(brevant.clsFTDI245FIFO(), "Log", 5), TypeError),
    # What DataRead stores would be lost.
    (read_into_bytes, TypeError),
    # The library's texts end at a NUL: this would find "Dual RS232-HS A".
    (lambda: brevant.clsDeviceList().FindDevice("Dual RS232-HS A\0x", Ref(0)), ValueError),
])
def test_python_refuses_what_the_library_would_lose(action, refusal):
    with pytest.raises(refusal):
        action()


def test_text_cut_inside_a_character_reads_with_a_replacement(tmp_path):
    bench = tmp_path / "bench.json"
    bench.write_text(json.dumps({"devices": [
        {"serialNumber": "C1", "description": "x" * 63 + "\u00e9", "location": 1}]}))
    script = ("import brevant, json; lines, count, infos = [], brevant.Ref(0), []\n"
              "devices = brevant.clsDeviceList()\n"
              "devices.Log = lambda level, entry: lines.append(entry)\n"
              "devices.ScanDevices(count, infos)\n"
              "print(json.dumps([infos[0].Description, lines[2]]))")
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True,
                         env=dict(os.environ, BREVANT_DRIVER=f"virtual:{bench}"))
    # The driver keeps 64 bytes: 63 x and the first byte of the two of é.
    assert run.returncode == 0 and not run.stderr, run.stderr
    assert json.loads(run.stdout) == [
        "x" * 63 + "\ufffd", 'FT_ListDevices (0, "' + "x" * 63 + '\ufffd", 0x40000002) = 0']


def test_python_example_runs():
    """The example of examples/python prints what the C++ one prints."""
    root = os.path.join(os.path.dirname(__file__), "..", "..")
    run = subprocess.run([sys.executable, os.path.join(root, "examples", "python", "spi_flash.py")],
                         capture_output=True, text=True, check=True)
    assert run.stdout.splitlines() == [
        "JEDEC ID: manufacturer EF, type 40, capacity 16",
        "First 16 bytes: " + " ".join(["FF"] * 16)]


@pytest.mark.parametrize("named, places", [
    # Set, it is the only place: another library found instead would go unnoticed.
    ("/nonexistent/libbrevant.so.1", ["/nonexistent/libbrevant.so.1"]),
    # Unset: the recorded install path, the build tree, the loader's path, in order.
    ("", ["/gone/libbrevant.so.1", "{build}", " libbrevant.so.1"]),
])
def test_missing_library_is_an_import_error_naming_each_place_tried(tmp_path, named, places):
    package = tmp_path / "site" / "brevant"
    shutil.copytree(os.path.dirname(brevant.__file__), package,
                    ignore=shutil.ignore_patterns("__pycache__"))
    (package / "_installed.py").write_text('LIBRARY = "/gone/libbrevant.so.1"\n')
    build = tmp_path / "build" / "lib" / "libbrevant.so.1"
    env = dict(os.environ, BREVANT_LIBRARY=named, PYTHONPATH=str(package.parent),
               LD_LIBRARY_PATH="")
    run = subprocess.run(
        [sys.executable, "-c", "try:\n import brevant\nexcept ImportError as e:\n print(e)"],
        env=env, cwd=tmp_path, capture_output=True, text=True, check=True)
    lines = run.stdout.splitlines()
    assert len(lines) == len(places) + 2
    for place, line in zip(places, lines[1:-1]):
        assert place.format(build=build) + ": cannot open" in line
    assert lines[-1] == "Set BREVANT_LIBRARY to the path of libbrevant.so.1."


def test_i2c_bus_on_the_default_bench():
    mpsse, bus = brevant.clsFTDIMPSSE(), brevant.I2cBus()
    mpsse.Initialize(4)
    assert bus.Open(mpsse, 400e3) == 400e3
    assert list(bus.Scan()) == [0x48, 0x50]
    assert bytes(bus.ReadRegister(0x48, 0, 2)) == b"\x17\x80"
    bus.Write(0x50, bytearray(b"\x00\x20ok"))
    with pytest.raises(brevant.BrevantError) as busy:
        bus.Read(0x50, 1)
    assert (busy.value.number, busy.value.source, busy.value.description) == (
        -2147215183, "I2cBus", "No answer from I2C address 0x50")
    with pytest.raises(brevant.BrevantError) as unopened:
        brevant.I2cBus().Scan()
    assert unopened.value.description == "Device not opened"
