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

# snmp get|getnext|walk|bulkget|bulkwalk|set [-OPTION...] ARG...: asks the agent, in version 2c unless an option differs.
snmp() {
    local command=snmp$1 options=(-v2c -cpublic -On -Oq -Ln -t10 -r0)
    shift
    while [[ $1 == -* ]]; do
        options+=("$1")
        shift
    done
    "$command" "${options[@]}" "$address:$port_161" "$@"
}

# A request for the name of the system, byte for byte, and its answer.
request='\x30\x26\x02\x01\x01\x04\x06\x70\x75\x62\x6c\x69\x63\xa0\x19\x02\x01\x4d\x02\x01\x00\x02\x01\x00\x30\x0e\x30\x0c'
request+='\x06\x08\x2b\x06\x01\x02\x01\x01\x05\x00\x05\x00'

# datagram TEXT...: sends each to the agent and shows in hexadecimal digits what comes back: $count answers (1), or what
# comes within $patience seconds.
datagram() {
    local text
    exec 3<>"/dev/udp/$address/$port_161"
    for text; do printf "$text" >&3; done
    timeout "${patience-20}" dd bs=65536 "count=${count-1}" status=none <&3 | od -An -v -w65536 -tx1 | tr -d ' '
}

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

# ipp OPERATION [LINE...]: an IPP request by ipptool, with these lines of its language and the file $document (or
# "text") if one of them is FILE $filename, for $user; shows the status and the attributes. job ID [PATTERN]: what a job tells in its
# state and reasons, or in attributes by another pattern.
ipp() {
    local operation=$1
    shift
    printf '%s\n' '{' "OPERATION $operation" 'GROUP operation-attributes-tag' 'ATTR charset attributes-charset utf-8' \
        "ATTR naturalLanguage attributes-natural-language ${language-en}" 'ATTR uri printer-uri $uri' \
        "ATTR name requesting-user-name ${user-tester}" "$@" '}' >request.test
    send request.test
}
send() {
    ipptool -tv -f "${document-text}" "ipp://$address:$port_631/ipp/print" "$1" 2>&1 | grep -A1000 -E 'status-code|RECEIVED.*HTTP|ipptool:' |
        grep -vE '(attributes-charset|attributes-natural-language|status-message) \(|RECEIVED: ' |
        sed 's/^ *//; s/status-code = \([^ ]*\) (\1)/\1/; s/status-code = //'
}

job() {
    ipp Get-Job-Attributes "ATTR integer job-id $1" | grep -E "${2-^job-state(-reasons)? }" | sed 's/.* = //' | paste -sd ' '
}

# field TAG NAME VALUE: an attribute as it travels; raw_ipp: posts what it reads, and shows version and status.
sized() { printf "\\x00\\x$(printf %02x ${#1})%s" "$1"; }
field() { printf "\\x$1" && sized "$2" && sized "$3"; }
raw_ipp() { fetch 631 /ipp/print -H 'Content-Type: application/ipp' --data-binary @- | od -An -tx1 -N4; }
