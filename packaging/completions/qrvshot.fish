# Completion for qrvshot in fish: the options are those of the command's help.

function __qrvshot_command
    for word in (commandline -opc)[2..-1]
        if contains -- $word capture displays raw from-raw methods
            echo $word
            return
        end
    end
end

function __qrvshot_options
    qrvshot (__qrvshot_command) --help 2>/dev/null |
        sed -n 's/^  \(-[^ ,]*\)\(, \(--[^ ]*\)\)\{0,1\}.*/\1 \3/p' | tr ' ' '\n' |
        string match -r '.+'
end

function __qrvshot_displays
    qrvshot displays --json 2>/dev/null | string match -r -a '"(?:index|name)": "?[^",]*' |
        string replace -r '.*[ "]' ''
end

function __qrvshot_after
    contains -- (commandline -opc)[-1] $argv
end

complete -c qrvshot -n 'test -z "$(__qrvshot_command)"' -f -a 'capture displays raw from-raw methods'
complete -c qrvshot -n 'string match -q -- "-*" (commandline -ct)' -f -a '(__qrvshot_options)'
complete -c qrvshot -n '__qrvshot_after --format' -f -a 'png jpg webp ppm'
complete -c qrvshot -n '__qrvshot_after --strategy' -f -a 'display-image opengl quickdraw'
complete -c qrvshot -n '__qrvshot_after --app' -f -a 'desktop console web'
complete -c qrvshot -n '__qrvshot_after --display' -f -a 'main (__qrvshot_displays)'
complete -c qrvshot -n '__qrvshot_after --desktop' -f -a 'wayland portal x11 virtual'
complete -c qrvshot -f -n '__qrvshot_after --rect --size --scale --delay --count --interval --quality --compression --host-version --system-version --width --height --row-bytes'
