' A 245 FIFO echo on the virtual FTD2XX.DLL: channel A of the first
' "Dual RS232-HS" part, whose far side sends back what it gets.
Option Explicit
Dim list, devices, fifo, data(4), answer(4), got, i, text
Set list = CreateObject("Brevant.clsDeviceList")
If list.FindModule(2, "Dual RS232-HS", devices) = 0 Then Fail "no Dual RS232-HS part"
Set fifo = CreateObject("Brevant.clsFTDI245FIFO")
fifo.Initialize devices(0)
For i = 0 To 4
  data(i) = Asc(Mid("Hello", i + 1, 1))
Next
fifo.DataWrite data, 5
fifo.DataRead answer, 5, got
If got <> 5 Then Fail "read " & got & " bytes"
text = ""
For i = LBound(answer) To UBound(answer)
  text = text & Chr(answer(i))
Next
If text <> "Hello" Then Fail "read back """ & text & """"
fifo.Terminate
WScript.Echo "fifo echo: sent and read back """ & text & """ on device " & devices(0)

Sub Fail(why)
  WScript.Echo "FAIL fifo echo: " & why
  WScript.Quit 1
End Sub
