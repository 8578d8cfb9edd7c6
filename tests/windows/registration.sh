#!/bin/sh
# Registration round trip: after unregistering, the classes are gone from the
# prefix's registry and CreateObject fails; registering brings both back.
# Arguments: the wine program, Brevant.dll, the folder of the scripts (Wine's
# script host takes its path as a Windows path, hence the drive letter Z:).
wine=$1 dll=$2 scripts=$3
fifo='HKCR\CLSID\{260ADB86-AD2C-440C-8274-399001AA91C8}\InprocServer32'
alias='HKCR\Interface\{CCB0B2E2-AD0B-4A95-B8D3-4276C0CBA31F}'
fail() { echo "FAIL registration: $*"; "$wine" regsvr32 /s "$dll"; exit 1; }

"$wine" regsvr32 /s /u "$dll" || fail "regsvr32 /u"
"$wine" reg query "$fifo" >/dev/null 2>&1 && fail "class key left after unregistering"
"$wine" reg query "$alias" >/dev/null 2>&1 && fail "alias key left after unregistering"
"$wine" cscript //nologo "Z:$scripts/create.vbs" | grep -q "^created" && fail "created while unregistered"
"$wine" regsvr32 /s "$dll" || fail "regsvr32"
"$wine" reg query "$fifo" /v ThreadingModel | grep -q Apartment || fail "no apartment threading"
"$wine" reg query "$alias\\Forward" >/dev/null 2>&1 || fail "no forward for the earlier version"
"$wine" cscript //nologo "Z:$scripts/create.vbs" | grep -q "^create: all classes" || fail "not created after registering"
echo "registration: round trip"
