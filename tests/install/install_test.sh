#!/usr/bin/env bash
# Installs the build into a temporary prefix and uses it as an application would: a CMake
# project with find_package(kvlnmov), a C program built with pkg-config through the C
# interface only, and the Python module from the prefix. Each posts an entry and prints its
# balances, which must be the expected ones.
#
#   install_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build="$1"
source="$2"
work=$(mktemp -d /tmp/kvlnmov-install-XXXXXX)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
# In a sanitizer build: the flags for the outside programs, and what Python must preload.
sanitize="${KVLNMOV_SANITIZE_FLAGS:-}"
python_env=()
if [[ -n "${KVLNMOV_SANITIZE_PRELOAD:-}" ]]; then
    python_env=(LD_PRELOAD="$KVLNMOV_SANITIZE_PRELOAD" ASAN_OPTIONS=detect_leaks=0)
fi

cmake --install "$build" --prefix "$prefix" >"$work/install.log"
libdir=$(dirname "$(find "$prefix" -name 'kvlnmov.pc' -path '*/pkgconfig/*' | head -n 1)")
libdir=$(dirname "$libdir")
static=0
[[ -f "$libdir/libkvlnmov.a" ]] && static=1

# Account, debits and credits of March, as Currency prints them.
expected="43000001 1210 0
70000001 0 1210"

echo "== a CMake project: find_package(kvlnmov) and kvlnmov::kvlnmov"
cmake -S "$source/tests/install/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS="$sanitize" >"$work/consumer.log"
cmake --build "$work/consumer" >>"$work/consumer.log" 2>&1 || { cat "$work/consumer.log"; exit 1; }
out=$(LD_LIBRARY_PATH="$libdir" "$work/consumer/post_entry" "$work/cpp.db")
version=$(sed -n 's/^Version: //p' "$libdir/pkgconfig/kvlnmov.pc")
if [[ "$out" != "kvlnmov $version: entry 1
$expected" ]]; then
    echo "unexpected output of the CMake project:"
    echo "$out"
    exit 1
fi
echo "$out"

echo "== a C program through pkg-config and the C interface"
export PKG_CONFIG_PATH="$libdir/pkgconfig"
pkg_static=()
((static)) && pkg_static=(--static)
# shellcheck disable=SC2046
# shellcheck disable=SC2086
cc -std=c99 -Wall -Wextra -Werror $sanitize -o "$work/c_post" "$source/tests/install/c_consumer/post_entry.c" \
    $(pkg-config "${pkg_static[@]}" --cflags --libs kvlnmov) $( ((static)) && echo -lstdc++ -lm)
out=$(LD_LIBRARY_PATH="$libdir" "$work/c_post" "$work/c.db")
if [[ "$out" != "entry 1
$expected" ]]; then
    echo "unexpected output of the C program:"
    echo "$out"
    exit 1
fi
echo "$out"

if ((static)); then
    echo "== the Python module is installed with the shared library only"
    exit 0
fi
echo "== the Python module from the prefix"
module=$(dirname "$(find "$prefix" -name '__init__.py' -path '*/kvlnmov/*' | head -n 1)")
if ! env -u KVLNMOV_LIBRARY "${python_env[@]}" PYTHONPATH="$(dirname "$module")" python3 -m unittest discover \
    -s "$source/python/tests" -t "$source/python/tests" >"$work/python.log" 2>&1; then
    cat "$work/python.log"
    exit 1
fi
tail -n 3 "$work/python.log"
