# What the transcripts of this folder say besides the commands that they show.

# ask COMMAND, tell COMMAND [TEXT]: GET and POST on the control port of the simulated printer.
ask() { curl -sS "http://$address:$control/sim/$1"; }
tell() { curl -sS --data-binary "${2-}" "http://$address:$control/sim/$1" >/dev/null; }

# count NAME: how often the simulated printer was asked for an operation or a path, or in "total".
count() { ask counters | sed -E "s|.*\"$1\":([0-9]+).*|\1|; t; s|.*|0|"; }

# at device|PATH COMMAND ARG...: corvixctl at the simulated printer, by its host and ports or by a URI with that path.
at() {
    local to=(--device "$address" --port-map "$port_map")
    [ "$1" = device ] || to=(--uri "ipp://$address:$port_631$1" --user ada)
    corvixctl "$2" "${to[@]}" --timeout "${patience:-20}" "${@:3}"
}

# each CODE WORD...: runs corvixctl with the words and those of each line of the input; every run ends with that code.
each() {
    local line code
    while IFS= read -r line; do
        eval "corvixctl ${*:2} $line" && code=0 || code=$?
        [ $code -eq "$1" ] || echo "exit $code: $line"
    done
}

# Every run of a transcript has a registry cache of its own.
cache="Software\\CorvixTests\\$control"

# await COMMAND...: tries for a minute until it succeeds.
await() {
    local i
    for i in {1..600}; do
        "$@" && return
        sleep 0.1
    done
    echo "waited in vain: $*"
}

# What is waited for: that a job is there, that an operation came as often as that.
has_job() { ask jobs | grep -q "\"id\":$1,"; }
came() { [ "$(count "$1")" -ge "$2" ]; }

# print ARG...: corvixctl print at the simulated printer.
print() { at /ipp/print print "$@"; }
