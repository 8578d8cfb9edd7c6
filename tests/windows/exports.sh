#!/bin/sh
# Brevant.dll exports the four entry points of an in-process server and no
# other function. Arguments: objdump for the target, the DLL.
set -e
objdump="$1" dll="$2"
names=$("$objdump" -p "$dll" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' |
  sed -n 's/^[[:space:]]*\[ *[0-9]*\] \([A-Za-z_][A-Za-z0-9_]*\)$/\1/p' | sort | tr '\n' ' ')
expected="DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer "
[ "$names" = "$expected" ] || { echo "exports: $names"; exit 1; }
echo "exports: $names"
