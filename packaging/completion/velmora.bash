# bash completion for velmora                                  -*- shell-script -*-
# The option lists follow `velmora --help`; tests/packaging checks that they do.

_velmora_layer_ids() {
    # Ids as `velmora layers` prints them (escaped the way --layer takes them),
    # from the resources folder the command line names, if any.
    local i resources=()
    for ((i = 1; i < ${#COMP_WORDS[@]} - 1; i++)); do
        if [[ ${COMP_WORDS[i]} == --resources ]]; then
            resources=(--resources "${COMP_WORDS[i + 1]}")
        fi
    done
    "${COMP_WORDS[0]}" layers "${resources[@]}" 2>/dev/null | cut -f1
}

_velmora() {
    local cur prev words cword
    if declare -F _init_completion >/dev/null; then
        _init_completion -n =: || return
    else
        cur=${COMP_WORDS[COMP_CWORD]}
        prev=${COMP_WORDS[COMP_CWORD - 1]}
        words=("${COMP_WORDS[@]}")
        cword=$COMP_CWORD
    fi

    local settings="--zoom --rotate --flip-x --flip-y --shift-y --shift-x --twist
        --convexity --repeats --seam-blend --invert --coverage --gamma --contrast
        --saturation --vignette"
    local look="-o --output --size --look --preset --layer --resources --help $settings"
    local render="$look --output-dir --overwrite --format --quality --lossless --depth"
    local animate="$look --motion --duration --fps --quality"

    local command=${words[1]}
    if ((cword == 1)); then
        if [[ $cur == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W "--help --version --resources" -- "$cur")
        else
            mapfile -t COMPREPLY < <(compgen -W "render animate layers help" -- "$cur")
            # Or a picture to open in the window.
            mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$cur")
            compopt -o filenames 2>/dev/null
        fi
        return
    fi

    # Values of the option before the cursor.
    case $prev in
        -o | --output | --look)
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            compopt -o filenames 2>/dev/null
            return
            ;;
        --output-dir | --resources)
            mapfile -t COMPREPLY < <(compgen -d -- "$cur")
            compopt -o filenames 2>/dev/null
            return
            ;;
        --preset)
            mapfile -t COMPREPLY < <(compgen -W "classic sky horizontal spiral double" -- "$cur")
            return
            ;;
        --format)
            mapfile -t COMPREPLY < <(compgen -W "png jpg webp tif" -- "$cur")
            return
            ;;
        --depth)
            mapfile -t COMPREPLY < <(compgen -W "8 16" -- "$cur")
            return
            ;;
        --motion)
            mapfile -t COMPREPLY < <(compgen -W "spin intro" -- "$cur")
            return
            ;;
        --coverage)
            mapfile -t COMPREPLY < <(compgen -W "auto full" -- "$cur")
            return
            ;;
        --layer)
            # Ids hold spaces, '@' and ':'; offer them quoted for the shell, and
            # files too, since a picture's path is a layer as well.
            local id
            COMPREPLY=()
            while IFS= read -r id; do
                [[ $id == "$cur"* ]] && COMPREPLY+=("$(printf '%q' "$id")")
            done < <(_velmora_layer_ids)
            mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$cur")
            return
            ;;
        --size | --quality | --duration | --fps | --zoom | --rotate | --flip-x | --flip-y | \
            --shift-y | --shift-x | --twist | --convexity | --repeats | --seam-blend | \
            --gamma | --contrast | --saturation | --vignette)
            return # a number
            ;;
    esac

    case $command in
        render | animate)
            if [[ $cur == -* ]]; then
                local options=$render
                [[ $command == animate ]] && options=$animate
                mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
            else
                mapfile -t COMPREPLY < <(compgen -f -- "$cur")
                compopt -o filenames 2>/dev/null
            fi
            ;;
        layers)
            mapfile -t COMPREPLY < <(compgen -W "--resources" -- "$cur")
            ;;
        *)
            [[ $cur == -* ]] && mapfile -t COMPREPLY < <(compgen -W "--resources" -- "$cur")
            ;;
    esac
}

complete -F _velmora velmora
