#!/bin/bash
# manners_test.sh VANTOR: the manual page and the completion know what --help knows.
source "$(dirname "$0")/expect.sh"
root=$(realpath "$tests/../../..")
source "$root/tools/vantor/completion/vantor.bash"

"$vantor" --manual | cmp - "$root/docs/vantor.1" || fail "docs/vantor.1 is old: vantor --manual >docs/vantor.1 renews it"

# completed WORDS...: what the completion offers for the last of them.
completed() {
    COMP_WORDS=("$vantor" "$@") COMP_CWORD=$# COMPREPLY=()
    _vantor
    echo "${COMPREPLY[@]}"
}

commands=$("$vantor" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "$(completed "")" = "$(echo -h --help --version -q --quiet $commands)" ] || fail "completion of sub-commands: $(completed "")"
for command in $commands; do
    sed -n "/^.SS vantor $command$/,/^.SS/s/\\\\-/-/gp" "$root/docs/vantor.1" >page
    for option in $("$vantor" "$command" --help | grep -oE '^  -\S+' | tr , ' '); do
        [[ " $(completed "$command" -) " == *" $option "* ]] || fail "vantor $command $option is not completed"
        grep -qE -- "^.B (.*,)?$option( |,|\$)" page || [[ $option == -h || $option == --help ]] ||
            fail "vantor $command $option is not in the manual"
    done
done
[ "$(completed record bug.vrec wa)" = warp ] || fail "completion behind record"
[ "$(completed record bug.vrec warp photo.png --rot)" = --rotate ] || fail "completion of a recorded warp"
[ "$(completed warp photo.png --backend "")" = "software hardware" ] || fail "completion of a value"
[ "$(completed scale photo.png --yuv-range = f)" = full ] || fail "completion of a value behind ="
[ -z "$(completed warp pho)" ] || fail "file names are left to bash"
finish
