#!/bin/sh
# The shared library exports the C ABI and nothing else: every defined dynamic
# symbol is a brevant_ function, the version block, or one of the four Dll entry
# points.
set -e
library="$1"
symbols=$(nm -D --defined-only "$library" | awk '{print $3}')
stray=$(echo "$symbols" | grep -v -E '^(brevant_[a-z_]+|DllRegisterServer|DllUnregisterServer|DllGetClassObject|DllCanUnloadNow)$' || true)
if [ -n "$stray" ]; then
  echo "symbols beyond the C ABI:"; echo "$stray"; exit 1
fi
for needed in DllRegisterServer DllUnregisterServer DllGetClassObject DllCanUnloadNow \
    brevant_invoke brevant_version; do
  echo "$symbols" | grep -qx "$needed" || { echo "missing: $needed"; exit 1; }
done
echo "$(echo "$symbols" | wc -l) symbols, all of the C ABI"
