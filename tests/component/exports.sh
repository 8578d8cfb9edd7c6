#!/bin/sh
# The shared library exports the C ABI, the four Dll entry points and the C++
# classes of namespace brevant, and nothing else: no symbol of the core linked
# in nor of the C++ runtime's templates.
set -e
library="$1"
symbols=$(nm -D --defined-only "$library" | awk '{print $3}')
stray=$(echo "$symbols" | grep -v -E '^(brevant_[a-z_]+|DllRegisterServer|DllUnregisterServer|DllGetClassObject|DllCanUnloadNow)$' |
  c++filt | grep -v -E '^((typeinfo|typeinfo name|vtable) for )?brevant::' || true)
if [ -n "$stray" ]; then
  echo "symbols beyond the C ABI and the C++ classes:"; echo "$stray"; exit 1
fi
# What a client of each surface needs first.
for needed in DllGetClassObject brevant_invoke brevant_version \
    'brevant::clsFTDI245FIFO::Initialize(short)' 'typeinfo for brevant::Error' \
    'brevant::UseDriver(std::basic_string_view<char, std::char_traits<char> >)'; do
  echo "$symbols" | c++filt | grep -qxF "$needed" || { echo "missing: $needed"; exit 1; }
done
echo "$(echo "$symbols" | wc -l) symbols, all of the C ABI or the C++ classes"
