#compdef CVDiag
local context state state_descr line
_CVDiag_commandname=$words[1]
typeset -A opt_args

_CVDiag() {
    integer ret=1
    local -a args
    args+=(
        '--all-diagnostics[Run all diagnostics]'
        '--no-all-diagnostics[Run all diagnostics]'
        '--local-volumes-and-disks[Show all local volumes and disks currently attached]'
        '--no-local-volumes-and-disks[Show all local volumes and disks currently attached]'
        '--volume-registry[Show all the volumes currently in Corvane'"'"'s volume registry]'
        '--no-volume-registry[Show all the volumes currently in Corvane'"'"'s volume registry]'
        '--duplicate-volume-entries[Show volumes associated with more than one GUID]'
        '--no-duplicate-volume-entries[Show volumes associated with more than one GUID]'
        '--settings-volumes[Show volumes referenced by the Corvane settings documents]'
        '--no-settings-volumes[Show volumes referenced by the Corvane settings documents]'
        '--duplicate-volume-UUIDs[Show all volumes with duplicated UUIDs]'
        '--no-duplicate-volume-UUIDs[Show all volumes with duplicated UUIDs]'
        '--disk-utility-entities[Show Disk Utility'"'"'s local disks and volumes]'
        '--no-disk-utility-entities[Show Disk Utility'"'"'s local disks and volumes]'
        '--version[Display the version]'
        '--prune-orphans[Prune orphaned GUIDs from Volume Registry]'
        '(-h --help)'{-h,--help}'[Show help information.]'
    )
    _arguments -w -s -S $args[@] && ret=0

    return ret
}


_custom_completion() {
    local completions=("${(@f)$($*)}")
    _describe '' completions
}

_CVDiag
