#!/bin/sh
# faults.sh PROGRAM LIST [PLUSARG...]: runs the benches of PROGRAM, built with VANTOR_FAULTS, with each fault of LIST
# (vantor_faults.svh), and says which are found, and at which sample. Fails where a fault is not found, unless LIST says
# that nothing changes.
set -eu
program=$1
list=$2
shift 2
[ -x "$program" ] || { echo "$program: not a program" >&2; exit 2; }
missed=0
while read -r number name block rest; do
    output=$({ "$program" +block="${block%:}" +fault="$number" "$@"; } 2>&1) || true
    sample=$(echo "$output" | sed -n 's/.*: sample \([0-9]*\) of .*/\1/p')
    case $sample,$rest in
    ,*"nothing changes"*) found="not found: nothing changes" ;;
    *,*"nothing changes"*) found="found at sample $sample, although nothing should change" missed=1 ;;
    ,*) found="NOT FOUND" missed=1 ;;
    *) found="found at sample $sample" ;;
    esac
    printf '%2d %-18s %-17s %s\n' "$number" "$name" "${block%:}" "$found"
done <<LIST
$(sed -n 's|^`define \([A-Z_]*\) \([0-9]*\)  // \(.*\)|\2 \1 \3|p' "$list")
LIST
exit $missed
