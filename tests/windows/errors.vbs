' Errors reach a script as Err.Number, Err.Source and Err.Description, and
' wrong arguments give an error the script can catch, never a crash.
Option Explicit
Dim fifo, data(1), got
Set fifo = CreateObject("Brevant.clsFTDI245FIFO")
On Error Resume Next
fifo.QueueTx
Expect "not opened", -2147215402, "clsFTD2xx", "Device not opened"
fifo.Initialize "not a number"
Expect "string for a number", 13, "", ""
fifo.Initialize
Expect "missing argument", 450, "", ""
fifo.Initialize 1, 2
Expect "extra argument", 450, "", ""
fifo.Initialize fifo
Expect "object for a number", 13, "", ""
fifo.Initialize 70000
Expect "number too large", 6, "", ""
fifo.DataWrite Array("a", "b"), 2
Expect "strings for bytes", 13, "", ""
fifo.NoSuchMember
Expect "unknown member", 438, "", ""
fifo.Initialize 0
fifo.DataWrite data, 5
Expect "length beyond the array", 9, "", ""
fifo.Terminate
WScript.Echo "errors: all caught"

' Checks the error of the last statement; an empty text is not compared.
Sub Expect(what, number, source, description)
  If Err.Number <> number Or (source <> "" And Err.Source <> source) Or _
     (description <> "" And Err.Description <> description) Then
    WScript.Echo "FAIL errors: " & what & ": got " & Err.Number & " """ & Err.Source & """ """ & Err.Description & """"
    WScript.Quit 1
  End If
  WScript.Echo what & ": " & Err.Number & " " & Err.Source & " " & Err.Description
  Err.Clear
End Sub
