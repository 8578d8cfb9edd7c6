"""The Python package on the virtual bench, through the shared library."""

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


def test_mpsse_reads_the_spi_flash_id():
    mpsse = brevant.clsFTDIMPSSE()
    mpsse.Initialize(0)
    mpsse.SetClockDivisor(mpsse.ClockDivisorFromFrequency(1e6))
    pins = mpsse.MPSSEPortIO()
    pins.MPSSEPortOutput = brevant.eFTDIMPSSE.eftTMSCS
    pins.MPSSESignalOutput(brevant.eFTDIMPSSE.eftTMSCS, brevant.eBit.eb0)
    data = bytearray([0x9F, 0, 0, 0])
    mpsse.DataBytesInOut(data, 4, brevant.eFTMPSSEBitOrder.embMSBfirst,
                         brevant.eFTMPSSEClockPolarity.emcNegEdge,
                         brevant.eFTMPSSEClockPolarity.emcPosEdge)
    pins.MPSSESignalOutput(brevant.eFTDIMPSSE.eftTMSCS, brevant.eBit.eb1)
    assert bytes(data[1:]) == bytes([0xEF, 0x40, 0x16])
    assert pins.MPSSESignalOutput0(brevant.eFTDIMPSSE.eftTMSCS) == brevant.eBit.eb1
    mpsse.Terminate()


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
    (lambda: brevant.clsDeviceList().DialogSelectModule("two", "a", "b"), -2147352571),
])
def test_bad_calls_raise_with_a_number(action, number):
    with pytest.raises(brevant.BrevantError) as failure:
        action()
    assert failure.value.number == number and failure.value.source == "Brevant"
    assert failure.value.description


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
