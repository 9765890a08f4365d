#!/usr/bin/env bash
# run.sh COMMAND...: corvixctl, run by the command given, against a real IPP printer, in the clear and over TLS. Exits
# with 77 where the printer is not installed.
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../lib.sh"
command -v ippeveprinter >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT
ctl=("$@")
failed=0

# run STATUS ARG...: leaves what corvixctl printed in out and err; its exit code must be STATUS.
run() {
    local wanted=$1 status=0
    shift
    "${ctl[@]}" "$@" >"$peer_dir/out" 2>"$peer_dir/err" </dev/null || status=$?
    [ "$status" -eq "$wanted" ] && return
    printf 'corvixctl %s: exit code %d, not %d\n' "$*" "$status" "$wanted"
    cat "$peer_dir/out" "$peer_dir/err"
    failed=1
}

# expect FILE PATTERN: one line of it matches.
expect() {
    grep -qE "$2" "$peer_dir/$1" && return
    printf 'not in what was printed: %s\n' "$2"
    cat "$peer_dir/out" "$peer_dir/err"
    failed=1
}

start_ippeveprinter "Büro 3" -m "Model 7" -l "Attic" || exit 1
plain=ipp://127.0.0.1:$peer_port/ipp/print secure=ipps://127.0.0.1:$peer_port/ipp/print
map=Z:$(cd "$here/../../.." && pwd)/maps/ipp-everywhere.xml

run 1 ipp --uri "$secure" printer-name
expect err 'self-signed.*--insecure'
printers=("--uri $plain" "--uri $secure --insecure" "--device localhost --port-map 631=$peer_port")
# Not every machine has IPv6.
if (exec 3<>"/dev/tcp/::1/$peer_port") 2>/dev/null; then
    printers+=("--uri ipp://[::1]:$peer_port/ipp/print" "--uri ipps://[::1]:$peer_port/ipp/print --insecure")
fi
for printer in "${printers[@]}"; do
    # shellcheck disable=SC2086
    run 0 ipp $printer printer-name printer-state media-col-default.media-size.x-dimension
    expect out '^printer-name +Büro 3$'
    expect out '^printer-state +3$'
    expect out '^media-col-default.media-size.x-dimension +[0-9]+$'
    run 0 info $printer
    expect out '^make and model +.*Model 7$'
    expect out '^state +idle$'
    expect out '^device ID MDL +Model 7$'
    expect out '^media types +.*stationery, '
    expect out '^Black Toner +toner +[0-9]+ %$'
    run 0 get $printer --map "$map" device.name device.location status.state media.ready supply.descriptions
    expect out '^device.location +Attic$'
    expect out '^status.state +idle$'
    run 1 get $printer --map "$map" counter.total
    expect out 'the printer does not have this attribute$'
done

run 1 ipp --uri "${plain}er" printer-name
expect err 'client-error-not-found'
run 3 ipp --uri ipp://127.0.0.1:1/ipp/print
expect err 'refused the connection'

# What was kept reads back alike, and cut anywhere it tells where.
run 0 ipp --uri "$plain" all media-col-database --save "Z:$peer_dir/kept"
mv "$peer_dir/out" "$peer_dir/live"
run 0 ipp --decode "Z:$peer_dir/kept"
diff "$peer_dir/live" "$peer_dir/out" || failed=1
head -c 5000 "$peer_dir/kept" >"$peer_dir/cut"
run 1 ipp --decode "Z:$peer_dir/cut"
expect err 'malformed at byte [0-9]+: '
diff <(head -n "$(wc -l <"$peer_dir/out")" "$peer_dir/live" | cut -d' ' -f1 | head -n -2) \
    <(cut -d' ' -f1 "$peer_dir/out" | head -n -2) || failed=1
exit $failed
