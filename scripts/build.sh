#!/usr/bin/env bash
# Sets up, builds and runs kvlnmov on a Debian 12 machine.
#
#   scripts/build.sh demo             build, then run the demo on a fresh embedded database
#   scripts/build.sh test             build, then run every test suite and every scenario file
#   scripts/build.sh test --sanitize  the same, built with AddressSanitizer and UBSan
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

packages=(cmake g++ make pkg-config libsqlite3-dev nlohmann-json3-dev libcli11-dev libgtest-dev
          qt6-base-dev)
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

jobs=$(nproc 2>/dev/null || echo 2)
if ((sanitize)); then
    build=build-sanitize
    options=(-DCMAKE_BUILD_TYPE=Debug -DKVLNMOV_SANITIZE=ON)
else
    build=build
    options=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
fi
[[ "$mode" == demo ]] && options+=(-DKVLNMOV_BUILD_TESTS=OFF)

cmake -S . -B "$build" "${options[@]}" >/dev/null
cmake --build "$build" -j "$jobs"

if [[ "$mode" == demo ]]; then
    database="$build/demo.db"
    rm -f "$database" "$database-wal" "$database-shm"
    exec "$build/apps/cli/kvlnmov" demo "$database"
fi

export QT_QPA_PLATFORM=offscreen
status=0
(cd "$build" && ctest --output-on-failure -j "$jobs") || status=1
"$build/apps/cli/kvlnmov" run tests/scenarios || status=1
exit $status
