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

# envelope ACTION [HEADER [BODY]]: a SOAP request; transfer RESOURCE: one for WS-Transfer Get; post [OPTION...]: sends
# what it reads to the web services.
envelope() {
    printf '<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope" xmlns:a="urn:a"><s:Header>'
    printf '<a:Action>%s</a:Action><a:MessageID>urn:uuid:one&amp;two</a:MessageID>%s' "$1" "${2-}"
    printf '</s:Header><s:Body>%s</s:Body></s:Envelope>' "${3-}"
}
transfer() {
    envelope http://schemas.xmlsoap.org/ws/2004/09/transfer/Get "<h:ResourceURI xmlns:h='urn:h'>$1</h:ResourceURI>"
}
elements() { envelope http://schemas.microsoft.com/windows/2006/08/wdp/print/GetPrinterElements '' "$1"; }
post() { fetch 3910 / -H 'Content-Type: application/soap+xml' --data-binary @- "$@"; }

# raw TEXT: sends exactly this to the first HTTP service and shows the first line of what comes back.
raw() {
    exec 3<>"/dev/tcp/$address/$port_80"
    printf "$1" >&3
    head -1 <&3
}

# strike RULE PATH [OPTION...]: fetches a document while a fault rule is in force: status, length and curl's verdict.
strike() {
    local rule=$1 path=$2
    shift 2
    tell faults "$rule" >/dev/null
    fetch 80 "$path" -o document -w '%{http_code} ' "$@"
    printf '%s: %s\n' "$rule" "curl $?"
    tell faults/clear >/dev/null
}
