#!/usr/bin/env bash
# The bash completion offers the commands, each command's options and no other's,
# preset names, choices and the artwork ids `velmora layers` prints, quoted for the
# shell; it does so with bash-completion loaded and without. Each shell's completion
# offers every option --help lists, and each only where the program takes it.
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
check_offers() { # SHELL TOP-LEVEL RENDER ANIMATE: what the shell offers in each place
    local missing option said
    missing=$(comm -23 <(echo "$help_options") <(printf '%s\n' $2 $3 $4 | sort -u))
    if [ -n "$missing" ]; then
        echo "$1 offers nowhere: $(echo $missing)"
        status=1
    fi
    for option in $3; do
        said=$("$velmora" render "$option" 2>&1 </dev/null)
        if [[ $said == *"unknown option"* ]]; then
            echo "$1: 'velmora render' is offered $option but does not take it"
            status=1
        fi
    done
    for option in $4; do
        said=$("$velmora" animate "$option" 2>&1 </dev/null)
        if [[ $said == *"unknown option"* ]]; then
            echo "$1: 'velmora animate' is offered $option but does not take it"
            status=1
        fi
    done
}
check_offers bash "$(offered -)" "$(offered render -)" "$(offered animate -)"

# zsh: the script parses, and hands _arguments the right entries for each command.
# Driving zsh's completion needs a terminal; stand-ins that print what they are given
# show what it would offer.
if command -v zsh >/dev/null; then
    zsh -n "$dir/_velmora" || { echo "_velmora does not parse"; status=1; }
    cat >"$work/entries.zsh" <<'ZSH'
_arguments() { [[ $1 == -s ]] && shift; print -rl -- "$@" }
_alternative() { print -rl -- "$@" }
_files() { }
_describe() { }
_call_program() { }
source "$1" >/dev/null
words=(velmora "${(@)argv[2,-1]}")
CURRENT=${#words}
_velmora
ZSH
    entries() { zsh -f "$work/entries.zsh" "$dir/_velmora" "$@"; }
    # An entry is "(exclusions)*--name[description]:...": its option is the name.
    entry_options() { sed -E 's/^\([^)]*\)//; s/^\*//' | grep -oE '^--?[a-z][a-z0-9-]*'; }
    top=$(entries "" | sed -n 's/^options:option:(\(.*\))$/\1/p')
    check_offers zsh "$top" "$(entries render "" | entry_options)" \
        "$(entries animate "" | entry_options)"
    entries render "" | grep -F -- "--preset[" >/dev/null ||
        { echo "zsh offers render no --preset"; status=1; }
    entries render "" | grep -F -- "--coverage[" | grep -F "(auto full)" >/dev/null ||
        { echo "zsh offers no choices for --coverage"; status=1; }
    entries "" | grep -F 'render\:' >/dev/null || { echo "zsh offers no commands"; status=1; }
else
    echo "no zsh; its completion not checked"
fi
exit $status
