#!/usr/bin/env bash
# compare_with_ipptool.sh BUILD_DIR PROGRAM: the attributes of a running printer as the library answers them and as
# ipptool reports them.
here=$(cd "$(dirname "$0")" && pwd)
. "$here/lib.sh"
. "$here/ipptool.sh"
build=$1 program=$2
command -v ippeveprinter >/dev/null && command -v ipptool >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT

start_ippeveprinter "Büro 1" || exit 1
report_attributes "ipp://localhost:$peer_port/ipp/print" >"$peer_dir/reported" || exit 1

# The printer calls itself what it was called, and the up time moves on between two requests.
sed "s/localhost:$peer_port/127.0.0.1:631/g" "$peer_dir/reported" | grep -v '^printer-up-time\b' >"$peer_dir/expected"
cut -f1 "$peer_dir/expected" >"$peer_dir/names"
"$here/../../cmake/wine-run" "$build/wineprefix" "$program" 127.0.0.1 "$peer_port" <"$peer_dir/names" \
    >"$peer_dir/answered"
status=$?
[ $status -eq 0 ] || exit $status
tr -d '\r' <"$peer_dir/answered" | diff -u "$peer_dir/expected" - || exit 1
echo "$(wc -l <"$peer_dir/expected") attributes are alike"
[ "$(wc -l <"$peer_dir/expected")" -gt 80 ]
