#!/usr/bin/env bash
# run.sh COMMAND...: reads a real IPP printer, whose attributes were loaded from a file, by the ready-made map with
# corvixctl, run by the command given, in the clear and over TLS, and compares every value with what ipptool reports.
# Exits with 77 where the printer is not installed.
here=$(cd "$(dirname "$0")" && pwd)
map=$(cd "$here/../../.." && pwd)/maps/ipp-everywhere.xml
. "$here/../lib.sh"
. "$here/../ipptool.sh"
command -v ippeveprinter >/dev/null && command -v ipptool >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT
start_ippeveprinter "Büro 2" -a "$here/../printer.conf" -l "Attic, 2nd floor" || exit 1
report_attributes "ipp://localhost:$peer_port/ipp/print" >"$peer_dir/reported" || exit 1
sed -i "s/localhost:$peer_port/127.0.0.1:631/g" "$peer_dir/reported"
failed=
for way in "--uri ipp://127.0.0.1:$peer_port/ipp/print" "--uri ipps://127.0.0.1:$peer_port/ipp/print --insecure"; do
    # shellcheck disable=SC2086  # options
    "$@" get $way --map "Z:$map" --format json >"$peer_dir/got"
    python3 "$here/compare.py" "$map" "$peer_dir/reported" "$peer_dir/got" || failed=1
done
[ -z "$failed" ]
