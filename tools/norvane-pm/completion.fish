# Completes the command line of norvane-pm in fish, by what the script for bash says.

set -g __norvane_pm_script (status dirname)/../../bash-completion/completions/norvane-pm

function __norvane_pm_complete
    set -l found (bash $__norvane_pm_script (commandline -opc) (commandline -ct))
    if set -q found[1]
        printf '%s\n' $found
    else
        __fish_complete_path (commandline -ct)
    end
end

complete -c norvane-pm -f -a '(__norvane_pm_complete)'
