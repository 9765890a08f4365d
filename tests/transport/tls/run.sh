#!/bin/sh
# Runs the TLS tests against servers of openssl(1), with certificates made for the occasion.
# run.sh PROGRAM [ARG...]
set -u
folder=$(mktemp -d)
host=127.0.0.1
pids=
cleanup() {
    for pid in $pids; do kill "$pid" 2>/dev/null; done
    wait 2>/dev/null
    rm -rf "$folder"
}
trap cleanup EXIT
trap 'exit 1' INT TERM
cd "$folder" || exit 1

# make_certificate NAME DAYS [OPTION...]: a key and a certificate for the host name "localhost" alone.
make_certificate() {
    name=$1 days=$2
    shift 2
    openssl req -new -newkey rsa:2048 -nodes -keyout "$name.key" -subj "/CN=localhost" -out "$name.csr" 2>/dev/null
    printf 'subjectAltName=DNS:localhost\n' >"$name.ext"
    openssl x509 -req -in "$name.csr" -days "$days" -extfile "$name.ext" "$@" -out "$name.pem" 2>/dev/null
}

# wait_for_port FILE: the port that a server on a port of the system's choice has announced in its output.
wait_for_port() {
    for _ in $(seq 100); do
        port=$(sed -nE 's/^ACCEPT .*:([0-9]+)$/\1/p' "$1" 2>/dev/null | head -1)
        [ -n "$port" ] && { echo "$port"; return; }
        sleep 0.1
    done
    echo "a server did not start: $(cat "$1")" >&2
    exit 1
}

serve() {
    name=$1
    shift
    openssl s_server -accept $host:0 -key "$name.key" -cert "$name.pem" "$@" >"$name.log" 2>&1 </dev/null &
    pids="$pids $!"
}

openssl req -x509 -newkey rsa:2048 -nodes -keyout authority.key -subj "/CN=corvix test authority" -days 30 \
    -addext basicConstraints=critical,CA:TRUE -out authority.pem 2>/dev/null || exit 1
openssl x509 -in authority.pem -outform DER -out authority.der
make_certificate self 30 -signkey self.key
make_certificate trusted 30 -CA authority.pem -CAkey authority.key -CAcreateserial
make_certificate expired -1 -CA authority.pem -CAkey authority.key -CAcreateserial

# A complete response of 300,000 bytes, which "-HTTP" sends as it stands.
{ printf 'HTTP/1.1 200 OK\r\nContent-Length: 300000\r\n\r\n'; head -c 300000 /dev/zero; } >answer
serve self -HTTP
serve trusted -HTTP
serve expired -HTTP

# A server that answers at once and keeps what it is sent. Its input stays open as long as the test runs. It
# does not tell its port, so it is given one.
mkfifo sink.in
# is_listening PORT: whether somebody does, on the host's address.
is_listening() { grep -qi ":$(printf '%04X' "$1") 00000000:0000 0A" /proc/net/tcp; }

for sink_port in $(seq 20011 97 30000); do
    is_listening "$sink_port" && continue
    openssl s_server -accept $host:"$sink_port" -key self.key -cert self.pem -quiet <sink.in >sink.out 2>sink.log &
    sink=$!
    exec 3>sink.in
    while kill -0 $sink 2>/dev/null && ! is_listening "$sink_port"; do sleep 0.1; done
    kill -0 $sink 2>/dev/null && break
    exec 3>&-
done
pids="$pids $sink"
printf 'HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok' >&3

CORVIX_TLS_AUTHORITY="Z:$folder/authority.der" CORVIX_TLS_EXPECTED="Z:$folder/expected"
CORVIX_TLS_SELF_SIGNED=$(wait_for_port self.log) CORVIX_TLS_TRUSTED=$(wait_for_port trusted.log)
CORVIX_TLS_EXPIRED=$(wait_for_port expired.log) CORVIX_TLS_SINK=$sink_port
export CORVIX_TLS_AUTHORITY CORVIX_TLS_EXPECTED CORVIX_TLS_SELF_SIGNED CORVIX_TLS_TRUSTED CORVIX_TLS_EXPIRED \
    CORVIX_TLS_SINK
"$@" 3>&- || exit 1

# What the server got is the head of the request and then the body, to the byte.
[ -s expected ] || exit 0
tail -c "$(wc -c <expected)" sink.out | cmp - expected
