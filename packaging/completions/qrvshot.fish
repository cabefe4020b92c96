# Completion for qrvshot in fish. The program itself says what may stand at the end of a line, each
# with its explanation behind a tab.

function __qrvshot_candidates
    set -l word (commandline -ct)
    for each in (qrvshot --complete (commandline -opc)[2..] "$word" 2>/dev/null)
        if test "$each" = FILE
            set -l before (string match -r -- '^--[^=]*=' $word)
            printf "$before%s\n" (__fish_complete_path (string replace -- "$before" '' $word))
        else
            printf '%s\n' $each
        end
    end
end

complete -c qrvshot -f -a '(__qrvshot_candidates)'
