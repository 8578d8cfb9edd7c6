# bash completion for brevant. Commands and options are read from the
# program's own --help, so they never lag behind it; only the values of a few
# options are known here.

# Reads `brevant WORD... --help` into _brevant_commands, _brevant_flags,
# _brevant_valued (options that take a value) and _brevant_choices (values a
# positional is limited to, as in `select device|module`).
_brevant_help() {
  _brevant_commands=() _brevant_flags=() _brevant_valued=() _brevant_choices=()
  local line section="" names
  while IFS= read -r line; do
    if [[ $line =~ ^[^\ ] ]]; then
      section=${line%%:*}
    elif [[ $line =~ ^\ {2,4}(-[^ ]+)(\ [A-Z][A-Z:]*( |$))? ]]; then
      IFS=, read -ra names <<<"${BASH_REMATCH[1]}"
      if [[ -n ${BASH_REMATCH[2]} ]]; then
        _brevant_valued+=("${names[@]}")
      else
        _brevant_flags+=("${names[@]}")
      fi
    elif [[ $section == Subcommands && $line =~ ^\ \ ([a-z][a-z0-9-]*) ]]; then
      _brevant_commands+=("${BASH_REMATCH[1]}")
    elif [[ $section == Positionals && $line =~ \{([^}]*)\} ]]; then
      IFS=, read -ra names <<<"${BASH_REMATCH[1]}"
      _brevant_choices+=("${names[@]}")
    fi
  done < <("$_brevant_program" "$@" --help 2>/dev/null)
}

_brevant() {
  local cur prev words cword
  _init_completion -n = || return
  local _brevant_program=${words[0]}
  local _brevant_commands _brevant_flags _brevant_valued _brevant_choices
  local path=() flags=() valued=() i

  # The command path so far (`spi read`). Options of the commands on it hold
  # all the way down, the global ones included.
  _brevant_help
  flags=("${_brevant_flags[@]}") valued=("${_brevant_valued[@]}")
  for ((i = 1; i < cword; i++)); do
    if [[ " ${valued[*]} " == *" ${words[i]} "* ]]; then
      ((i++))
    elif [[ " ${_brevant_commands[*]} " == *" ${words[i]} "* ]]; then
      path+=("${words[i]}")
      _brevant_help "${path[@]}"
      flags+=("${_brevant_flags[@]}") valued+=("${_brevant_valued[@]}")
    fi
  done

  case $prev in
    --driver)
      mapfile -t COMPREPLY < <(compgen -W 'd2xx libftdi virtual' -- "$cur")
      return
      ;;
    --bench)
      _filedir json
      return
      ;;
    --state)
      _filedir -d
      return
      ;;
    -d | --device)
      mapfile -t COMPREPLY < <(compgen -W 'serial= description= location=' -- "$cur")
      compopt -o nospace
      return
      ;;
  esac
  if [[ " ${valued[*]} " == *" $prev "* ]]; then
    _filedir
  elif [[ $cur == -* ]]; then
    # -h and --help come once per command on the path.
    mapfile -t COMPREPLY < <(compgen -W "${flags[*]} ${valued[*]}" -- "$cur" | sort -u)
  elif ((${#_brevant_commands[@]} + ${#_brevant_choices[@]})); then
    mapfile -t COMPREPLY < <(compgen -W "${_brevant_commands[*]} ${_brevant_choices[*]}" -- "$cur")
  else
    _filedir
  fi
}
complete -F _brevant brevant
