# A function which filters options which starts with "-" from $argv.
function _quill_CVDiag_preprocessor
    set -l results
    for i in (seq (count $argv))
        switch (echo $argv[$i] | string sub -l 1)
            case '-'
            case '*'
                echo $argv[$i]
        end
    end
end

function _quill_CVDiag_using_command
    set -l currentCommands (_quill_CVDiag_preprocessor (commandline -opc))
    set -l expectedCommands (string split " " $argv[1])
    set -l subcommands (string split " " $argv[2])
    if [ (count $currentCommands) -ge (count $expectedCommands) ]
        for i in (seq (count $expectedCommands))
            if [ $currentCommands[$i] != $expectedCommands[$i] ]
                return 1
            end
        end
        if [ (count $currentCommands) -eq (count $expectedCommands) ]
            return 0
        end
        if [ (count $subcommands) -gt 1 ]
            for i in (seq (count $subcommands))
                if [ $currentCommands[(math (count $expectedCommands) + 1)] = $subcommands[$i] ]
                    return 1
                end
            end
        end
        return 0
    end
    return 1
end

complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l all-diagnostics -d 'Run all diagnostics'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l no-all-diagnostics -d 'Run all diagnostics'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l local-volumes-and-disks -d 'Show all local volumes and disks currently attached'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l no-local-volumes-and-disks -d 'Show all local volumes and disks currently attached'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l volume-registry -d 'Show all the volumes currently in Corvane\'s volume registry'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l no-volume-registry -d 'Show all the volumes currently in Corvane\'s volume registry'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l duplicate-volume-entries -d 'Show volumes associated with more than one GUID'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l no-duplicate-volume-entries -d 'Show volumes associated with more than one GUID'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l settings-volumes -d 'Show volumes referenced by the Corvane settings documents'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l no-settings-volumes -d 'Show volumes referenced by the Corvane settings documents'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l duplicate-volume-UUIDs -d 'Show all volumes with duplicated UUIDs'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l no-duplicate-volume-UUIDs -d 'Show all volumes with duplicated UUIDs'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l disk-utility-entities -d 'Show Disk Utility\'s local disks and volumes'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l no-disk-utility-entities -d 'Show Disk Utility\'s local disks and volumes'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l version -d 'Display the version'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -l prune-orphans -d 'Prune orphaned GUIDs from Volume Registry'
complete -c CVDiag -n '_quill_CVDiag_using_command "CVDiag"' -s h -l help -d 'Show help information.'
