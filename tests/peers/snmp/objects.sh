#!/usr/bin/env bash
# objects.sh FILE: answers snmpd's pass_persist requests from the objects of a file, which stand there in order. What
# is set is kept in memory.
declare -a names types values
declare -A index

while read -r name type value; do
    [[ $name == .* ]] || continue
    index[$name]=${#names[@]}
    names+=("$name")
    types+=("$type")
    values+=("$value")
done <"$1"

# is_after A B: whether A comes after B.
is_after() {
    local -a a b
    local i
    IFS=. read -ra a <<<"${1#.}"
    IFS=. read -ra b <<<"${2#.}"
    for ((i = 0; i < ${#a[@]} && i < ${#b[@]}; i++)); do
        ((a[i] == b[i])) || { ((a[i] > b[i])); return; }
    done
    ((${#a[@]} > ${#b[@]}))
}

# next_of NAME: leaves the number of the object that follows in $found.
next_of() {
    local low=0 high=${#names[@]} middle
    if [ -n "${index[$1]:-}" ]; then
        found=$((index[$1] + 1))
        return
    fi
    while ((low < high)); do
        middle=$(((low + high) / 2))
        if is_after "${names[middle]}" "$1"; then high=$middle; else low=$((middle + 1)); fi
    done
    found=$low
}

answer() {
    if [ -n "$1" ] && [ -n "${names[$1]:-}" ]; then
        printf '%s\n%s\n%s\n' "${names[$1]}" "${types[$1]}" "${values[$1]}"
    else
        echo NONE
    fi
}

while read -r command; do
    case $command in
    PING) echo PONG ;;
    get)
        read -r name
        answer "${index[$name]:-}"
        ;;
    getnext)
        read -r name
        next_of "$name"
        answer "$found"
        ;;
    set)
        read -r name
        read -r type value
        number=${index[$name]:-}
        if [ -z "$number" ]; then
            echo not-writable
        elif [ "$type" != "${types[number]}" ]; then
            echo wrong-type
        else
            value=${value#\"}
            values[number]=${value%\"}
            echo DONE
        fi
        ;;
    esac
done
