#!/bin/bash

_repo() {
    cur="${COMP_WORDS[COMP_CWORD]}"
    prev="${COMP_WORDS[COMP_CWORD-1]}"
    COMPREPLY=()
    opts="-v --verbose --color --no-color --format -I --include -out --version -h --help add remove-all help"
    if [[ $COMP_CWORD == "1" ]]; then
        COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
        return
    fi
    case $prev in
        --format)
            COMPREPLY=( $(compgen -W "json text" -- "$cur") )
            return
        ;;
        -I|--include)
            if declare -F _filedir >/dev/null; then
              _filedir 'h'
              _filedir 'hpp'
              _filedir -d
            else
              COMPREPLY=(
                $(compgen -f -X '!*.h' -- "$cur")
                $(compgen -f -X '!*.hpp' -- "$cur")
                $(compgen -d -- "$cur")
              )
            fi
            return
        ;;
        -out)
            if declare -F _filedir >/dev/null; then
              _filedir -d
            else
              COMPREPLY=( $(compgen -d -- "$cur") )
            fi
            return
        ;;
    esac
    case ${COMP_WORDS[1]} in
        (add)
            _repo_add 2
            return
            ;;
        (remove-all)
            _repo_remove_all 2
            return
            ;;
        (help)
            _repo_help 2
            return
            ;;
    esac
    COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
}
_repo_add() {
    opts="-b --branch --tag --dry-run --version -h --help"
    if [[ $COMP_CWORD == "$1" ]]; then
        COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
        return
    fi
    case $prev in
        -b|--branch)
            COMPREPLY=( $(echo main; echo dev) )
            return
        ;;
        --tag)
            COMPREPLY=( $(compgen -W "$("${COMP_WORDS[0]}" ---completion add -- --tag "${COMP_WORDS[@]}")" -- "$cur") )
            return
        ;;
    esac
    COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
}
_repo_remove_all() {
    opts="-f --force --version -h --help"
    opts="$opts alpha beta"
    if [[ $COMP_CWORD == "$1" ]]; then
        COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
        return
    fi
    COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
}
_repo_help() {
    opts="--version"
    if [[ $COMP_CWORD == "$1" ]]; then
        COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
        return
    fi
    COMPREPLY=( $(compgen -W "$opts" -- "$cur") )
}


complete -F _repo repo