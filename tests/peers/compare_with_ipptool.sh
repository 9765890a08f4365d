#!/usr/bin/env bash
# compare_with_ipptool.sh BUILD_DIR PROGRAM: the attributes of a running printer as the library answers them and as
# ipptool reports them.
here=$(cd "$(dirname "$0")" && pwd)
. "$here/lib.sh"
. "$here/ipptool.sh"
build=$1 program=$2
command -v ippeveprinter >/dev/null && command -v ipptool >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT

start_ippeveprinter "Büro 1" -a "$here/printer.conf" -l "Attic, 2nd floor" || exit 1
report_attributes "ipp://localhost:$peer_port/ipp/print" >"$peer_dir/reported" || exit 1

# The printer calls itself what it was called, and the up time moves on between two requests.
sed "s/localhost:$peer_port/127.0.0.1:631/g" "$peer_dir/reported" | grep -v '^printer-up-time\b' >"$peer_dir/expected"
cut -f1 "$peer_dir/expected" >"$peer_dir/names"
for uri in ipp://127.0.0.1/ipp/print ipps://127.0.0.1/ipp/print; do
    "$here/../../cmake/wine-run" "$build/wineprefix" "$program" "$uri" "$peer_port" <"$peer_dir/names" \
        >"$peer_dir/answered"
    status=$?
    [ $status -eq 0 ] || exit $status
    tr -d '\r' <"$peer_dir/answered" | diff -u "$peer_dir/expected" - || exit 1
done
echo "$(wc -l <"$peer_dir/expected") attributes are alike"
[ "$(wc -l <"$peer_dir/expected")" -gt 80 ]
