# A function which filters options which starts with "-" from $argv.
function _quill_repo_preprocessor
    set -l results
    for i in (seq (count $argv))
        switch (echo $argv[$i] | string sub -l 1)
            case '-'
            case '*'
                echo $argv[$i]
        end
    end
end

function _quill_repo_using_command
    set -l currentCommands (_quill_repo_preprocessor (commandline -opc))
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

complete -c repo -n '_quill_repo_using_command "repo add"' -d 'The file to add.' -r -f -a '(for i in *.{}; echo $i;end)'
complete -c repo -n '_quill_repo_using_command "repo add"' -s b -l branch -d 'The branch.' -r -f -a '(echo main; echo dev)'
complete -c repo -n '_quill_repo_using_command "repo add"' -l tag -d 'The tag.' -r -f -a '(command repo ---completion add -- --tag (commandline -opc)[1..-1])'
complete -c repo -n '_quill_repo_using_command "repo add"' -l dry-run -d 'Don\'t [do] it, just show.'
complete -c repo -n '_quill_repo_using_command "repo add"' -l version -d 'Show the version.'
complete -c repo -n '_quill_repo_using_command "repo add"' -s h -l help -d 'Show help information.'
complete -c repo -n '_quill_repo_using_command "repo remove-all"' -d 'Items to remove.' -r -f -k -a 'alpha beta'
complete -c repo -n '_quill_repo_using_command "repo remove-all"' -s f -l force -d 'Force it'
complete -c repo -n '_quill_repo_using_command "repo remove-all"' -l version -d 'Show the version.'
complete -c repo -n '_quill_repo_using_command "repo remove-all"' -s h -l help -d 'Show help information.'
complete -c repo -n '_quill_repo_using_command "repo help"' -l version -d 'Show the version.'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -s v -l verbose -d 'Talk more.'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -l color -d 'Don\'t [color] \'it\'.'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -l no-color -d 'Don\'t [color] \'it\'.'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -l format -d 'Output format.' -r -f -k -a 'json text'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -s I -l include -d 'Header to read.' -r -f -a '(for i in *.{h,hpp}; echo $i;end)'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -o out -d 'Where to write.' -r -f -a '(__fish_complete_directories)'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -l version -d 'Show the version.'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -s h -l help -d 'Show help information.'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -f -a 'add' -d 'Add a file.'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -f -a 'remove-all' -d 'Remove what\'s listed.'
complete -c repo -n '_quill_repo_using_command "repo" "add remove-all help"' -f -a 'help' -d 'Show subcommand help information.'