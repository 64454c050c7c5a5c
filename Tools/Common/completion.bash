# shellcheck shell=bash
# Completes the commands and options of qsmsim, qsmmachine and qsmbmc, as their own --help lists them
# for the commands in front, and file names.

# _qsm_tool TOOL WORD: as bash calls it.
_qsm_tool () {
  local commands=() word listed
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word != -* ]] || break
    commands+=("$word")
  done
  listed=$("$1" "${commands[@]}" --help 2>/dev/null | awk '
    /^[^ ]/ { commands = $1 == "Subcommands:" }
    /^  -/ { gsub (",", "\n", $1); print $1 }
    /^  [a-z]/ && commands { print $1 }')
  readarray -t COMPREPLY < <(compgen -W "$listed" -- "$2")
  # Options come when they are asked for, and do not hide file names.
  [[ $2 == -* ]] || readarray -t COMPREPLY < <(printf '%s\n' "${COMPREPLY[@]}" | grep '^[^-]')
}
complete -o default -F _qsm_tool qsmsim qsmmachine qsmbmc
