#!/bin/sh
# cross.sh <root> <jobs> [processor ...]: builds zel_combine for other processors and runs the tests of its
# commands under their emulators: the same bytes, messages and statuses everywhere.
set -eu
root=$1
jobs=$2
shift 2
[ $# -gt 0 ] || set -- aarch64 i686 s390x

# These replace calls of the system, or its limits, and would hit the emulator.
skipped="failing_calls_test failing_output_test standard_streams_test"

build_for() {
    processor=$1
    tree=$root/build-cross/$processor
    cmake -S "$root" -B "$tree" -DCMAKE_BUILD_TYPE=Release -DCMAKE_SYSTEM_NAME=Linux \
        -DCMAKE_SYSTEM_PROCESSOR="$processor" \
        -DCMAKE_C_COMPILER="$processor-linux-gnu-gcc" \
        -DCMAKE_CXX_COMPILER="$processor-linux-gnu-g++" \
        -DZEL_BUILD_TESTS=OFF -DZEL_BUILD_BENCHMARKS=OFF -DZEL_BUILD_EXAMPLES=OFF -DZEL_TOOL=OFF
    cmake --build "$tree" -j "$jobs" --target zel_combine
}

order_of() {
    case $1 in
    s390x) echo big ;;
    *) echo little ;;
    esac
}

# The emulator, the directory of libraries, and the options for libraries and for the program's name.
# An x86-64 kernel often runs 32-bit programs itself, and the emulator hangs in those with threads.
emulator_of() {
    loader=/usr/i686-linux-gnu/lib/ld-linux.so.2
    if [ "$1" = i686 ] && "$loader" --version >/dev/null 2>&1; then
        echo "$loader /usr/i686-linux-gnu/lib --library-path --argv0"
        return
    fi
    case $1 in
    i686) name=qemu-i386-static ;;
    *) name=qemu-$1-static ;;
    esac
    echo "$(command -v "$name") /usr/$1-linux-gnu -L -0"
}

failed=0
for processor; do
    tree=$root/build-cross/$processor
    mkdir -p "$tree"
    echo "building for $processor in build-cross/$processor"
    build_for "$processor" >"$tree/build.log" 2>&1 || { tail -n 30 "$tree/build.log" >&2; exit 1; }
    read -r emulator libraries library_option name_option <<WORDS
$(emulator_of "$processor")
WORDS
    cc -o "$tree/emulated" -DEMULATOR="\"$emulator\"" -DLIBRARIES="\"$libraries\"" \
        -DLIBRARY_OPTION="\"$library_option\"" -DNAME_OPTION="\"$name_option\"" \
        -DPROGRAM="\"$tree/bin/zel_combine\"" "$root/tests/support/emulated.c"
    for test in "$root"/tests/tool/*_test.py; do
        name=$(basename "$test" .py)
        case " $skipped " in *" $name "*) continue ;; esac
        status=0
        ZEL_COMBINE=$tree/emulated ZEL_HOST_ORDER=$(order_of "$processor") \
            PYTHONPATH=$root/tests/support:$root/tests/tool \
            python3 "$test" >"$tree/$name.log" 2>&1 || status=$?
        ran=$(sed -n 's/^Ran //p' "$tree/$name.log")
        case $status in
        0) echo "$processor $name: $ran" ;;
        77) echo "$processor $name: $ran, all skipped" ;;
        *)
            echo "$processor $name FAILS: $(grep -c '^FAIL:\|^ERROR:' "$tree/$name.log") of $ran"
            grep '^FAIL:\|^ERROR:' "$tree/$name.log" || true
            failed=1
            ;;
        esac
    done
done
exit $failed
