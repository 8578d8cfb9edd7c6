#!/usr/bin/env bash
# Runs every example program twice, on the built-in bench and on the bench file
# that describes it, and fails if a program fails or the two runs differ. Keeps
# the examples working and the shipped bench file true to the built-in one.
set -euo pipefail
bin=$1
bench=$2
status=0
for example in "$bin"/example-*; do
  [ -x "$example" ] || continue
  builtin=$(BREVANT_DRIVER=virtual "$example")
  fromfile=$(BREVANT_DRIVER="virtual:$bench" "$example")
  if [ "$builtin" != "$fromfile" ]; then
    echo "${example##*/}: output differs on $bench"
    diff <(echo "$builtin") <(echo "$fromfile") || true
    status=1
  fi
done
exit $status
