# Types a command line into an interactive zsh that has the completion
# functions of the directory $1 on its fpath, presses TAB once, and prints
# the line as completion left it.
#   zsh -f zsh_complete.zsh <fpath dir> <typed text>
zmodload zsh/zpty || exit 2
zpty completion 'zsh -f -i'
zpty -w completion "PS1='> '; fpath=(${(q)1} \$fpath); autoload -U compinit; compinit -u -D; print \${:-REA}DY"
zpty -r completion output '*READY*' || exit 3
# TAB, then to the start of the line and turn it into a print of itself.
zpty -n -w completion "$2"$'\t\C-aprint -r -- ${:-RES}ULT: \n'
zpty -r completion output '*RESULT: *'$'\n' || exit 4
result=${output##*RESULT: }
print -r -- "${result%%$'\r'*}"
zpty -d completion
