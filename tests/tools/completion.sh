#!/usr/bin/env bash
# Drives the bash completion of brevant as bash does on TAB.
#   completion.sh BREVANT COMPLETION-FILE
set -uo pipefail
brevant=$1
source /usr/share/bash-completion/bash_completion
source "$2"
[[ $(complete -p brevant) == "complete -F _brevant brevant" ]] || { echo "not registered"; exit 1; }

# The words typed, the last one being completed | what TAB offers.
cases=(
  "spi -d 0 |erase jedec read verify write"
  "spi jedec --tr|--trace"
  "gpio -d |description= location= serial="
)
failed=0
for case in "${cases[@]}"; do
  read -ra COMP_WORDS <<<"$brevant ${case%%|*}"
  [[ ${case%%|*} == *" " ]] && COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMP_LINE="$brevant ${case%%|*}" COMP_POINT=${#COMP_LINE}
  COMPREPLY=()
  _brevant 2>/dev/null
  got=$(printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd ' ')
  if [[ $got != "${case#*|}" ]]; then
    echo "brevant ${case%%|*}<TAB>: got '$got', want '${case#*|}'"
    failed=1
  fi
done
exit $failed
