# shellcheck shell=bash
# Completes the commands and options of qsmsim, qsmmachine and qsmbmc, and the values of options, as
# their own --help lists them for the commands in front, and file names.

# _qsm_tool TOOL WORD BEFORE: as bash calls it.
_qsm_tool () {
  local commands=() word listed
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word != -* ]] || break
    commands+=("$word")
  done
  listed=$("$1" "${commands[@]}" --help 2>/dev/null | awk -v before="$3" '
    # "--option NAME:{one,another}", and the kinds of --inject, "kind@TARGET".
    $1 == before && match ($0, /[{].*[}]/) {
      values = substr ($0, RSTART + 1, RLENGTH - 2)
      gsub (",", "\n", values)
    }
    before == "--inject" && /^  [a-z-]+@/ { sub ("@.*", "", $1); values = values "\n" $1 }
    /^[^ ]/ { commands = $1 == "Subcommands:" }
    /^  -/ { gsub (",", "\n", $1); words = words "\n" $1 }
    /^  [a-z]/ && commands { words = words "\n" $1 }
    END { print values ? values : words }')
  readarray -t COMPREPLY < <(compgen -W "$listed" -- "$2")
  # Options come when they are asked for, and do not hide file names.
  [[ $2 == -* ]] || readarray -t COMPREPLY < <(printf '%s\n' "${COMPREPLY[@]}" | grep '^[^-]')
}
complete -o default -F _qsm_tool qsmsim qsmmachine qsmbmc
