#!/bin/sh
# Writes brevant.1.gz, and brevant-COMMAND.1.gz for each command that
# `brevant --help` lists, into DIR: a new command gets its page unasked.
#   make-pages.sh BREVANT INCLUDE DIR
set -eu
brevant=$(realpath "$1")
include=$(realpath "$2")
out=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# help2man names a page after the program it runs, and the usage line shows
# how that program was called: so a `brevant` on PATH, and beside it a
# `brevant-COMMAND` per command that runs `brevant COMMAND`.
ln -s "$brevant" "$work/brevant"
PATH=$work:$PATH
export PATH

# The version line is "Brevant 1.00.0010"; the line under it names a driver,
# which is no part of a page.
version=$(brevant --version | sed -n '1s/^[^ ]* //p')
# "  spi     a serial NOR flash on an MPSSE channel", under "Subcommands:".
brevant --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z0-9-]*\)  *\(.*\)/\1 \2/p' \
  > "$work/commands"
[ -s "$work/commands" ] || { echo "make-pages.sh: brevant --help lists no commands" >&2; exit 1; }

page() { # NAME DESCRIPTION HELP2MAN-OPTION...
  name=$1 description=$2
  shift 2
  help2man -N --version-string="$version" -n "$description" "$@" -o "$work/$name.1" "$name"
  gzip -9n < "$work/$name.1" > "$work/$name.1.gz"
}

while read -r command description; do
  printf '#!/bin/sh\nexec brevant %s "$@"\n' "$command" > "$work/brevant-$command"
  chmod +x "$work/brevant-$command"
  printf '[SEE ALSO]\n.BR brevant (1)\n' > "$work/see-also-$command"
  page "brevant-$command" "$description" -i "$work/see-also-$command"
done < "$work/commands"
# brevant.1 points to every command's page.
{
  echo '[SEE ALSO]'
  sed 's/^\([^ ]*\) .*/.BR brevant-\1 (1)/; $!s/$/,/' "$work/commands"
} > "$work/see-also"
page brevant "FTDI devices from the command line" -i "$include" -i "$work/see-also"

mkdir -p "$out"
rm -f "$out"/*.1.gz
mv "$work"/*.1.gz "$out"/
