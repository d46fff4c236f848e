#!/usr/bin/env bash
# Fuzzes the T-SQL translator with libFuzzer.
#
#   scripts/fuzz.sh [SECONDS [LIBFUZZER-OPTION...]]
#
# Configures the fuzz build with clang in build-fuzz (KVLNMOV_FUZZ=ON: ASan, UBSan and the
# fuzzer's coverage in every library), builds the target, builds the seed corpus and the
# dictionary (fuzz/make_corpus.py) and runs the fuzzer for SECONDS (default 60), bounded in
# memory and time per input. Inputs it finds worth keeping go to build-fuzz/fuzz/work-corpus
# (kept between runs).
#
# Exits 0 when the run ends without a finding, and also (with one line saying so) when clang
# or libFuzzer is not installed. On a finding it prints where the input that shows it was
# saved and how to run it again, and exits non-zero.
set -euo pipefail

cd "$(dirname "$0")/.."
seconds="${1:-60}"
if ! [[ "$seconds" =~ ^[0-9]+$ ]] || ((seconds == 0)); then
    echo "usage: scripts/fuzz.sh [SECONDS [LIBFUZZER-OPTION...]]" >&2
    exit 2
fi
shift $(($# > 0 ? 1 : 0))

build=build-fuzz
out="$build/fuzz"
binary="$out/kvlnmov_translate_fuzzer"

# clang and its libFuzzer runtime: the default clang, else the newest versioned one, that links
# a fuzz target.
cc=""
cxx=""
probe="$(mktemp -d)"
trap 'rm -rf "$probe"' EXIT
echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' \
    >"$probe/probe.cpp"
for version in "" -19 -18 -17 -16 -15 -14 -13; do
    command -v "clang++$version" >/dev/null 2>&1 && command -v "clang$version" >/dev/null 2>&1 ||
        continue
    if "clang++$version" -fsanitize=fuzzer,address,undefined "$probe/probe.cpp" \
        -o "$probe/probe" >/dev/null 2>&1; then
        cc="clang$version"
        cxx="clang++$version"
        break
    fi
done
if [[ -z "$cxx" ]]; then
    echo "fuzz: skipped, clang with libFuzzer is not installed (Debian: clang, libclang-rt-dev)"
    exit 0
fi

cc="$(command -v "$cc")"
cxx="$(command -v "$cxx")"
# A build folder configured with another compiler is configured anew (CMake would otherwise
# drop the options given with the new compiler).
if [[ -f "$build/CMakeCache.txt" ]] &&
    ! grep -qx "CMAKE_CXX_COMPILER:[A-Z]*=$cxx" "$build/CMakeCache.txt"; then
    rm -rf "$build/CMakeCache.txt" "$build/CMakeFiles"
fi

echo "fuzz: building $binary with $cxx"
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER="$cc" \
    -DCMAKE_CXX_COMPILER="$cxx" -DKVLNMOV_FUZZ=ON -DKVLNMOV_BUILD_TESTS=OFF \
    -DKVLNMOV_WITH_ODBC=OFF >"$probe/configure.log" 2>&1 || {
    cat "$probe/configure.log" >&2
    exit 1
}
cmake --build "$build" -j2 --target kvlnmov_translate_fuzzer >"$probe/build.log" 2>&1 || {
    cat "$probe/build.log" >&2
    exit 1
}

mkdir -p "$out/corpus" "$out/work-corpus" "$out/findings"
if command -v python3 >/dev/null 2>&1; then
    python3 fuzz/make_corpus.py "$out"
else
    echo "fuzz: python3 not found, seeding with fuzz/seeds only"
    cp fuzz/seeds/* "$out/corpus/"
    cp fuzz/tsql.dict "$out/tsql.dict"
fi

marker="$probe/started"
touch "$marker"
echo "fuzz: running for ${seconds}s"
status=0
UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}" \
    "$binary" -max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=1024 -timeout=10 \
    -max_len=4096 -dict="$out/tsql.dict" -artifact_prefix="$out/findings/" \
    -print_final_stats=1 "$@" "$out/work-corpus" "$out/corpus" || status=$?

if ((status == 72)); then
    echo "fuzz: interrupted" >&2
    exit "$status"
fi
if ((status != 0)); then
    found=$(find "$out/findings" -type f -newer "$marker" | sort)
    echo "fuzz: FINDING (exit $status)" >&2
    for input in $found; do
        echo "fuzz: input saved as $input; run it again with: $binary $input" >&2
    done
    exit "$status"
fi
echo "fuzz: no finding in ${seconds}s"
