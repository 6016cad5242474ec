#!/bin/sh
# hardening_test.sh READELF FILE...: each program and library is built as cmake/hardening.cmake says.
set -u
readelf=$1
shift
status=0

# expect TEXT: the file's description has it.
expect() {
    echo "$facts" | grep -Eq "$1" || { echo "$file: no $1"; status=1; }
}

for file; do
    facts=$("$readelf" -W -h -l -d --dyn-syms "$file")
    expect GNU_RELRO
    expect 'FLAGS_1.* NOW'
    expect 'GNU_STACK .* RW '
    expect __stack_chk_fail
    expect 'Type: *DYN'
    echo "$facts" | grep -E ' (RWE|WE) |TEXTREL' && { echo "$file: writable code (above)"; status=1; }
    case $file in
    *.so*) ;;
    *) expect 'FLAGS_1.* PIE' && expect '__[a-z]+_chk' ;;
    esac
done
exit $status
