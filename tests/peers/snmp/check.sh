#!/usr/bin/env bash
# check.sh COMMAND...: reads net-snmp's agent with corvixctl, run by the command given, and compares every value of the
# ready-made map with what net-snmp's own tools read. Then reads an item whose read is acknowledged by a write.
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
. "$here/../snmpd.sh"
trap stop_snmpd EXIT
start_snmpd || exit 1
failed=
fail() { echo "FAILED: $*"; failed=1; }
get() { "$@" --device "$snmp_host" --port-map "161/udp=$snmp_port" --timeout 5 --format json; }

# Everything that the map reads lies in these subtrees.
for subtree in 1.3.6.1.2.1.1 1.3.6.1.2.1.2.2.1.6 1.3.6.1.2.1.25.3 1.3.6.1.2.1.43 1.3.6.1.4.1.2699; do
    snmp walk "$subtree"
done >"$snmp_dir/walked" || fail "snmpwalk"

for version in 1 2c; do
    get "$@" get --map "Z:$root/maps/printer-mib.xml" --snmp-version $version >"$snmp_dir/got"
    python3 "$here/compare.py" "$root/maps/printer-mib.xml" "$snmp_dir/walked" "$snmp_dir/got" ||
        fail "values with version $version"
done

trigger=1.3.6.1.4.1.32473.1.3.0
printf '<DataMaps><OIDDataMap><DataItem Name="item" OID="1.3.6.1.2.1.43.5.1.1.17.1;%s"/></OIDDataMap></DataMaps>' \
    $trigger >"$snmp_dir/map.xml"
[ "$(snmp get $trigger)" = ".$trigger = INTEGER: 0" ] || fail "the trigger is not at rest"
get "$@" get --map "Z:$snmp_dir/map.xml" --community private | grep -q CX4300-0815 || fail "the item with a trigger"
[ "$(snmp get $trigger)" = ".$trigger = INTEGER: 1" ] || fail "the write did not arrive"
[ -z "$failed" ]
