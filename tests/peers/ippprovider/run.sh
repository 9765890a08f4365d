#!/usr/bin/env bash
# run.sh PROGRAM [ARG...]: runs the tests against a real IPP printer whose attributes were loaded from a file. Its port,
# its strings file and, in a file, what ipptool reports of it come in the environment. Exits with 77 where the printer is
# not installed.
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../lib.sh"
. "$here/../ipptool.sh"
command -v ippeveprinter >/dev/null && command -v ipptool >/dev/null && command -v dbus-daemon >/dev/null || exit 77
trap stop_peers EXIT

# A strings file of five megabytes: the tests' own lines and many others.
{
    cat "$here/printer.strings"
    awk 'BEGIN { for (i = 1; i <= 95000; ++i) printf "\"filling.%d\" = \"Much ado about item number %d\";\n", i, i }'
} >"$peer_dir/strings"
start_ippeveprinter "Büro 2" -a "$here/printer.conf" -S "$peer_dir/strings" -l "Attic, 2nd floor" || exit 1
report_attributes "ipp://localhost:$peer_port/ipp/print" >"$peer_dir/attributes" || exit 1
CORVIX_IPP_PORT=$peer_port

# Another printer, whose attributes take eight megabytes.
{
    printf 'ATTR text printer-make-and-model "Large"\nATTR keyword media-supported "first"'
    awk 'BEGIN { filling = sprintf("%230s", ""); gsub(" ", "x", filling)
                 for (i = 1; i <= 35000; ++i) printf ",\"%s-%d\"", filling, i }'
    echo
} >"$peer_dir/large.conf"
start_ippeveprinter "Large" -a "$peer_dir/large.conf" || exit 1
CORVIX_IPP_LARGE_PORT=$peer_port

CORVIX_IPP_ATTRIBUTES=Z:$peer_dir/attributes
CORVIX_IPP_STRINGS=Z:$peer_dir/strings
export CORVIX_IPP_PORT CORVIX_IPP_LARGE_PORT CORVIX_IPP_ATTRIBUTES CORVIX_IPP_STRINGS
"$@"
