#!/bin/sh
# The 32-bit Brevant.dll is a PE32 image for i386 that needs no DLL of the
# compiler's runtime (libgcc_s, libstdc++, libwinpthread), only Windows' own.
# Arguments: objdump for i686, the DLL.
set -e
objdump="$1" dll="$2"
format=$("$objdump" -f "$dll" | sed -n 's/.*file format \(.*\)$/\1/p')
[ "$format" = pei-i386 ] || { echo "pe32: file format '$format', not pei-i386"; exit 1; }
imports=$("$objdump" -p "$dll" | sed -n 's/^[[:space:]]*DLL Name: //p' | sort -f | tr '\n' ' ')
case " $imports" in
  *" lib"*) echo "pe32: imports a runtime DLL: $imports"; exit 1 ;;
esac
echo "pe32: $format, imports $imports"
