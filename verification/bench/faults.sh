#!/bin/sh
# faults.sh PROGRAM LIST [REQUESTS]: runs PROGRAM, built with VANTOR_FAULTS, with each fault of LIST, which is
# vantor_faults.svh, and says which are found, and at which sample. Without REQUESTS, PROGRAM is that of blocks.sv; with
# it, that of pictures.sv, and each line of REQUESTS is a run's arguments, in the directory of that file. Fails where a
# fault is not found, unless LIST says that nothing changes, or that pictures show nothing.
set -eu
program=$(realpath "$1")
list=$(realpath "$2")
requests=${3:+$(realpath "$3")}
[ -x "$program" ] || { echo "$program: not a program" >&2; exit 2; }
[ -z "$requests" ] || cd "$(dirname "$requests")"

# run ARGUMENT...: prints the first sample that differs, if any.
run() {
    output=$({ "$program" +fault="$number" "$@"; } 2>&1) && return
    echo "$output" | grep -o -m 1 'sample [0-9]* of' || { echo "$output" >&2; exit 2; }
}

first_difference() {
    if [ -z "$requests" ]; then
        run +block="${block%:}"
    else
        line=0
        while read -r arguments; do
            line=$((line + 1))
            # shellcheck disable=SC2086 # several arguments
            sample=$(run $arguments)
            [ -z "$sample" ] || { echo "request $line, $sample"; return; }
        done <"$requests"
    fi
}

missed=0
while read -r number name block rest; do
    case ${requests:+pictures}$rest in
    *"nothing changes"* | pictures*"pictures show nothing"*) expected=no ;;
    *) expected=yes ;;
    esac
    found=$(first_difference)
    case $expected,$found in
    no,) said="not found, as expected" ;;
    yes,) said="NOT FOUND" missed=1 ;;
    no,*) said="UNEXPECTEDLY found at ${found% of}" missed=1 ;;
    *) said="found at ${found% of}" ;;
    esac
    printf '%2d %-18s %-17s %s\n' "$number" "$name" "${block%:}" "$said"
done <<LIST
$(sed -n 's|^`define \([A-Z_]*\) \([0-9]*\)  // \(.*\)|\2 \1 \3|p' "$list")
LIST
exit $missed
