#compdef plug-in
local context state state_descr line
_plug_in_commandname=$words[1]
typeset -A opt_args

_host_plug-in() {
    integer ret=1
    local -a args
    args+=(
        ':target:{_custom_completion $_plug_in_commandname ---completion  -- target $words}'
        '(-h --help)'{-h,--help}'[Show help information.]'
        '(-): :->command'
        '(-)*:: :->arg'
    )
    _arguments -w -s -S $args[@] && ret=0
    case $state in
        (command)
            local subcommands
            subcommands=(
                'status:Show status.'
                'help:Show subcommand help information.'
            )
            _describe "subcommand" subcommands
            ;;
        (arg)
            case ${words[1]} in
                (status)
                    _host_plug-in_status
                    ;;
                (help)
                    _host_plug-in_help
                    ;;
            esac
            ;;
    esac

    return ret
}

_host_plug-in_status() {
    integer ret=1
    local -a args
    args+=(
        '(-h --help)'{-h,--help}'[Show help information.]'
    )
    _arguments -w -s -S $args[@] && ret=0

    return ret
}

_host_plug-in_help() {
    integer ret=1
    local -a args
    args+=(
        ':subcommands:'
    )
    _arguments -w -s -S $args[@] && ret=0

    return ret
}


_custom_completion() {
    local completions=("${(@f)$($*)}")
    _describe '' completions
}

_host_plug-in