# Completion of annomend-archive(1), tarnctl(8) and annomend(1) in bash. Commands, options and their words are those that
# --help lists.

_annomend_commands()
{
  local current=$2 previous=$3 command= help
  [[ $COMP_CWORD -eq 1 ]] || command=${COMP_WORDS[1]}
  help=$("$1" $command --help 2>/dev/null) || return
  if [[ $current == -* ]]; then
    COMPREPLY=($(compgen -W "$(sed -nE 's/^ +(-[^ ]+).*/\1/p' <<<"$help" | tr , '\n')" -- "$current"))
  elif [[ -z $command ]]; then
    COMPREPLY=($(compgen -W "$(sed -nE '/^[Ss]ubcommands:/I,/^$/s/^ +([a-z][a-z-]*) .*/\1/p' <<<"$help")" -- "$current"))
  elif [[ $previous == --* ]]; then
    COMPREPLY=($(compgen -W "$(sed -nE "s/^ +$previous [A-Z]+:\{([^}]*)\}.*/\1/p" <<<"$help" | tr , '\n')" -- "$current"))
  fi
}

complete -o default -F _annomend_commands annomend-archive tarnctl
complete -o default -W '-N -d -f -h -i -o -x' annomend
