#!/bin/sh
# symbols_test.sh NM LIBRARY LIST: the library exports the listed names and no others, and calls the platform by its
# plain names, which programs can replace. (64-bit integers are "long long" on 32-bit targets.)
set -u
nm=$1 library=$2 list=$3
status=0
if ! "$nm" -DC --defined-only "$library" | cut -d' ' -f3- | sed 's/long long/long/' | LC_ALL=C sort | diff "$list" -; then
    echo "exported names differ from $list (above: < missing, > not listed)"
    status=1
fi
called=$("$nm" -D --undefined-only "$library" | sed 's/^ *[Uw] //; s/@.*//')
for name in __android_log_print pthread_create pthread_join; do
    echo "$called" | grep -qx "$name" || { echo "$name is not called by this name"; status=1; }
done
if echo "$called" | grep -E '_chk$|time64$|mmap64$'; then
    echo "the names above were changed by a build option"
    status=1
fi
exit $status
