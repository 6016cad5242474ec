#!/bin/sh
# older_processors_test.sh OBJDUMP ARCHIVE DIRECTORY: on emulated processors, which fault at an instruction that they
# do not report, the programs in DIRECTORY choose the kernels that these processors have, and give the right bytes.
set -u
command -v qemu-x86_64 >/dev/null || exit 77
directory=$3
out=$(mktemp)
trap 'rm -f "$out"' EXIT
status=0
ulimit -c 0  # some faults are expected
# qemu 7.2 ignores a gather's index in register 4; where the compiler chose it, AVX2 gathers give wrong results.
wrong=$("$1" -d "$2" | awk '/file format/ { isAvx2 = /_avx2/ } isAvx2 && /gather.*,%[xy]mm4[,)]/ { print "avx2"; exit }')

# emulated PROGRAM [ARGUMENT...]: appends its output to $out.
emulated() {
    program=$1
    shift
    qemu-x86_64 -cpu "$processor" "$directory/$program" "$@" >>"$out" 2>&1
}

# right ...: the same, and no fault; nor a wrong result, unless the emulator is known for it.
right() {
    emulated "$@"
    case $?,$table in 0,* | 1,"$wrong") ;; *) grep -v "TCG doesn" "$out"; status=1 ;; esac
}

# expect PROCESSOR PROBE TABLE: the status at which an AVX2 instruction ends (132 is the fault), and the choice.
expect() {
    processor=$1 table=$3
    : >"$out"
    emulated avx2_probe
    [ $? = "$2" ] || { echo "$1: the emulator lets through what the processor lacks, or has no AVX2"; status=1; }
    right vantor-selftest
    right scaler_test --gtest_filter='Kernels.*'
    right gdc_test --gtest_filter='WarpKernels.*-*.Weights*'
    tables=$(sed -n 's|^kernel table .*/||p' "$out" | paste -sd' ')
    echo "$1: $tables; $(grep '^all ' "$out")"
    [ "$tables" = "$table $table $table $table $table" ] || { echo "$1: expected $table"; status=1; }
}

for processor in core2duo Nehalem SandyBridge Haswell,-avx2 Haswell,-xsave; do expect $processor 132 plain; done
expect Haswell,-popcnt 0 plain
for processor in Haswell,-fma,-f16c,-bmi1,-bmi2,-abm,-movbe EPYC; do expect $processor 0 avx2; done
exit $status
