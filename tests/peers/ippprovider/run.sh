#!/usr/bin/env bash
# run.sh PROGRAM [ARG...]: runs the tests against a real IPP printer whose attributes were loaded from a file. Its port
# and, in a file, what ipptool reports of it come in the environment. Exits with 77 where the printer is not installed.
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../lib.sh"
. "$here/../ipptool.sh"
command -v ippeveprinter >/dev/null && command -v ipptool >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT

start_ippeveprinter "Büro 2" -a "$here/printer.conf" -S "$here/printer.strings" -l "Attic, 2nd floor" || exit 1
report_attributes "ipp://localhost:$peer_port/ipp/print" >"$peer_dir/attributes" || exit 1
CORVIX_IPP_PORT=$peer_port CORVIX_IPP_ATTRIBUTES=Z:$peer_dir/attributes "$@"
