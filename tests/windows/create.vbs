' Every creatable class comes from CreateObject; the port model and the log
' sink interface do not; Process tells the library's version.
Option Explicit
Dim name, made, p
For Each name In Array("clsFTDIMPSSE", "clsFTDISyncBitBang", "Process", "clsFTDIOpto", _
                       "clsFTDI245FIFO", "clsDeviceList")
  Set made = CreateObject("Brevant." & name)
  If Not IsObject(made) Then Fail name & " was not made"
  WScript.Echo "created " & name
Next
On Error Resume Next
For Each name In Array("clsFTDIMPSSEPortIO", "icLog")
  Err.Clear
  Set made = CreateObject("Brevant." & name)
  If Err.Number <> 429 Then Fail name & " gave error " & Err.Number
  WScript.Echo "refused " & name & ": " & Err.Number & " " & Err.Description
Next
On Error GoTo 0
Set p = CreateObject("Brevant.Process")
If p.Major <> 1 Or p.Minor <> 0 Or p.Revision <> 10 Then Fail "version " & p.Major & "." & p.Minor & "." & p.Revision
WScript.Echo "create: all classes as expected, version " & p.Major & "." & p.Minor & "." & p.Revision

Sub Fail(why)
  WScript.Echo "FAIL create: " & why
  WScript.Quit 1
End Sub
