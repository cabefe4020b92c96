# Completion for qrvshot in fish. The program itself says what may stand at the end of a line.

function __qrvshot_candidates
    set -l candidates (qrvshot --complete (commandline -opc)[2..] (commandline -ct) 2>/dev/null)
    if test "$candidates" = FILE
        __fish_complete_path (commandline -ct)
    else
        printf '%s\n' $candidates
    end
end

complete -c qrvshot -f -a '(__qrvshot_candidates)'
