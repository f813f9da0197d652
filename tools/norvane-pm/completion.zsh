#compdef norvane-pm
# Completes the command line of norvane-pm in zsh, by what the script for bash says.

local here=${${(%):-%x}:A:h} found
found=(${(f)"$(bash $here/../../bash-completion/completions/norvane-pm "${(@)words[1,CURRENT]}")"})
if (( $#found )); then
    compadd -- $found
else
    _files
fi
