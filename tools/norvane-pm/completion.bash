# Completion of norvane-pm for bash: commands, options, and the words that options and arguments take;
# file names otherwise. It needs no other file: bash-completion loads it by its name, or use `source`.

_norvane_pm() {
    local -A subcommands=(
        [calc]='check print convert builtins'
        [presentation]='list get merge check'
        [var-order]='list check'
        [workspace]='show commands check ninja package'
        [package]='list make'
    )
    local dependencies='--dependencies --dependency-file --dependency-target --quoted-target --phony-targets'
    local model="--format --color --quiet --include-dir --define --undefine --from --first
        --max-errors --max-nodes $dependencies"
    local calculation="--format --color --quiet --from --of $dependencies"
    local package='--format --color --debug --type'
    local -A options=(
        [-]='--version'
        [info]=$model
        [check]="$model --fix --warning --werror --jobs"
        [print]=$model
        [simplify]="$model --warning --werror"
        [variables]="$model --warning --werror"
        [rules]="$model --warning --werror --no-simplify --origin --labels --to --jobs --output"
        [analyse]="$model --warning --werror --assume --example --count --solver --time-limit"
        [diff]="$model --warning --werror --solver --time-limit"
        [report]="$model --warning --werror --output --solver --time-limit"
        [graph]="$model --warning --werror --output --dot"
        [convert]="$model --to --texts --jobs --output"
        [calc check]="$calculation --model --include-dir --define --undefine --first
            --max-errors --max-nodes"
        [calc print]=$calculation
        [calc convert]="$calculation --to --no-lines"
        [calc builtins]='--format --color'
        [presentation list]='--format --color --quiet'
        [presentation get]='--format --color --quiet'
        [presentation merge]='--format --color --quiet --output'
        [presentation check]="$model --allow"
        [var-order list]='--format --color --quiet'
        [var-order check]=$model
        [workspace show]='--format --color'
        [workspace commands]='--format --color --arg --order --arg2 --mu-compile-stats --bin-dir'
        [workspace check]='--format --color --quiet --first --max-errors --max-nodes --warning --werror --jobs'
        [workspace ninja]='--format --color --output --build-dir --warning --werror'
        [workspace package]=$package
        [package list]='--format --color'
        [package make]="$package --build-dir --output-dir"
        [explain]='--list --warnings'
        [lsp]='--stdio'
    )
    local with_value=' -I --include-dir -D --define -U --undefine --format --color --from --to --of --model -o
        --output --arg --order --arg2 --bin-dir --build-dir --output-dir --type --max-errors
        --max-nodes -W --warning --assume --solver --time-limit -j --jobs --allow
        --dependency-file --dependency-target --quoted-target '

    # The words before the cursor; bash splits --option=value into three words.
    local current=${COMP_WORDS[COMP_CWORD]} previous='' command='' arguments=0 i word
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == = ]]; then
            [[ $previous == -* ]] || previous=${COMP_WORDS[i - 1]}
        elif [[ -n $previous ]]; then
            previous=''
        elif [[ $word == -?* ]]; then
            [[ $with_value != *[[:space:]]${word}[[:space:]]* ]] || previous=$word
        elif [[ -z $command || (-n ${subcommands[$command]:-} && $command != *' '*) ]]; then
            command+=${command:+ }$word
        else
            ((++arguments))
        fi
    done
    [[ $current != = ]] || current=''

    local words=''
    case $previous in
    --format)
        case $command in
        check | convert | calc\ check | calc\ convert | presentation\ merge | presentation\ check | \
            var-order\ check | workspace\ check)
            words='text gcc json sarif'
            ;;
        calc\ builtins | workspace* | package* | variables | analyse | diff) words='text json' ;;
        rules) words='text gcc json' ;;
        *) words='text gcc' ;;
        esac
        ;;
    -W | --warning)
        words="all error $("${COMP_WORDS[0]}" explain --warnings 2> /dev/null | cut -d ' ' -f 1)"
        words+=" ${words// / no-}"
        ;;
    --color) words='auto always never' ;;
    --from)
        case $command in
        calc*) words='cl clx mub' ;;
        convert) words='pm xml dimacs uvl' ;;
        *) words='pm xml' ;;
        esac
        ;;
    --to)
        case $command in
        calc*) words='cl clx' ;;
        rules) words='smt2 mzn lp dimacs opb pm' ;;
        *) words='pm xml' ;;
        esac
        ;;
    --type) words='StandardMu' ;;
    -I | --include-dir | --bin-dir | --build-dir | --output-dir)
        compopt -o filenames 2> /dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return
        ;;
    -*) ;;
    *)
        if [[ $current == -* ]]; then
            words="${options[${command:--}]:-} --help"
        elif [[ -z $command ]]; then
            words='info check print simplify variables rules analyse diff report graph convert calc presentation
                var-order workspace package explain lsp'
        elif [[ -n ${subcommands[$command]:-} ]]; then
            words=${subcommands[$command]}
        elif [[ $command == 'workspace commands' && $arguments == 2 ]]; then
            words='check build view deploy ppl optimize erp_relay'
        elif [[ $command == explain && $arguments == 0 ]]; then
            words=$("${COMP_WORDS[0]}" explain --list 2> /dev/null | cut -d ' ' -f 1)
        fi
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

# Run as a program, it prints what fits the words that are its arguments: other shells ask it.
_norvane_pm_answer() {
    local word prefix='' COMP_WORDS=() COMP_CWORD=0 COMPREPLY=()
    for word in "$@"; do
        prefix=''
        if [[ $word == --*=* ]]; then
            prefix=${word%%=*}=
            COMP_WORDS+=("${word%%=*}" = "${word#*=}")
        else
            COMP_WORDS+=("$word")
        fi
    done
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _norvane_pm
    [[ ${#COMPREPLY[@]} == 0 ]] || printf -- "$prefix%s\n" "${COMPREPLY[@]}"
}

if [[ ${BASH_SOURCE[0]} == "$0" ]]; then
    _norvane_pm_answer "$@"
else
    complete -o default -F _norvane_pm norvane-pm
fi
