#!/bin/sh
# c_library_test.sh NM READELF COMPILER LIBRARY HEADER: the C library exports what its header declares, keeps none of the
# model's variables and needs the C and C++ libraries alone; and the header is C89, C99 and C++17 without a warning.
set -u
nm=$1 readelf=$2 compiler=$3 library=$4 header=$5
status=0
exported=$("$nm" -D --defined-only "$library" | cut -d' ' -f3 | LC_ALL=C sort)
declared=$(grep -v '^ \*\|typedef' "$header" | grep -o '\bvantor_[a-z_0-9]*(' | tr -d '(' | LC_ALL=C sort -u)
[ "$exported" = "$declared" ] || { echo "exported:" $exported "declared:" $declared; status=1; }
"$nm" "$library" | grep -E ' _?m_' && { echo "variables of the model (above)"; status=1; }
"$readelf" -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' |
    grep -vE '^(lib(c|m|gcc_s|stdc\+\+|pthread|atomic)\.so|ld(64|-linux))' &&
    { echo "libraries that no C++ program has (above)"; status=1; }
for standard in "c -std=c90" "c -std=c99" "c++ -std=c++17"; do
    # shellcheck disable=SC2086 # two words
    "$compiler" -pedantic -Wall -Wextra -Werror -fsyntax-only -include "$header" -x $standard "$header" || status=1
done
exit $status
