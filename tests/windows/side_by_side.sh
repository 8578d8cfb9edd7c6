#!/bin/sh
# The 64-bit and the 32-bit Brevant.dll registered side by side: unregistering
# the 64-bit one leaves what the 32-bit one shares with it, the type library's
# key with its win32 entry and the ProgID of a class it serves. The 32-bit
# registration is a stand-in written with reg (/reg:32 for the class key,
# which 32-bit programs see in a view of their own).
# Arguments: the wine program, the 64-bit Brevant.dll.
wine=$1 dll=$2
platforms='HKCR\TypeLib\{AFA5ABAF-2CB6-4AB3-AC10-5ED462C3C0C2}\1.3\0'
fifo='HKCR\CLSID\{260ADB86-AD2C-440C-8274-399001AA91C8}'
progid='HKCR\Brevant.clsFTDI245FIFO'
other='C:\Program Files (x86)\Brevant\Brevant.dll'
restore() {
  "$wine" reg delete "$fifo" /reg:32 /f >/dev/null 2>&1
  "$wine" reg delete "$platforms\\win32" /f >/dev/null 2>&1
  "$wine" regsvr32 /s "$dll"
}
fail() { echo "FAIL side by side: $*"; restore; exit 1; }
has() { "$wine" reg query "$@" >/dev/null 2>&1; }

"$wine" reg add "$platforms\\win32" /ve /d "$other" /f >/dev/null || fail "reg add"
"$wine" reg add "$fifo\\InprocServer32" /ve /d "$other" /reg:32 /f >/dev/null || fail "reg add /reg:32"
"$wine" regsvr32 /s /u "$dll" || fail "regsvr32 /u"
has "$platforms\\win32" || fail "the 32-bit DLL's type library entry went"
has "$platforms\\win64" && fail "the 64-bit DLL's type library entry stayed"
has "$progid" || fail "the ProgID of a class the 32-bit DLL serves went"
has "$fifo" && fail "the 64-bit class key stayed"
has "$fifo" /reg:32 || fail "the 32-bit class key went"
has 'HKCR\Brevant.clsDeviceList' && fail "the ProgID of a class only the 64-bit DLL served stayed"
restore
echo "side by side: kept the 32-bit registration's entries"
