# shellcheck shell=bash
# What the scripts share; sourced by them, after `set -euo pipefail`. Puts them into the project's root.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit

# die MESSAGE: one clear line, and the end.
die() {
    printf 'error: %s\n' "$1" >&2
    exit 1
}

# takes USAGE ARGUMENT...: --help alone prints the usage, a line or two, and ends the script.
takes() {
    usage=$1
    [ "$#/${2-}" != 2/--help ] || {
        printf 'usage: %s\n' "$usage"
        exit 0
    }
}

# refuse WORD...: ends with an error that names the words and shows the usage; does nothing without words. An empty word
# is one that is missing.
refuse() {
    [ "$#/${1-}" != 1/ ] || die "a word is missing
usage: $usage"
    [ $# = 0 ] || die "$(printf "'%s' " "$@")is not understood
usage: $usage"
}

# alive LOG: every half minute, until it is killed or the script has ended, the last line of LOG.
alive() {
    local seconds=0 nap=
    trap 'kill $nap 2>/dev/null; exit' TERM
    while kill -0 $$ 2>/dev/null; do
        sleep 30 >/dev/null 2>&1 &
        nap=$!
        wait "$nap"
        seconds=$((seconds + 30))
        printf '  after %d s: %s\n' "$seconds" "$(tail -c 1000 "$1" | tr '\r' '\n' | tail -n 1 | cut -c 1-100)"
    done
}

# watch_over LOG COMMAND...: runs the command with its output in LOG and says now and then how far it is.
watch_over() {
    local log=$1 status=0 watcher
    shift
    mkdir -p "$(dirname "$log")"
    : >"$log"
    alive "$log" >&2 &
    watcher=$!
    "$@" >"$log" 2>&1 </dev/null || status=$?
    kill "$watcher" || true
    wait "$watcher" || true
    return $status
}

# step LOG TITLE COMMAND...: prints the title and watches over the command; its output is shown only when it fails.
step() {
    local log=$1 title=$2 status=0
    shift 2
    printf '%s\n' "$title" >&2
    watch_over "$log" "$@" || status=$?
    [ $status = 0 ] || {
        tail -n 200 "$log" >&2
        die "$title: failed with status $status (whole output in $log)"
    }
}

# quietly LOG COMMAND...: as `step`, but what the command prints is an error too.
quietly() {
    local log=$1
    step "$@"
    [ ! -s "$log" ] || {
        cat "$log" >&2
        die "$2: warnings"
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
