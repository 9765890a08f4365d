#!/usr/bin/env bash
# run.sh COMMAND...: runs the command beside a real IPP printer that keeps what it is sent. Its port is in
# CORVIX_IPP_PORT and the folder that it keeps documents in is CORVIX_SPOOL.
. "$(dirname "$0")/../lib.sh"
command -v ippeveprinter >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT
start_ippeveprinter "Kept" -k -c "$(type -P true)" || exit 1
CORVIX_IPP_PORT=$peer_port CORVIX_SPOOL=$peer_dir/spool "$@"
