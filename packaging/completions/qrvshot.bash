# Completion for qrvshot in bash. The program itself says what may stand at the end of a line.

_qrvshot() {
  local cur=${COMP_WORDS[COMP_CWORD]} words
  words=$("$1" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
  if [[ $words == FILE ]]; then
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
  else
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
  fi
}
complete -F _qrvshot qrvshot
