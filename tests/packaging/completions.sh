#!/usr/bin/env bash
# The bash completion offers the commands, each command's options and no other's,
# preset names, choices and the artwork ids `velmora layers` prints, quoted for the
# shell; it does so with bash-completion loaded and without. Together the
# completions offer every option --help lists, and each only where the program takes
# it. The zsh completion parses and lists the same options.
# Usage: completions.sh VELMORA COMPLETION_DIR
set -uo pipefail
velmora=$(realpath "$1")
dir=$(realpath "$2")
status=0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1 # no files here to be offered alongside
export XDG_DATA_HOME=$work/data

# The words offered for a command line whose last word is being completed.
offered() {
    COMP_WORDS=("$velmora" "$@")
    COMP_CWORD=$#
    COMP_LINE="$velmora $*"
    COMP_POINT=${#COMP_LINE}
    COMPREPLY=()
    _velmora 2>/dev/null
    printf '%s\n' "${COMPREPLY[@]}"
}

expect() { # WORD COMMAND-LINE...: WORD is among the words offered
    local word=$1
    shift
    # (grep reads everything: were it to stop early, pipefail would count that.)
    if ! offered "$@" | grep -xF -- "$word" >/dev/null; then
        echo "'velmora $*' does not offer $word; it offers: $(offered "$@" | head -n8 | tr '\n' ' ')"
        status=1
    fi
}

refuse() { # WORD COMMAND-LINE...: WORD is not offered
    local word=$1
    shift
    if offered "$@" | grep -xF -- "$word" >/dev/null; then
        echo "'velmora $*' offers $word"
        status=1
    fi
}

# The first id with a space in it, as the shell needs it typed.
id=$("$velmora" layers | cut -f1 | grep ' ' | head -n1)
quoted=$(printf '%q' "$id")

checks() {
    expect render ""
    expect animate an
    expect layers ""
    expect --version --
    expect --preset render --pre
    expect spiral render --preset sp
    expect full animate --coverage ""
    expect intro animate --motion ""
    expect tif render --format ""
    expect --seam-blend render --seam
    expect --motion animate --mo
    refuse --motion render --mo
    refuse --lossless animate --lo
    expect "$quoted" render -o x.png --layer "${id:0:3}"
    refuse "$quoted" render -o x.png --layer zzz
}

source "$dir/velmora.bash"
checks
if [ -f /usr/share/bash-completion/bash_completion ]; then
    # As an interactive shell has it: _init_completion splits the words.
    source /usr/share/bash-completion/bash_completion
    source "$dir/velmora.bash"
    checks
else
    echo "bash-completion is not installed; checked without it"
fi

# Every option --help lists is offered somewhere, and the program takes each where
# it is offered (without a value it is a usage error, never an unknown option).
help_options=$("$velmora" --help | grep -oE '(^|[^[:alnum:]-])--?[a-z][a-z0-9-]*' |
    sed -E 's/^[^-]+//' | sort -u)
all=$( (offered -; offered render -; offered animate -) | sort -u)
missing=$(comm -23 <(echo "$help_options") <(echo "$all"))
if [ -n "$missing" ]; then
    echo "offered nowhere: $(echo $missing)"
    status=1
fi
for command in render animate; do
    for option in $(offered $command -); do
        said=$("$velmora" $command "$option" 2>&1 </dev/null)
        if [[ $said == *"unknown option"* ]]; then
            echo "'velmora $command' is offered $option but does not take it"
            status=1
        fi
    done
done

# zsh: the script parses, and names the options --help lists.
if command -v zsh >/dev/null; then
    zsh -n "$dir/_velmora" || { echo "_velmora does not parse"; status=1; }
    # Long options wherever they stand; short ones as zsh's specs start them.
    zsh_options=$( (grep -oE '(^|[^[:alnum:]-])--[a-z][a-z0-9-]*' "$dir/_velmora"
        grep -oE "[{'(,]-[a-z]([^[:alnum:]-]|$)" "$dir/_velmora" | sed -E 's/.$//') |
        sed -E 's/^[^-]+//' | sort -u)
    missing=$(comm -23 <(echo "$help_options") <(echo "$zsh_options"))
    if [ -n "$missing" ]; then
        echo "the zsh completion lacks: $(echo $missing)"
        status=1
    fi
    extra=$(comm -13 <(echo "$help_options") <(echo "$zsh_options"))
    if [ -n "$extra" ]; then
        echo "the zsh completion offers options --help does not list: $(echo $extra)"
        status=1
    fi
else
    echo "no zsh; its completion not checked"
fi
exit $status
