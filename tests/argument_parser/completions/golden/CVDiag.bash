#!/bin/bash

_CVDiag() {
    cur="${COMP_WORDS[COMP_CWORD]}"
    prev="${COMP_WORDS[COMP_CWORD-1]}"
    COMPREPLY=()
    opts="--all-diagnostics --no-all-diagnostics --local-volumes-and-disks --no-local-volumes-and-disks --volume-registry --no-volume-registry --duplicate-volume-entries --no-duplicate-volume-entries --settings-volumes --no-settings-volumes --duplicate-volume-UUIDs --no-duplicate-volume-UUIDs --disk-utility-entities --no-disk-utility-entities --version --prune-orphans -h --help"
    if [[ $COMP_CWORD == "1" ]]; then
        COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
        return
    fi
    COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
}


complete -F _CVDiag CVDiag
