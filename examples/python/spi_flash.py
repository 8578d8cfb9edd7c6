"""Reads the JEDEC ID and the first bytes of the SPI flash on device 0.

On the virtual bench, from the top of the source tree after `make`:

    BREVANT_DRIVER=virtual PYTHONPATH=python python3 examples/python/spi_flash.py
"""

import brevant
from brevant import eBit, eFTDIMPSSE, eFTMPSSEBitOrder, eFTMPSSEClockPolarity


def transaction(mpsse, pins, out):
    """CS low, `out` clocked out while as many bytes come in, CS high."""
    data = bytearray(out)
    pins.MPSSESignalOutput(eFTDIMPSSE.eftTMSCS, eBit.eb0)
    # SPI mode 0: the flash samples on the rising edge, so data change on the falling one.
    mpsse.DataBytesInOut(data, len(data), eFTMPSSEBitOrder.embMSBfirst,
                         eFTMPSSEClockPolarity.emcNegEdge, eFTMPSSEClockPolarity.emcPosEdge)
    pins.MPSSESignalOutput(eFTDIMPSSE.eftTMSCS, eBit.eb1)
    return bytes(data)


def main():
    mpsse = brevant.clsFTDIMPSSE()
    mpsse.Initialize(0)
    try:
        mpsse.SetClockDivisor(mpsse.ClockDivisorFromFrequency(6e6))
        pins = mpsse.MPSSEPortIO()
        pins.MPSSEPortOutput = eFTDIMPSSE.eftTMSCS  # CS idles high
        jedec = transaction(mpsse, pins, [0x9F, 0, 0, 0])[1:]
        print("JEDEC ID: manufacturer %02X, type %02X, capacity %02X" % tuple(jedec))
        first = transaction(mpsse, pins, [0x03, 0, 0, 0] + [0] * 16)[4:]
        print("First 16 bytes:", " ".join("%02X" % b for b in first))
    except brevant.BrevantError as e:
        print("failed: %d %s: %s" % (e.number, e.source, e.description))
        raise SystemExit(1)
    finally:
        mpsse.Terminate()


if __name__ == "__main__":
    main()
