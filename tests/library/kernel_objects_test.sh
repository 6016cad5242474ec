#!/bin/sh
# kernel_objects_test.sh NM ARCHIVE: what is compiled for newer processors is reached through the tables of kernels
# alone. The linker could take an inline function with a name from there for everybody, and would run a constructor.
set -u
kernels=$("$1" -AC --defined-only "$2" | grep -E '_(avx2|avx512)\.cpp\.o:')
echo "$kernels" | grep -E ' ([A-CE-QS-Zu] |. .*(_GLOBAL__|__cxx_global_var_init))' && exit 1
echo "$kernels" | grep -qE ' [DR] vantor::k[A-Za-z0-9]+Avx512$'
