# Completion of wyx for fish: the tool itself offers the words that fit.
function __wyx_complete
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    for line in ($words[1] __complete $words[2..-1] "$current" 2>/dev/null)
        if test "$line" = files
            __fish_complete_path "$current"
        else
            echo $line
        end
    end
end

complete -c wyx -f -a '(__wyx_complete)'
