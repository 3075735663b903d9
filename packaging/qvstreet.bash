# bash completion for qvstreet                                              -*- shell-script -*-

# The subcommand of the call, or nothing where none stands yet.
_qvstreet_subcommand() {
    local word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
            find | streets | angles | inspect | blank)
                echo "$word"
                return
                ;;
        esac
    done
}

_qvstreet_options() {
    local all="--max --json --overlay --files-from --shard --no-seconds --help"
    local finder="--mode --width --range-x --range-y --sharpness --polarity --client --trace"
    local measured="--measure --measure-reach --measure-contrast"
    case $1 in
        find | streets) echo "$finder $measured $all" ;;
        angles) echo "$finder $all" ;;
        inspect) echo "$finder $measured --report $all" ;;
        blank) echo "--street-width --min-length --direction --mask --grey-weights --report $all" ;;
        *) echo "--help --version" ;;
    esac
}

# Folders, and the files whose name ends in one of the given extensions; all files where none is given. Upper case counts,
# as cameras write it.
_qvstreet_files() {
    local IFS=$'\n' pattern unset_extglob=
    compopt -o filenames 2>/dev/null
    if [[ -z $1 ]]; then
        COMPREPLY=($(compgen -f -- "$cur"))
        return
    fi
    printf -v pattern '%s|%s' "$1" "${1^^}"
    shopt -q extglob || { shopt -s extglob; unset_extglob=1; }
    COMPREPLY=($(compgen -d -- "$cur") $(compgen -f -X "!*.@($pattern)" -- "$cur"))
    [[ -z $unset_extglob ]] || shopt -u extglob
}

_qvstreet() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    # bash takes --option=value apart at the =.
    if [[ $cur == "=" ]]; then
        cur=
    elif [[ $previous == "=" ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    local subcommand images="png|tif|tiff|bmp|pgm|ppm|pnm|jpg|jpeg"
    subcommand=$(_qvstreet_subcommand)
    case $previous in
        --mode) COMPREPLY=($(compgen -W "edge ridge coarse" -- "$cur")); return ;;
        --polarity) COMPREPLY=($(compgen -W "any dark light" -- "$cur")); return ;;
        --direction) COMPREPLY=($(compgen -W "h v" -- "$cur")); return ;;
        --overlay) _qvstreet_files "svg|png"; return ;;
        --report) _qvstreet_files "html"; return ;;
        --mask) _qvstreet_files "$images"; return ;;
        --json | --trace | --grey-weights | --files-from) _qvstreet_files ""; return ;;
        # Numbers, which nobody can complete.
        --width | --range-x | --range-y | --sharpness | --max | --client | --measure-reach | --measure-contrast) return ;;
        --street-width | --min-length | --shard) return ;;
    esac
    # What follows -- is an image, whatever it begins with.
    if [[ $cur == -* && " ${COMP_WORDS[*]:0:COMP_CWORD} " != *" -- "* ]]; then
        COMPREPLY=($(compgen -W "$(_qvstreet_options "$subcommand")" -- "$cur"))
    elif [[ -z $subcommand ]]; then
        COMPREPLY=($(compgen -W "find streets angles inspect blank" -- "$cur"))
    else
        _qvstreet_files "$images"
    fi
}

complete -F _qvstreet qvstreet
