# shellcheck shell=bash
# What the scripts share; sourced by them, after `set -euo pipefail`. Puts them into the project's root.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit

# die MESSAGE: one clear line, and the end.
die() {
    printf 'error: %s\n' "$1" >&2
    exit 1
}

# step LOG TITLE COMMAND...: says what begins, keeps the command's output in LOG and shows it only when it fails.
step() {
    local log=$1 title=$2
    shift 2
    mkdir -p "$(dirname "$log")"
    printf '%s\n' "$title" >&2
    "$@" >"$log" 2>&1 </dev/null || {
        local status=$?
        tail -n 200 "$log" >&2
        die "$title: failed with status $status (whole output in $log)"
    }
}

# need COMMAND...: ends with an error unless every command is there.
need() {
    local command
    for command in "$@"; do
        command -v "$command" >/dev/null || die "$command is missing: run script/bootstrap"
    done
}

# build PRESET: configures and builds it in build/PRESET. MATHS_WERROR=ON makes warnings errors.
build() {
    need cmake ninja
    step "build/$1/configure.log" "configuring $1" cmake --preset "$1" -DMATHS_WERROR="${MATHS_WERROR:-OFF}"
    step "build/$1/build.log" "building $1" cmake --build --preset "$1"
}

# run_tests PRESET: runs its tests and prints the last lines, which count them.
run_tests() {
    local log=build/$1/test.log
    step "$log" "testing $1" ctest --preset "$1" --parallel "$(nproc)"
    sed -n '/ tests passed/,$p' "$log"
}

# public_headers: all but those for inside use, which say so in these words.
public_headers() {
    grep -rLiE 'for use inside|^// .*\bincluded (by|after)( |$)' --include='*.h' platform maths | LC_ALL=C sort
}
