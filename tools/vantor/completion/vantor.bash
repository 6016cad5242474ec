# bash completion for vantor: sub-commands and options as the program's own help has them, values, file names.

# _vantor_help SUB-COMMANDS...: the words that can come next, "-o" and "--output" on lines of their own.
_vantor_help() {
    "${COMP_WORDS[0]/#\~/$HOME}" "$@" --help 2>/dev/null |
        sed -n -e 's/^  \(-[^ ]*\).*/\1/p' -e '/^Subcommands:/,/^$/s/^  \([a-z][a-z]*\) .*/\1/p' | tr , '\n'
}

_vantor() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} values="" path=() i
    for ((i = 1; i < COMP_CWORD; i++)); do
        [[ ${COMP_WORDS[i - 1]} == --service ]] && continue
        case ${path[*]-}:${COMP_WORDS[i]} in
        record:scale | record:warp) path+=("${COMP_WORDS[i]}") ;;
        :[a-z]*) path=("${COMP_WORDS[i]}") ;;
        esac
    done
    [[ $word == "=" ]] && word=""
    [[ $previous == "=" ]] && previous=${COMP_WORDS[COMP_CWORD - 2]}
    case $previous in
    --backend)
        values="software hardware"
        [[ ${path[*]} == serve ]] && values="model pipe trace faulty"
        ;;
    --input-format | --other-format) values="nv12 nv21 i420 gray p010 y4m" ;;
    --output-format) values="nv12 nv21 i420 gray y4m" ;;
    --format) values="npy hex csv" ;;
    --yuv-matrix) values="601 709 bt601 bt709" ;;
    --yuv-range) values="limited full tv pc" ;;
    *)
        # Where neither an option nor a sub-command is expected, bash completes file names.
        [[ $word == -* || ${#path[@]} == 0 || ${path[*]} == record ]] && values=$(_vantor_help "${path[@]: -1}")
        ;;
    esac
    COMPREPLY=($(compgen -W "$values" -- "$word"))
}

complete -o default -F _vantor vantor
