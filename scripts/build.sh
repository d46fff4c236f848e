#!/usr/bin/env bash
# Sets up, builds and runs kvlnmov on a Debian 12 machine.
#
#   scripts/build.sh demo             build, then run the demo on a fresh embedded database
#   scripts/build.sh test             build, then run every test suite and every scenario file,
#                                     the database ones twice: on the embedded provider and
#                                     through ODBC (and against SQL Server when
#                                     KVLNMOV_TEST_MSSQL holds a connection string)
#   scripts/build.sh test --sanitize  the same, built with AddressSanitizer and UBSan
#
# The test command also fuzzes the T-SQL translator for a short, bounded time
# (scripts/fuzz.sh, when clang with libFuzzer is installed; KVLNMOV_FUZZ_SECONDS, default
# 20, 0 to skip).
#
# Missing Debian packages are installed with apt-get when run as root (otherwise the script
# names them and stops).
set -euo pipefail

cd "$(dirname "$0")/.."
mode="${1:-}"
sanitize=0
[[ "${2:-}" == "--sanitize" ]] && sanitize=1
case "$mode" in
    demo | test) ;;
    *)
        echo "usage: scripts/build.sh demo|test [--sanitize]" >&2
        exit 2
        ;;
esac

# unixodbc-dev, odbcinst and libsqliteodbc: the ODBC provider, and the SQLite ODBC driver the
# test command runs the database suites through a second time.
packages=(cmake g++ make pkg-config libsqlite3-dev nlohmann-json3-dev libcli11-dev libgtest-dev
          qt6-base-dev unixodbc-dev odbcinst libsqliteodbc
          libcsv-dev libedit-dev)
# gettext: msgfmt compiles the tool's message catalogues (po/*.po); xgettext checks them.
packages+=(gettext)
missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
        missing+=("$package")
done
if ((${#missing[@]} > 0)); then
    if [[ $(id -u) -ne 0 ]]; then
        echo "missing Debian packages: ${missing[*]} (run as root to install them)" >&2
        exit 1
    fi
    echo "installing: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# The test command's ODBC pass needs the SQLite ODBC driver registered under the name the
# tests use (Debian's package may leave that to odbcinst).
odbc_driver="${KVLNMOV_TEST_ODBC_DRIVER:-SQLite3}"
if [[ "$mode" == test ]] && ! odbcinst -q -d -n "$odbc_driver" >/dev/null 2>&1; then
    if [[ $(id -u) -ne 0 || "$odbc_driver" != SQLite3 ]]; then
        echo "the ODBC driver '$odbc_driver' is not registered (see odbcinst -q -d)" >&2
        exit 1
    fi
    echo "registering the SQLite3 ODBC driver"
    odbcinst -i -d -r >/dev/null <<'DRIVER'
[SQLite3]
Description=SQLite3 ODBC Driver
Driver=libsqlite3odbc.so
Setup=libsqlite3odbc.so
DRIVER
fi

jobs=$(nproc 2>/dev/null || echo 2)
if ((sanitize)); then
    build=build-sanitize
    options=(-DCMAKE_BUILD_TYPE=Debug -DKVLNMOV_SANITIZE=ON)
else
    build=build
    options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
fi
# Our own builds treat every warning as an error.
options+=(-DKVLNMOV_WERROR=ON)
# The demo needs no tests; the test command switches them back on in case a demo run
# configured the same folder first.
if [[ "$mode" == demo ]]; then
    options+=(-DKVLNMOV_BUILD_TESTS=OFF)
else
    options+=(-DKVLNMOV_BUILD_TESTS=ON)
fi

cmake -S . -B "$build" "${options[@]}" >/dev/null
cmake --build "$build" -j "$jobs"

if [[ "$mode" == demo ]]; then
    database="$build/demo.db"
    rm -f "$database" "$database-wal" "$database-shm"
    exec "$build/apps/cli/kvlnmov" demo "$database"
fi

# Every suite on the embedded provider; then the database suites (ctest label "database")
# and the scenarios again through the ODBC provider on Debian's SQLite ODBC driver, and, when
# KVLNMOV_TEST_MSSQL holds an ODBC connection string to a SQL Server, once more against that
# server (each test on a scratch database created and dropped there).
export QT_QPA_PLATFORM=offscreen
status=0
tool="$build/apps/cli/kvlnmov"
echo "== all suites, embedded SQLite provider"
(cd "$build" && KVLNMOV_TEST_PROVIDER=sqlite ctest --output-on-failure --no-tests=error -j "$jobs") || status=1
echo "== database suites through the ODBC provider (driver $odbc_driver)"
(cd "$build" && KVLNMOV_TEST_PROVIDER=odbc ctest --output-on-failure --no-tests=error -j "$jobs" -L database) ||
    status=1
server=0
if [[ -n "${KVLNMOV_TEST_MSSQL:-}" ]]; then
    server=1
    echo "== database suites against the SQL Server of KVLNMOV_TEST_MSSQL"
    (cd "$build" && KVLNMOV_TEST_PROVIDER=mssql ctest --output-on-failure --no-tests=error -j 1 -L database) ||
        status=1
else
    echo "SQL Server pass skipped: KVLNMOV_TEST_MSSQL names no server"
fi
# A short fuzzing run of the translator; its log is printed whole only on a finding.
fuzz_seconds="${KVLNMOV_FUZZ_SECONDS:-20}"
if ((fuzz_seconds > 0)); then
    echo "== the T-SQL translator fuzzed for ${fuzz_seconds}s (log: build-fuzz/fuzz.log)"
    mkdir -p build-fuzz
    if scripts/fuzz.sh "$fuzz_seconds" >build-fuzz/fuzz.log 2>&1; then
        grep '^fuzz: ' build-fuzz/fuzz.log | tail -1
    else
        cat build-fuzz/fuzz.log
        status=1
    fi
fi
echo "== scenarios, embedded SQLite provider"
"$tool" run --provider sqlite tests/scenarios || status=1
echo "== scenarios through the ODBC provider (driver $odbc_driver)"
"$tool" run --provider odbc tests/scenarios || status=1
if ((server)); then
    echo "== scenarios against the SQL Server of KVLNMOV_TEST_MSSQL"
    "$tool" run --provider mssql tests/scenarios || status=1
fi
exit $status
