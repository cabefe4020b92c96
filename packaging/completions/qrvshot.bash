# Completion for qrvshot in bash: the options are those of the command's help.

_qrvshot() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} command="" word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $word in capture | displays | raw | from-raw | methods) command=$word && break ;; esac
  done
  COMPREPLY=()
  case $prev in
    --format) COMPREPLY=($(compgen -W "png jpg webp ppm" -- "$cur")) && return ;;
    --strategy) COMPREPLY=($(compgen -W "display-image opengl quickdraw" -- "$cur")) && return ;;
    --app) COMPREPLY=($(compgen -W "desktop console web" -- "$cur")) && return ;;
    --display)
      COMPREPLY=($(compgen -W "main $("$1" displays --json 2>/dev/null |
        grep -oE '"(index|name)": "?[^",]*' | sed 's/.*[ "]//')" -- "$cur"))
      return
      ;;
    --desktop) COMPREPLY=($(compgen -W "wayland portal x11 virtual" -- "$cur")) && return ;;
    --rect | --size | --scale | --delay | --count | --interval | --quality | --compression | \
      --host-version | --system-version | --width | --height | --row-bytes) return ;;
    -o | --output | --plugin)
      compopt -o filenames 2>/dev/null
      COMPREPLY=($(compgen -f -- "$cur"))
      return
      ;;
  esac
  if [[ $cur == -* ]]; then
    COMPREPLY=($(compgen -W "$("$1" $command --help 2>/dev/null |
      sed -n 's/^  \(-[^ ,]*\)\(, \(--[^ ]*\)\)\{0,1\}.*/\1 \3/p')" -- "$cur"))
  elif [[ -z $command ]]; then
    COMPREPLY=($(compgen -W "capture displays raw from-raw methods" -- "$cur"))
  else
    compopt -o filenames 2>/dev/null
    COMPREPLY=($(compgen -f -- "$cur"))
  fi
}
complete -F _qrvshot qrvshot
