#!/usr/bin/env bash
# Instructions per posted line, counted by callgrind: the posting benchmark posts a small and a
# larger batch through the library (one caller transaction), and the difference between the
# two runs, divided by the difference in lines, is the cost of a line without the set-up.
# Also prints how much of that cost is the T-SQL translator, and SQLite's stepping.
#
#   scripts/bench-instructions.sh [BUILD_DIR] [BOOK_LINES]
#
# BUILD_DIR defaults to ./build (a Release or RelWithDebInfo build); BOOK_LINES (default 0)
# lines are in the books before the batch.
set -euo pipefail

build=${1:-build}
book=${2:-0}
bench="$build/bench/kvlnmov_posting_bench"
[[ -x $bench ]] || { echo "no $bench: build the project first" >&2; exit 1; }
command -v valgrind >/dev/null || { echo "valgrind is not installed (apt-get install valgrind)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
small=400
large=2000

# Inclusive instructions of the first function whose name contains $2, in callgrind file $1
# (the program total for "PROGRAM TOTALS").
inclusive() {
    callgrind_annotate --inclusive=yes --threshold=100 "$1" 2>/dev/null |
        awk -v name="$2" 'index($0, name) { gsub(",", "", $1); print $1; exit }'
}

# The books are written once, outside callgrind; every counted run starts from a copy.
"$bench" --library-only --lines 4 --book-lines "$book" --dir "$work" --keep-template >/dev/null

# count SIDE LINES: callgrind's count of posting LINES through SIDE (library or floor).
count() {
    valgrind --tool=callgrind --callgrind-out-file="$work/$1-$2.out" "$bench" "--$1-only" \
        --modes caller --lines "$2" --book-lines "$book" --dir "$work" --keep-template \
        >/dev/null 2>&1
}

lines=$((large - small))
# per_line SIDE FUNCTION: the function's instructions per line of SIDE's batch.
per_line() {
    echo $(( ($(inclusive "$work/$1-$large.out" "$2") - $(inclusive "$work/$1-$small.out" "$2")) / lines ))
}
for side in library floor; do
    count $side $small
    count $side $large
done
total=$(per_line library "PROGRAM TOTALS")
translate=$(per_line library "Translator::translate(")
step=$(per_line library "sqlite3_step [")
floor=$(per_line floor "PROGRAM TOTALS")
printf 'books of %d lines, one caller transaction, instructions per posted line:\n' "$book"
printf '  library:             %d\n' "$total"
printf '    translating T-SQL: %d (%d%%)\n' "$translate" $((100 * translate / total))
printf '    sqlite3_step:      %d (%d%%)\n' "$step" $((100 * step / total))
printf '  raw SQLite floor:    %d\n' "$floor"
