#!/usr/bin/env bash
# qualify_corvixsim.sh COMMAND...: COMMAND runs corvixsim, which has to pass the qualification files of ipptool.
. "$(dirname "$0")/lib.sh"
suites=/usr/share/cups/ipptool
command -v ipptool >/dev/null && [ -f $suites/ipp-2.0.test ] || exit 77
trap stop_peers EXIT

# The simulator ends with its standard input, so nothing is left running however this script ends.
mkfifo "$peer_dir/stdin"
mkdir "$peer_dir/spool"
"$@" --until-eof --port-base 0 --spool "$peer_dir/spool" <"$peer_dir/stdin" >"$peer_dir/ready" 2>&1 &
peer_pids+=($!)
exec 3>"$peer_dir/stdin"
wait_until grep -q '^ready ' "$peer_dir/ready" || { cat "$peer_dir/ready"; exit 1; }
host=$(sed -nE 's/^ready .*address=([^ \r]+).*/\1/p' "$peer_dir/ready")
port=$(sed -nE 's/^ready .*[=,]631=([0-9]+).*/\1/p' "$peer_dir/ready")
control=$(sed -nE 's/^ready .*control=([0-9]+).*/\1/p' "$peer_dir/ready")
uri=ipp://$host:$port/ipp/print

# Jobs end at once: the suites wait for each.
post() { exec 4<>"/dev/tcp/$host/$control" && printf 'POST %s HTTP/1.0\r\nContent-Length: %d\r\n\r\n%s' "$1" "${#2}" "$2" >&4 && cat <&4; }
post /sim/scenario $'job any\nafter 0 state processing\nafter 0 state completed\n' >/dev/null

# The files name documents that the distribution leaves out. Nothing is rendered here, so any bytes will do.
files=$peer_dir/suites
mkdir "$files"
cp "$suites"/*.test "$files"
grep -hoE '^\s*FILE [^$ ]+' "$files"/*.test | awk '{ print $2 }' | sort -u | while read -r name; do
    mkdir -p "$(dirname "$files/$name")"
    printf 'bytes of %s' "$name" >"$files/$name"
done
# One of its tests asks for other attributes than it is about.
sed -i "/NAME .*(requested-attributes='media-col-database')/,/^}/s/'all'/'media-col-database'/" \
    "$files/get-printer-attributes-suite.test"

failures=0
# qualify NAME FEWEST [OPTION...]: runs a file, of which so many tests at least have to apply to this printer. The
# documents come in chunks, with -L in one piece.
qualify() {
    local name=$1 fewest=$2 passed
    shift 2
    if ! ipptool -tI -f "$files/document-a4.pdf" -d document-uri="http://$host/index.html" "$@" \
        "$uri" "$files/$name.test" >"$peer_dir/report" 2>&1; then
        echo "FAILED: $name"
        grep -A 20 -F '[FAIL]' "$peer_dir/report"
        failures=$((failures + 1))
        return
    fi
    passed=$(grep -cF '[PASS]' "$peer_dir/report")
    echo "$name: $passed passed"
    if grep -q 'cannot be read' "$peer_dir/report" || [ "$passed" -lt "$fewest" ]; then
        echo "FAILED: $name did not run as a whole"
        failures=$((failures + 1))
    fi
}

qualify ipp-1.1 50 -V 1.1
qualify ipp-1.1 50 -V 1.1 -L
qualify ipp-2.0 50 -V 2.0
qualify ipp-everywhere 80 -V 2.0
for name in get-printer-attributes get-printer-description-attributes get-printer-attributes-suite get-jobs get-completed-jobs \
    print-job print-job-and-wait print-job-media-col create-job create-job-format get-job-template-attributes \
    validate-job identify-printer identify-printer-display identify-printer-multiple; do
    qualify $name 1
done
[ "$failures" -eq 0 ]
