#!/bin/sh
# older_processors_test.sh FOLDER: on emulated processors, which fault at an instruction that they do not promise, the
# programs in FOLDER choose the kernels that these processors have, and give the right bytes.
set -u
command -v qemu-x86_64 >/dev/null || exit 77
folder=$1
out=$(mktemp)
trap 'rm -f "$out"' EXIT
status=0
ulimit -c 0  # the faults are expected

# emulated PROGRAM [ARGUMENT...]: adds what it says to $out.
emulated() {
    program=$1
    shift
    qemu-x86_64 -cpu "$processor" "$folder/$program" "$@" >>"$out" 2>&1
}

# expect PROCESSOR PROBE TABLE: the status at which an AVX2 instruction ends (132 is the fault), and the choice.
expect() {
    processor=$1
    : >"$out"
    emulated avx2_probe
    [ $? = "$2" ] || { echo "$1: the emulator lets through what the processor lacks, or has no AVX2"; status=1; }
    { emulated vantor-selftest && emulated scaler_test --gtest_filter='Kernels.*' &&
        emulated gdc_test --gtest_filter='WarpKernels.*-*.Weights*'; } || { cat "$out"; status=1; }
    tables=$(sed -n 's|^kernel table .*/||p' "$out" | paste -sd' ')
    echo "$1: $tables; $(grep '^all: ' "$out")"
    [ "$tables" = "$3 $3 $3 $3 $3" ] || { echo "$1: expected $3"; status=1; }
}

for processor in core2duo Nehalem SandyBridge Haswell,-avx2 Haswell,-xsave; do expect $processor 132 plain; done
expect Haswell,-popcnt 0 plain
for processor in Haswell,-fma,-f16c,-bmi1,-bmi2,-abm,-movbe EPYC; do expect $processor 0 avx2; done
exit $status
