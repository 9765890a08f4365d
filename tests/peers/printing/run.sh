#!/usr/bin/env bash
# run.sh COMMAND...: runs the command beside a real IPP printer that keeps what it is sent. Its port is in
# CORVIX_IPP_PORT and the folder that it keeps documents in is CORVIX_SPOOL; while the file CORVIX_HOLD exists, its
# jobs do not come to an end.
. "$(dirname "$0")/../lib.sh"
command -v ippeveprinter >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT
hold=$peer_dir/hold
printf '#!/bin/sh\nwhile [ -e %q ]; do sleep 0.02; done\n' "$hold" >"$peer_dir/print"
chmod +x "$peer_dir/print"
start_ippeveprinter "Held" -k -c "$peer_dir/print" || exit 1
CORVIX_IPP_PORT=$peer_port CORVIX_SPOOL=$peer_dir/spool CORVIX_HOLD=$hold "$@"
