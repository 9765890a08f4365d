# Shared by the scripts: where things are, and how they are built. Sourced, not run.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '%s\n' "$*" >&2; }
die() { say "error: $*"; exit 1; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# build PRESET [TARGET...]: configures once, then builds.
build() {
    local preset=$1
    shift
    [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" >"build-$preset.log" 2>&1 ||
        { cat "build-$preset.log" >&2; die "cannot configure $preset"; }
    rm -f "build-$preset.log"
    cmake --build "build/$preset" ${@:+--target "$@"} >&2
}

# run_windows PRESET PROGRAM [ARG...]: runs a built Windows program under Wine.
run_windows() {
    local preset=$1 program=$2
    shift 2
    "$root/cmake/wine-run" "$root/build/$preset/wineprefix" "$root/build/$preset/bin/$program.exe" "$@"
}

stop_wine() {
    local prefix
    for prefix in "$root"/build/*/wineprefix; do
        [ -d "$prefix" ] && "$root/cmake/wine-run" "$prefix" --stop >/dev/null 2>&1 || true
    done
}

sources() {
    git ls-files -- '*.h' '*.cpp' '*.c'
}
