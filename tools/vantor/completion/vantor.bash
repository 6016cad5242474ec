# bash completion for vantor: what the program itself offers, or file names.
_vantor() {
    local words=() word i
    for ((i = 1; i <= COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        # bash takes the sign in --option=value as a word.
        [[ $word == "=" ]] || words+=("$word")
    done
    [[ $word == "=" ]] && words+=("")
    local IFS=$'\n'
    COMPREPLY=($("${COMP_WORDS[0]/#\~/$HOME}" --complete "${words[@]}" 2>/dev/null | cut -f 1))
}

complete -o default -F _vantor vantor
