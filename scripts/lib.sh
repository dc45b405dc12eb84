# What the scripts share: the packages that a step needs, and quiet builds. Sourced by bash, never run.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
caller_directory=$PWD
cd "$root"

# A path on the command line is meant from where the script was called.
path_of_caller() {
    case $1 in
        /*) printf '%s' "$1" ;;
        *) printf '%s' "$caller_directory/$1" ;;
    esac
}

# Objects are shared between checkouts and build directories. Where there is hardly one to be found, the compiler's own list of
# what it read is enough to keep them by, and nothing is preprocessed for that beforehand.
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
[ -z "${CI:-}" ] || export CCACHE_DEPEND=1

build_packages=(g++ cmake ninja-build ccache libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev nlohmann-json3-dev libpugixml-dev libxml2-dev)
windows_packages=(g++-mingw-w64-x86-64-posix wine wine64 googletest)
check_packages=(clang-format clang-tidy)
fuzz_packages=(clang libclang-rt-dev)

say() { printf '%s\n' "$*"; }
fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

is_installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

# Installs what is missing of the named Debian packages, and touches nothing when all are there.
need_packages() {
    local package missing=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local apt=(apt-get -o DPkg::Lock::Timeout=300 -qq)
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || fail "needs root or sudo to install: ${missing[*]}"
        apt=(sudo DEBIAN_FRONTEND=noninteractive "${apt[@]}")
    fi
    say "Installing: ${missing[*]}"
    local log
    log=$(mktemp)
    if ! install_packages >"$log" 2>&1; then
        # The package lists are missing or out of date.
        if ! { "${apt[@]}" update && install_packages; } >"$log" 2>&1; then
            cat "$log" >&2
            rm -f "$log"
            fail "could not install: ${missing[*]}"
        fi
    fi
    rm -f "$log"
}

# The second half of need_packages: uses its `apt` and `missing`.
install_packages() {
    "${apt[@]}" -o Dpkg::Use-Pty=0 -o APT::Install-Recommends=false install -y "${missing[@]}" </dev/null
}
export DEBIAN_FRONTEND=noninteractive

# Runs a command with its output in LOG; on a terminal it is shown as well, otherwise only when the command fails.
logged() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    if [ -t 1 ]; then
        "$@" 2>&1 | tee "$log"
        return
    fi
    if ! "$@" >"$log" 2>&1; then
        tail -n 200 "$log" >&2
        return 1
    fi
}

# Configures and builds a preset into build/PRESET, with the caller's configure_options if there are any.
configure_options=()
build_preset() {
    local preset=$1
    shift
    say "Building $preset ..."
    logged "build/$preset/configure.log" cmake --preset "$preset" "${configure_options[@]}"
    logged "build/$preset/build.log" cmake --build --preset "$preset" "$@"
}

# A large set of real messages, for the tests that use it: beside the checkout, or wherever the caller says.
if [ -z "${VELMORA_TEST_DATA:-}" ] && [ -d ../shared/data ]; then
    VELMORA_TEST_DATA=$(cd ../shared/data && pwd)
    export VELMORA_TEST_DATA
fi

# Runs the tests of a preset and prints what failed and the runner's closing lines; the whole report is in
# build/PRESET/test.log.
test_preset() {
    local preset=$1 log="$root/build/$1/test.log" result=0
    say "Testing $preset ..."
    rm -f "$log"
    local options=(--preset "$preset" --output-log "$log")
    if [ -t 1 ]; then
        ctest "${options[@]}" --progress || result=$?
        return $result
    fi
    ctest "${options[@]}" >/dev/null 2>&1 || result=$?
    if [ $result -ne 0 ]; then
        # The output of a failed test stands behind its result line, up to the next line of the runner's own.
        awk '/^ *[0-9]+\/[0-9]+ Test +#/ { failed = /\*\*\*/ && !/\*\*\*Skipped/; lines = 0 }
             /^ +Start +[0-9]+:/ { failed = 0 }
             /tests passed/ { failed = 0 }
             failed && lines++ < 60' "$log"
    fi
    sed -n '/tests passed/,$p' "$log"
    grep -q 'tests passed' "$log" || {
        tail -n 20 "$log" >&2
        result=1
    }
    return $result
}

# Our own C and C++ sources, or those of them below the given directories.
our_sources() {
    local directory found=()
    for directory in "$@"; do
        [ -d "$directory" ] && found+=("$directory")
    done
    [ ${#found[@]} -gt 0 ] || return 0
    find "${found[@]}" -type f \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) | LC_ALL=C sort
}
all_source_directories=(include common platform SERVICES tools tests bench fuzz)
