#compdef repo
local context state state_descr line
_repo_commandname=$words[1]
typeset -A opt_args

_repo() {
    integer ret=1
    local -a args
    args+=(
        '(-v --verbose)'{-v,--verbose}'[Talk more.]'
        '--color[Don'"'"'t \[color\] '"'"'it'"'"'.]'
        '--no-color[Don'"'"'t \[color\] '"'"'it'"'"'.]'
        '--format[Output format.]:format:(json text)'
        '*'{-I,--include}'[Header to read.]:include:_files -g '"'"'*.h *.hpp'"'"''
        '-out[Where to write.]:out:_files -/'
        '--version[Show the version.]'
        '(-h --help)'{-h,--help}'[Show help information.]'
        '(-): :->command'
        '(-)*:: :->arg'
    )
    _arguments -w -s -S $args[@] && ret=0
    case $state in
        (command)
            local subcommands
            subcommands=(
                'add:Add a file.'
                'remove-all:Remove what'"'"'s listed.'
                'help:Show subcommand help information.'
            )
            _describe "subcommand" subcommands
            ;;
        (arg)
            case ${words[1]} in
                (add)
                    _repo_add
                    ;;
                (remove-all)
                    _repo_remove-all
                    ;;
                (help)
                    _repo_help
                    ;;
            esac
            ;;
    esac

    return ret
}

_repo_add() {
    integer ret=1
    local -a args
    args+=(
        ':file:_files'
        '(-b --branch)'{-b,--branch}'[The branch.]:branch:{local -a list; list=(${(f)"$(echo main; echo dev)"}); _describe '''' list}'
        '--tag[The tag.]:tag:{_custom_completion $_repo_commandname ---completion add -- --tag $words}'
        '--dry-run[Don'"'"'t \[do\] it, just show.]'
        '--version[Show the version.]'
        '(-h --help)'{-h,--help}'[Show help information.]'
    )
    _arguments -w -s -S $args[@] && ret=0

    return ret
}

_repo_remove-all() {
    integer ret=1
    local -a args
    args+=(
        ':items:(alpha beta)'
        '(-f --force)'{-f,--force}'[Force it]'
        '--version[Show the version.]'
        '(-h --help)'{-h,--help}'[Show help information.]'
    )
    _arguments -w -s -S $args[@] && ret=0

    return ret
}

_repo_help() {
    integer ret=1
    local -a args
    args+=(
        ':subcommands:'
        '--version[Show the version.]'
    )
    _arguments -w -s -S $args[@] && ret=0

    return ret
}


_custom_completion() {
    local completions=("${(@f)$($*)}")
    _describe '' completions
}

_repo