# Shared by the scripts that use a real IPP printer: ippeveprinter of the distribution. Sourced, not run.
peer_dir=$(mktemp -d)
peer_pids=()

stop_peers() {
    local pid
    for pid in "${peer_pids[@]}"; do
        { kill "$pid" && wait "$pid"; } 2>/dev/null || true
    done
    rm -rf "$peer_dir"
}

# free_port: prints a TCP port that nobody listens on.
free_port() {
    local port
    while :; do
        port=$((20000 + RANDOM % 20000))
        (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || break
    done
    printf '%s\n' "$port"
}

# start_ippeveprinter NAME [OPTION...]: starts it on localhost and leaves its port in $peer_port. It will not start without a message bus, so it
# gets one of its own. Call stop_peers in the end.
start_ippeveprinter() {
    local name=$1 bus
    shift
    if [ ! -s "$peer_dir/bus" ]; then
        dbus-daemon --session --nofork --print-address=3 3>"$peer_dir/bus" >/dev/null 2>&1 &
        peer_pids+=($!)
        wait_until test -s "$peer_dir/bus" || return 1
    fi
    bus=$(cat "$peer_dir/bus")
    peer_port=$(free_port)
    mkdir -p "$peer_dir/spool" "$peer_dir/keys"
    case " $* " in
        *" -a "*) ;;
        *) set -- -f application/pdf,image/pwg-raster,image/jpeg "$@" ;;
    esac
    DBUS_SYSTEM_BUS_ADDRESS=$bus ippeveprinter -r off -n localhost -p "$peer_port" -d "$peer_dir/spool" \
        -K "$peer_dir/keys" "$@" "$name" \
        >"$peer_dir/printer.log" 2>&1 </dev/null &
    peer_pids+=($!)
    wait_until listens "$peer_port" || { cat "$peer_dir/printer.log" >&2; return 1; }
}

listens() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# wait_until COMMAND...: tries for half a minute.
wait_until() {
    local i
    for i in $(seq 300); do
        "$@" && return 0
        sleep 0.1
    done
    echo "waited in vain for: $*" >&2
    return 1
}
