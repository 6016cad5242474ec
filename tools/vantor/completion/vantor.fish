# fish completion for vantor: what the program itself offers, or file names.
function __vantor_offers
    set -l words (commandline -opc)
    set -l word (commandline -ct)
    set -l program (string replace -r '^~' $HOME -- $words[1])
    set -l offers ($program --complete $words[2..] $word 2>/dev/null)
    if set -q offers[1]
        printf '%s\n' $offers
    else if string match -qr '^--[^=]*=' -- $word
        set -l option (string match -r '^--[^=]*=' -- $word)
        printf "$option%s\n" (__fish_complete_path (string replace -- $option '' $word))
    else
        __fish_complete_path $word
    end
end

complete -c vantor -f -a '(__vantor_offers)'
