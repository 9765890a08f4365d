#!/usr/bin/env bash
# check.sh BUILD_DIR: reads net-snmp's agent through the library and the reference transport, and compares every value of
# the ready-made map with what net-snmp's own tools read. Then sets an object.
build=$1
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
. "$here/../snmpd.sh"
trap stop_snmpd EXIT
start_snmpd || exit 1

peer() { "$root/cmake/wine-run" "$build/wineprefix" "$build/bin/snmppeer.exe" "$@"; }
fail() { echo "FAILED: $*"; failed=1; }
failed=

# Everything that the map reads lies in these subtrees.
for subtree in 1.3.6.1.2.1.1 1.3.6.1.2.1.2.2.1.6 1.3.6.1.2.1.25.3 1.3.6.1.2.1.43 1.3.6.1.4.1.2699; do
    snmp walk "$subtree"
done >"$snmp_dir/expected" || fail "snmpwalk"

for version in 1 2c; do
    peer values "$snmp_host" "$snmp_port" "$version" "$root/maps/printer-mib.xml" "$snmp_dir/expected" ||
        fail "values with version $version"
done

trigger=1.3.6.1.4.1.32473.1.3.0
[ "$(snmp get $trigger)" = ".$trigger = INTEGER: 0" ] || fail "the trigger is not at rest"
peer trigger "$snmp_host" "$snmp_port" 1.3.6.1.2.1.43.5.1.1.17.1 $trigger || fail "the trigger write"
[ "$(snmp get $trigger)" = ".$trigger = INTEGER: 1" ] || fail "the write did not arrive"
[ -z "$failed" ]
