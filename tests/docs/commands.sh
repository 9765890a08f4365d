# The documentation speaks of the printer 192.0.2.7; here it is a simulated one.
corvixctl() {
    local ports=()
    [[ $* == *192.0.2.7* ]] && ports=(--port-map "$port_map")
    command corvixctl "${@//192.0.2.7/$address}" "${ports[@]}" | sed "s/$address/192.0.2.7/"
}
