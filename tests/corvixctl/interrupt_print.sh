#!/usr/bin/env bash
# interrupt_print.sh CORVIXSIM CORVIXCTL [RUNNER...]: Ctrl-C while a job is followed, at a printer that lets it be
# canceled and at one that does not. Documents are sent one by one: no other test sees an event of that. And Ctrl-C
# while an SNMP agent is silent.
. "$(dirname "$0")/../peers/lib.sh"
trap stop_peers EXIT
sim=$1
ctl=$2
shift 2

# The simulator ends with its standard input, so nothing is left running however this script ends.
mkfifo "$peer_dir/stdin"
"$@" "$sim" --until-eof --port-base 0 --services ipp,snmp <"$peer_dir/stdin" >"$peer_dir/ready" 2>&1 &
peer_pids+=($!)
exec 3>"$peer_dir/stdin"
wait_until grep -q '^ready ' "$peer_dir/ready" || { cat "$peer_dir/ready"; exit 1; }
host=$(sed -nE 's/^ready .*address=([^ \r]+).*/\1/p' "$peer_dir/ready")
port=$(sed -nE 's/^ready .*[=,]631=([0-9]+).*/\1/p' "$peer_dir/ready")
control=$(sed -nE 's/^ready .*control=([0-9]+).*/\1/p' "$peer_dir/ready")
post() { exec 4<>"/dev/tcp/$host/$control" && printf 'POST %s HTTP/1.0\r\nContent-Length: %d\r\n\r\n%s' "$1" "${#2}" "$2" >&4 && cat <&4; }
post /sim/scenario $'job any\nafter 0 state processing\n' >/dev/null
printf 'a page' >"$peer_dir/page"

failures=0
# interrupt FAULT MESSAGE: interrupts a job that is being printed, at a printer with the fault.
interrupt() {
    local fault=$1 message=$2 run
    : >"$peer_dir/out"
    "${corvixctl[@]}" print --uri "ipp://$host:$port/ipp/print" --user ann --documents "Z:$peer_dir/page" \
        >"$peer_dir/out" 2>"$peer_dir/error" &
    run=$!
    wait_until grep -q processing "$peer_dir/out" || { cat "$peer_dir/error"; kill "$run"; exit 1; }
    [ -z "$fault" ] || post /sim/faults "$fault" >/dev/null
    end "$run" "$message"
}

# end RUN MESSAGE: interrupts a program, which has to say so.
end() {
    local run=$1 message=$2
    kill -INT "$run"
    wait "$run"
    if [ $? -ne 130 ] || ! grep -q "$message" "$peer_dir/error"; then
        echo "FAILED: not \"$message\":"
        cat "$peer_dir/error"
        failures=$((failures + 1))
    fi
}

corvixctl=("$@" "$ctl")
interrupt '' 'interrupted: job 1 canceled'
interrupt 'operation=Get-Printer-Attributes times=9 status=500' 'could not be canceled: .*HTTP 500'

agent=$(sed -nE 's|^ready .*161/udp=([0-9]+).*|\1|p' "$peer_dir/ready")
post /sim/faults 'operation=set drop' >/dev/null
cat >"$peer_dir/set.xml" <<'MAP'
<DataMaps><OIDDataMap><DataItem Name="Number" OID="1.3.6.1.4.1.32473.1.3.0"/></OIDDataMap></DataMaps>
MAP
counters() { exec 4<>"/dev/tcp/$host/$control" && printf 'GET /sim/counters HTTP/1.0\r\n\r\n' >&4 && cat <&4; }
was_asked() { counters | grep -q '"set"'; }
"${corvixctl[@]}" set --device "$host" --port-map "161/udp=$agent" --community private --timeout 60 \
    --map "Z:$peer_dir/set.xml" 5 >"$peer_dir/out" 2>"$peer_dir/error" &
run=$!
wait_until was_asked || { cat "$peer_dir/error"; kill "$run"; exit 1; }
end "$run" 'corvixctl: interrupted'
[ "$failures" -eq 0 ]
