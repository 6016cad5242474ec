#!/bin/sh
# fuzz.sh [--renew] [SECONDS]: builds the fuzzers and runs each for SECONDS (60), from the committed corpus on; prints
# how many inputs each ran and what it covered. Fails on any finding. What it finds, and new inputs, stay in
# build-fuzz/. The corpus of a fuzzer is fuzz/corpus/NAME.tar.gz, and the inputs that once found something, by their
# names, in fuzz/corpus/NAME/. With --renew the archive is written again afterwards, with those inputs that add coverage.
set -eu
cd "$(dirname "$0")/.."
renew=
[ "${1:-}" != --renew ] || { renew=1 && shift; }
seconds=${1:-60}
fuzzers="scaler warp c readers service packets"
build=build-fuzz

{ cmake --preset fuzz && nice cmake --build --preset fuzz -- $(printf 'fuzz_%s ' $fuzzers); } >"$build.log" 2>&1 ||
    { cat "$build.log"; exit 1; }

# pack DIRECTORY ARCHIVE: the same bytes for the same files.
pack() {
    tar -C "$1" --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner -cf - . | gzip -n9 >"$2"
}

status=0
for name in $fuzzers; do
    corpus=$build/corpus/$name
    log=$build/fuzz_$name.log
    named=fuzz/corpus/$name
    mkdir -p "$corpus"
    tar -C "$corpus" -xzf "$named.tar.gz"
    [ -d "$named" ] || named=
    limits="-max_len=1024 -len_control=0 -rss_limit_mb=1024 -timeout=20"
    [ "$name" != readers ] || limits="-max_len=16384 -rss_limit_mb=512 -timeout=10 -dict=fuzz/readers.dict"
    # shellcheck disable=SC2086 # a list of options
    if nice "$build/bin/fuzz_$name" $limits -max_total_time="$seconds" -print_final_stats=1 -verbosity=1 \
        -artifact_prefix="$build/$name-" "$corpus" $named >"$log" 2>&1; then
        inputs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
        covered=$(sed -n 's/.*DONE *cov: \([0-9]*\) .*/\1/p' "$log")
        edges=$(sed -n 's/.*Loaded [0-9]* modules *(\([0-9]*\) .*/\1/p' "$log" | head -n 1)
        echo "fuzz_$name: $inputs inputs in $seconds s, $covered of $edges edges"
        if [ -n "$renew" ]; then
            rm -rf "$corpus.merged" && mkdir "$corpus.merged"
            "$build/bin/fuzz_$name" -merge=1 $limits "$corpus.merged" "$corpus" >"$log.merge" 2>&1
            pack "$corpus.merged" "fuzz/corpus/$name.tar.gz"
        fi
    else
        status=1
        echo "fuzz_$name: FOUND SOMETHING ($log, and $build/$name-*)" >&2
        tail -n 40 "$log" >&2
    fi
done
exit $status
