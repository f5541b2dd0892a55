#!/usr/bin/env bash
# The manual page and --help list the same options, groff reads the page without a
# warning, and every option they list is one the program takes.
# Usage: man-page.sh VELMORA velmora.1
set -uo pipefail
velmora=$1
page=$2
status=0

# Options as a reader sees them: a dash or two and a name, not inside a word (8-bit).
options() {
    grep -oE '(^|[^[:alnum:]-])--?[a-z][a-z0-9-]*' | sed -E 's/^[^-]+//' | sort -u
}

warnings=$(groff -man -ww -z "$page" 2>&1)
if [ -n "$warnings" ]; then
    echo "groff warns about $page:"
    echo "$warnings"
    status=1
fi

help_options=$("$velmora" --help | options)
# The page as man shows it, as plain ASCII, where roff's minus signs are dashes.
man_options=$(groff -man -Tascii -P -cbou "$page" 2>/dev/null | options)
if [ -z "$man_options" ] || [ "$(echo "$help_options" | wc -l)" -lt 30 ]; then
    echo "too few options found: the help or the page did not read"
    status=1
fi
if ! diff <(echo "$help_options") <(echo "$man_options"); then
    echo "--help (<) and the manual page (>) list different options"
    status=1
fi

# Each one is taken by render, animate or the program itself: without their values
# they fail as usage errors, but not as unknown options.
for option in $help_options; do
    known=false
    for command in render animate ""; do
        # The program itself only with its own two: anything else would open the window.
        if [ -z "$command" ] && [ "$option" != --help ] && [ "$option" != --version ]; then
            continue
        fi
        said=$("$velmora" $command "$option" 2>&1 </dev/null)
        if [[ $said != *"unknown option"* ]]; then
            known=true
            break
        fi
    done
    if ! $known; then
        echo "$option is listed but the program does not take it"
        status=1
    fi
done
exit $status
