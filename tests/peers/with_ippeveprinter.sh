#!/usr/bin/env bash
# with_ippeveprinter.sh COMMAND...: runs the command while a real IPP printer runs, its port in CORVIX_IPP_PORT.
# Exits with 77, which ctest takes as skipped, where the printer is not installed.
. "$(dirname "$0")/lib.sh"
command -v ippeveprinter >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT
start_ippeveprinter "Büro 1" -c "$(type -P true)" || exit 1
CORVIX_IPP_PORT=$peer_port "$@"
