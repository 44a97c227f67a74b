# Completion of wyx for fish. Sections and keys are those of the file on the command line.

# The words in front of the cursor that are no options: "wyx" first, then verbs and operands.
function __wyx_words
    set -l skip 0
    for word in (commandline -opc)
        if test $skip = 1
            set skip 0
        else if contains -- $word -w --wrap --show --restore --files0-from --shown
            set skip 1
        else if not string match -q -- '-?*' $word
            echo $word
        end
    end
end

# Whether the words begin with the given ones, and, with -n N, whether N more follow.
function __wyx_at
    argparse 'n=' -- $argv
    or return
    set -l words (__wyx_words)
    set -e words[1]
    for word in $argv
        test (count $words) -gt 0; and test "$words[1]" = "$word"
        or return 1
        set -e words[1]
    end
    not set -q _flag_n; or test (count $words) -eq $_flag_n
end

function __wyx_sections
    set -l words (__wyx_words)
    wyx ini sections -- $words[4] 2>/dev/null
end

function __wyx_keys
    set -l words (__wyx_words)
    wyx ini keys -- $words[4] $words[5] 2>/dev/null
end

complete -c wyx -s h -l help -d 'Help'
complete -c wyx -f -n '__wyx_at -n 0' -s V -l version -d 'Version'

complete -c wyx -f -n '__wyx_at -n 0' -a sum -d 'Checksums of files, and their verification'
complete -c wyx -f -n '__wyx_at -n 0' -a base64 -d 'Base64 of a file, and back'
complete -c wyx -f -n '__wyx_at -n 0' -a addr -d 'What addresses mean to the library'
complete -c wyx -f -n '__wyx_at -n 0' -a ini -d 'Look into INI files, check and change them'

complete -c wyx -n '__wyx_at sum' -l crc16 -d 'CRC-16'
complete -c wyx -n '__wyx_at sum' -l crc32 -d 'CRC-32'
complete -c wyx -n '__wyx_at sum' -l md5 -d 'MD5'
complete -c wyx -n '__wyx_at sum' -s c -l check -d 'Verify lists of sums'
complete -c wyx -n '__wyx_at sum' -s q -l quiet -d 'Do not report files that match'
complete -c wyx -n '__wyx_at sum' -s s -l status -d 'Report by the exit code only'
complete -c wyx -n '__wyx_at sum' -l json -d 'Write JSON'

complete -c wyx -n '__wyx_at base64' -s d -l decode -d 'Decode'
complete -c wyx -n '__wyx_at base64' -x -s w -l wrap -d 'Length of a line'

complete -c wyx -f -n '__wyx_at addr' -l json -d 'Write JSON'

complete -c wyx -f -n '__wyx_at -n 0 ini' -a get -d 'The value of a key'
complete -c wyx -f -n '__wyx_at -n 0 ini' -a set -d 'Set keys, all of them in one save'
complete -c wyx -f -n '__wyx_at -n 0 ini' -a del -d 'Delete a key, or a whole section'
complete -c wyx -f -n '__wyx_at -n 0 ini' -a sections -d 'The names of all sections'
complete -c wyx -f -n '__wyx_at -n 0 ini' -a keys -d 'The names of the keys in a section'
complete -c wyx -f -n '__wyx_at -n 0 ini' -a list -d 'Every stored line with its kind'
complete -c wyx -f -n '__wyx_at -n 0 ini' -a check -d 'All that is wrong with files'
complete -c wyx -f -n '__wyx_at -n 0 ini' -a recover -d 'What an interrupted save left'
complete -c wyx -f -n '__wyx_at -n 0 ini' -a roundtrip -d 'Try the library on copies of files'

for verb in get set del sections keys list check recover roundtrip
    complete -c wyx -n "__wyx_at ini $verb" -l json -d 'Write JSON'
end
for verb in get set del keys
    complete -c wyx -f -n "__wyx_at -n 1 ini $verb" -a '(__wyx_sections)'
end
for verb in get set del
    complete -c wyx -f -n "__wyx_at -n 2 ini $verb" -a '(__wyx_keys)'
end
complete -c wyx -n '__wyx_at ini set' -l create -d 'Make the file if it does not exist'
complete -c wyx -n '__wyx_at ini check' -s e -l errors -d 'No warnings'
complete -c wyx -n '__wyx_at ini check' -l strict -d 'Let warnings count as errors'
complete -c wyx -n '__wyx_at ini recover' -x -l show -a newest -d 'Write its content'
complete -c wyx -n '__wyx_at ini recover' -x -l restore -a newest -d 'Put it in place'
complete -c wyx -n '__wyx_at ini roundtrip' -r -l files0-from -d 'A file of further names'
complete -c wyx -n '__wyx_at ini roundtrip' -x -l shown -d 'How many to show'
