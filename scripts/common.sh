# Sourced by the other scripts: where things are, how progress is shown, how a preset is built.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=${CEL_JOBS:-$(nproc)}

# Progress goes to stderr: stdout belongs to what was asked for.
step() { printf '==> %s\n' "$*" >&2; }
fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 2
}

# quietly COMMAND...: shows the output only when the command fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    step "building $preset${*:+ ($*)}"
    (cd "$root" && quietly cmake --preset "$preset") || return 1
    quietly cmake --build "$root/build/$preset" -j "$jobs" ${*:+--target "$@"}
}

# run_tests PRESET [ctest argument...]
run_tests() {
    local preset=$1
    shift
    (cd "$root" && ctest --preset "$preset" -j "$jobs" "$@")
}
