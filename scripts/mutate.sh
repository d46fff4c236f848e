#!/usr/bin/env bash
# A small mutation run: plants each fault of scripts/mutants.txt in turn (one line of src/
# changed), rebuilds, and runs the test command's suites until one fails. A mutant is killed
# when a suite fails, survives when all pass, and is "not built" when it does not compile.
#
#   scripts/mutate.sh [FILTER]     only the mutants whose name contains FILTER
#   MUTATE_RESUME=1 scripts/mutate.sh   keeps the log of an interrupted run and plants only
#                                        the mutants it does not name yet
#
# Builds in build-mutate (-O1, no debug information, so that a rebuild is quick). The source
# tree must have no uncommitted change under src/; every mutated file is restored, also when
# the run is interrupted. The log is build-mutate/mutate.log.
set -euo pipefail
cd "$(dirname "$0")/.."
filter="${1:-}"
build=build-mutate
jobs=$(nproc 2>/dev/null || echo 2)
odbc_driver="${KVLNMOV_TEST_ODBC_DRIVER:-SQLite3}"
export QT_QPA_PLATFORM=offscreen

if ! git diff --quiet -- src; then
    echo "mutate: src/ has uncommitted changes; commit or stash them first" >&2
    exit 2
fi

# Each mutant relinks every program that links the mutated library: lld, where installed,
# makes that quick. The benchmarks are left out (no suite runs them).
link=()
if command -v ld.lld >/dev/null 2>&1; then
    link=(-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld -DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld)
fi
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Mutate -DCMAKE_CXX_FLAGS_MUTATE=-O1 \
    -DKVLNMOV_BUILD_TESTS=ON -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON "${link[@]}" >/dev/null
build_all() { cmake --build "$build" -j "$jobs" >"$build/build.log" 2>&1; }

# The suites of the test command, cheapest first, stopping at the first failure.
suites() {
    local tool="$build/apps/cli/kvlnmov"
    "$tool" run --provider sqlite tests/scenarios >/dev/null 2>&1 || return 1
    (cd "$build" && KVLNMOV_TEST_PROVIDER=sqlite ctest -j "$jobs" --timeout 300 \
        --stop-on-failure >/dev/null 2>&1) || return 1
    if odbcinst -q -d -n "$odbc_driver" >/dev/null 2>&1; then
        (cd "$build" && KVLNMOV_TEST_PROVIDER=odbc ctest -j "$jobs" --timeout 300 -L database \
            --stop-on-failure >/dev/null 2>&1) || return 1
        "$tool" run --provider odbc tests/scenarios >/dev/null 2>&1 || return 1
    fi
    return 0
}

# mutant.py apply NAME -> applies it and prints the file it changed; restore FILE puts it back.
backup=$(mktemp -d)
restore() {
    if [[ -f "$backup/path" ]]; then
        cp "$backup/original" "$(cat "$backup/path")"
        rm -f "$backup/path"
    fi
}
trap 'restore; rm -rf "$backup"' EXIT
trap 'exit 130' INT TERM

apply() {
    python3 - "$1" "$backup" <<'PY'
import pathlib, sys
name, backup = sys.argv[1], pathlib.Path(sys.argv[2])
mutants, current = {}, None
for line in pathlib.Path("scripts/mutants.txt").read_text().splitlines():
    if line.startswith("@ "):
        current = line[2:]
        mutants[current] = {}
    elif line.startswith("- ") or line.startswith("+ "):
        mutants[current][line[0]] = line[2:]
original, mutated = mutants[name]["-"], mutants[name]["+"]
files = [p for p in pathlib.Path("src").rglob("*") if p.suffix in (".cpp", ".h")]
hits = [(p, p.read_text().count(original)) for p in files]
hits = [(p, n) for p, n in hits if n]
if len(hits) != 1 or hits[0][1] != 1:
    sys.exit(f"mutant '{name}': its line occurs {sum(n for _, n in hits)} times in src/")
path = hits[0][0]
text = path.read_text()
(backup / "original").write_text(text)
(backup / "path").write_text(str(path))
path.write_text(text.replace(original, mutated))
print(path)
PY
}

mapfile -t names < <(sed -n 's/^@ //p' scripts/mutants.txt | grep -F -- "$filter")
log="$build/mutate.log"
echo "mutate: building the unmutated tree in $build"
build_all || { echo "mutate: the unmutated tree does not build (see $build/build.log)" >&2; exit 1; }
echo "mutate: the unmutated tree must pass every suite first"
suites || { echo "mutate: the unmutated tree fails a suite; fix that first" >&2; exit 1; }

if [[ "${MUTATE_RESUME:-}" != 1 ]]; then : >"$log"; fi
touch "$log"
for name in "${names[@]}"; do
    if grep -qF -- " $name (" "$log"; then continue; fi
    file=$(apply "$name")
    if ! build_all; then
        result="not built"
    elif suites; then
        result="SURVIVED"
    else
        result="killed"
    fi
    restore
    printf '%-9s %s (%s)\n' "$result" "$name" "$file" | tee -a "$log"
done
build_all || true
# The tally reads the log, so that a resumed run counts the mutants of its earlier part.
count() {
    local n=0 name line
    for name in "${names[@]}"; do
        line=$(grep -F -- " $name (" "$log" | tail -n 1)
        if [[ "$line" == "$1 "* ]]; then n=$((n + 1)); fi
    done
    echo "$n"
}
killed=$(count killed) survived=$(count SURVIVED) unbuilt=$(count "not built")
total=${#names[@]}
echo "mutate: $killed killed / $total mutants ($survived survived, $unbuilt not built)" | tee -a "$log"
((survived == 0 && unbuilt == 0))
