# shellcheck shell=bash disable=SC2034
# What the tool's tests share. Sourced by NAME_test.sh VANTOR, which then stands in a folder of its own.
set -u
tests=$(realpath "$(dirname "$0")")
vantor=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# expect STATUS TEXT ARGUMENTS...: the tool ends with the status and says the text on either stream.
expect() {
    local status=$1 text=$2
    shift 2
    "$vantor" "$@" >out 2>&1
    local got=$?
    [ "$got" = "$status" ] || fail "vantor $*: status $got, expected $status: $(cat out)"
    grep -qF -- "$text" out || fail "vantor $*: expected '$text' in: $(cat out)"
}

finish() {
    echo "$failures failures"
    [ "$failures" = 0 ]
}
