# What the transcripts of this folder say to the simulated printer that they started.

# ask PATH, tell PATH [TEXT]: GET and POST on the control port.
ask() { curl -s "http://$address:$control/sim/$1"; }
tell() { curl -s --data-binary "${2-}" "http://$address:$control/sim/$1"; }

# fetch PORT PATH [OPTION...]: a document of a port of the device.
fetch() {
    local real=port_$1 path=$2
    shift 2
    curl -s "$@" "http://$address:${!real}$path"
}

# snmp get|getnext|walk|bulkget|set ARG...: in version 2c unless said otherwise.
snmp() {
    local command=$1
    shift
    snmp"$command" -v2c -c public -On -Oq -Ln -t 10 -r 0 "$@"
}
agent() { printf '%s' "$address:$port_161"; }
