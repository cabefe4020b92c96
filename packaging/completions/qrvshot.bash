# Completion for qrvshot in bash. The program itself says what may stand at the end of a line, each
# with its explanation behind a tab.

_qrvshot() {
  local cur=${COMP_WORDS[COMP_CWORD]} i each
  local -a words=() candidates
  # Bash has split words at = and :, which the program gets whole.
  for ((i = 1; i <= COMP_CWORD; ++i)); do
    each=${COMP_WORDS[i]}
    if ((i > 1)) && [[ $each == [=:]* || ${COMP_WORDS[i - 1]} == *[=:] ]]; then
      words[-1]+=$each
    else
      words+=("$each")
    fi
  done
  [[ $cur == [=:]* ]] && cur=
  local before=${words[-1]%"$cur"}
  mapfile -t candidates < <("$1" --complete "${words[@]}" 2>/dev/null)
  COMPREPLY=()
  for each in "${candidates[@]%%$'\t'*}"; do
    if [[ $each == FILE ]]; then
      compopt -o filenames 2>/dev/null
      mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$cur")
    elif [[ $each == "$before$cur"* ]]; then
      printf -v each %q "${each#"$before"}"
      COMPREPLY+=("$each")
    fi
  done
}
complete -F _qrvshot qrvshot
