' The JEDEC ID of the SPI flash on device 0 of the virtual bench, read with
' one MPSSE transfer between chip select low and high.
Option Explicit
Const eftTMSCS = 8, embMSBfirst = 0, emcPosEdge = 0, emcNegEdge = 1
Dim mpsse, pins, id(3)
Set mpsse = CreateObject("Brevant.clsFTDIMPSSE")
mpsse.Initialize 0
mpsse.SetClockDivisor mpsse.ClockDivisorFromFrequency(1000000)
Set pins = mpsse.MPSSEPortIO
If Not (pins Is mpsse.MPSSEPortIO) Then Fail "the port model is not one object"
pins.MPSSEPortOutput = eftTMSCS
id(0) = &H9F
pins.MPSSESignalOutput(eftTMSCS) = 0
mpsse.DataBytesInOut id, 4, embMSBfirst, emcNegEdge, emcPosEdge
pins.MPSSESignalOutput(eftTMSCS) = 1
mpsse.Terminate
If id(1) <> &HEF Or id(2) <> &H40 Or id(3) <> &H16 Then Fail "JEDEC ID " & Hex(id(1)) & " " & Hex(id(2)) & " " & Hex(id(3))
WScript.Echo "spi flash: JEDEC ID " & Hex(id(1)) & " " & Hex(id(2)) & " " & Hex(id(3))

Sub Fail(why)
  WScript.Echo "FAIL spi flash: " & why
  WScript.Quit 1
End Sub
