# Shared by the scripts: where things are, and how they are built. Sourced, not run.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '%s\n' "$*" >&2; }
die() { say "error: $*"; exit 1; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# configure PRESET [OPTION...]: makes the build tree of a preset, or changes options of one.
configure() {
    local preset=$1
    shift
    cmake --preset "$preset" "$@" >"build-$preset.log" 2>&1 ||
        { cat "build-$preset.log" >&2; die "cannot configure $preset"; }
    rm -f "build-$preset.log"
}

# build PRESET [TARGET...]: configures once, then builds.
build() {
    local preset=$1
    shift
    [ -f "build/$preset/build.ninja" ] || configure "$preset"
    # Where editors look for how a file is compiled.
    [ "$preset" != windows-debug ] || ln -sf build/windows-debug/compile_commands.json compile_commands.json
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

# count LABEL COMMAND...: one check that is no ctest.
passed=0
failed=0
count() {
    local label=$1
    shift
    if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); say "FAILED: $label"; fi
}

# ctest_preset PRESET [REGEX]: runs the tests of a preset that is built, and adds up what they say. Most of them wait,
# so there are several for each core. A real peer on a busy machine may be late once: what fails is run again, alone,
# and named; what fails twice has failed.
ctest_preset() {
    local log="build/$1/ctest.log" again="build/$1/ctest-again.log" summary bad total
    ctest --test-dir "build/$1" -j $((4 * $(nproc))) --output-on-failure ${2:+-R "$2"} 2>&1 | tee "$log" |
        grep -vE ' +Start +[0-9]+:|Passed +[0-9.]+ sec$' >&2 || true
    summary=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log") ||
        { grep -q 'No tests were found' "$log" && return; die "$1: no test result, see $log"; }
    bad=$(sed -E 's/.*, ([0-9]+) tests failed.*/\1/' <<<"$summary")
    total=$(sed -E 's/.*out of ([0-9]+).*/\1/' <<<"$summary")
    if [ "$bad" -gt 0 ]; then
        say "running again what failed:"
        ctest --test-dir "build/$1" --rerun-failed --output-on-failure 2>&1 | tee "$again" >&2 || true
        bad=$(sed -nE 's/.*, ([0-9]+) tests failed out of .*/\1/p' "$again")
    fi
    failed=$((failed + bad))
    passed=$((passed + total - bad))
}

# verdict: the last line, and whether all went well.
verdict() {
    printf '%d passed, %d failed\n' "$passed" "$failed"
    [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
}

sources() {
    git ls-files -- '*.h' '*.cpp' '*.c'
}
