# Shared by the scripts that use a real SNMP agent: net-snmp's snmpd as a printer. Sourced, not run.
snmp_dir=$(mktemp -d)
snmp_host=127.0.0.9
snmp_pid=
# Neither the machine's settings nor its MIB files have a say.
export MIBS= MIBDIRS="$snmp_dir" SNMPCONFPATH="$snmp_dir" SNMP_PERSISTENT_DIR="$snmp_dir/state"

snmp_here=$(cd "$(dirname "${BASH_SOURCE[0]}")/snmp" && pwd)

stop_snmpd() {
    [ -n "$snmp_pid" ] && kill "$snmp_pid" 2>/dev/null && wait "$snmp_pid" 2>/dev/null
    rm -rf "$snmp_dir"
}

# start_snmpd: leaves its port in $snmp_port. Call stop_snmpd in the end.
start_snmpd() {
    local attempt
    sed -e "s|@HERE@|$snmp_here|" -e "s|@OBJECTS@|$snmp_here/objects.txt|" "$snmp_here/snmpd.conf" >"$snmp_dir/snmpd.conf"
    for attempt in 1 2 3 4 5; do
        snmp_port=$((20000 + RANDOM % 20000))
        snmpd -f -Lo -C -c "$snmp_dir/snmpd.conf" -I -hr_device,hr_print \
            -p "$snmp_dir/pid" "udp:$snmp_host:$snmp_port" >"$snmp_dir/log" 2>&1 </dev/null &
        snmp_pid=$!
        answers_soon && return 0
        kill "$snmp_pid" 2>/dev/null
        wait "$snmp_pid" 2>/dev/null
    done
    cat "$snmp_dir/log" >&2
    echo "snmpd does not start" >&2
    return 1
}

answers_soon() {
    local i
    for i in $(seq 50); do
        kill -0 "$snmp_pid" 2>/dev/null || return 1
        snmp get 1.3.6.1.2.1.43.5.1.1.17.1 2>/dev/null | grep -q . && return 0
    done
    return 1
}

# snmp get|walk|... ARGUMENT...: one of net-snmp's tools, with numbers for names and octets in hexadecimal.
snmp() {
    local tool=$1
    shift
    "snmp$tool" -v 2c -c "${snmp_community:-public}" -t 1 -r 5 -On -Oe -Ot -OU -Ox "$snmp_host:$snmp_port" "$@"
}
