#!/usr/bin/env bash
# print_with_corvixctl.sh COMMAND...: COMMAND runs corvixctl. Run by run.sh, beside a real printer.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
uri=ipp://127.0.0.1:$CORVIX_IPP_PORT/ipp/print
failures=0

fail() { echo "FAILED: $*"; failures=$((failures + 1)); }
same() { [ "$2" = "$3" ] || fail "$1: expected '$3', got '$2'"; }
# start NAME COMMAND ARGUMENT...: corvixctl, in $! until it ends, its outputs in $scratch/NAME and NAME.error.
start() {
    local name=$1 command=$2
    shift 2
    "${corvixctl[@]}" "$command" --uri "$uri" --user ann "$@" >"$scratch/$name" 2>"$scratch/$name.error" &
}
ctl() { start "$@" && wait $!; }
# states NAME: what a run said of its job, a line each, without the job's number.
states() { tr -d '\r' <"$scratch/$1" | sed -E 's/^job [0-9]+ //'; }
lists() { ctl list jobs --format csv && grep -q "$1" "$scratch/list"; }
unlists() { ! lists "$1"; }
wait_for() {
    local i
    for i in $(seq 300); do "$@" && return 0; sleep 0.1; done
    fail "waited in vain for: $*"
}

corvixctl=("$@")
{ printf '%%PDF-1.4\n'; head -c 700000 /dev/urandom; printf '\n%%%%EOF\n'; } >"$scratch/report.pdf"
document=Z:$scratch/report.pdf

for way in --stream --documents; do
    touch "$scratch/before"
    ctl "print$way" print "$way" --copies 2 --quality high --orientation landscape "$document"
    same "$way ends with" $? 0
    same "$way ends as" "$(states "print$way" | tail -1)" "completed (job-completed-successfully)"
    stored=$(find "$CORVIX_SPOOL" -type f -newer "$scratch/before" -size +600k)
    cmp -s "$stored" "$scratch/report.pdf" || fail "$way: $stored is not what was sent"
done

# This printer takes one document a job, and is not given a part of two.
ctl two print --documents "$document" "$document"
same "two documents end with" $? 5
ctl all jobs --all --format csv
same "jobs so far" "$(grep -c completed "$scratch/all")" 2

# Over TLS, with the certificate that the printer made for itself.
uri=ipps://127.0.0.1:$CORVIX_IPP_PORT/ipp/print
ctl trusted print --insecure "$document"
same "over TLS it ends with" $? 0
ctl untrusted print "$document"
same "without trust it ends with" $? 1
uri=ipp://127.0.0.1:$CORVIX_IPP_PORT/ipp/print

# On a terminal a bar shows how far it is.
command=$(printf '%q ' "${corvixctl[@]}" print --uri "$uri" --user ann "$document")
script -qec "$command" "$scratch/terminal" </dev/null >/dev/null
same "on a terminal it ends with" $? 0
grep -qF '[####################] 100%' "$scratch/terminal" || fail "no bar: $(cat -v "$scratch/terminal")"

# A job that is being printed keeps the printer busy, and ends with Ctrl-C.
touch "$CORVIX_HOLD"
start held print --job-name held "$document"
held=$!
wait_for lists ',held,'
ctl second print "$document"
same "a second job ends with" $? 5
grep -q server-error-busy "$scratch/second.error" || fail "the second job: $(cat "$scratch/second.error")"
wait_for grep -q processing "$scratch/held"
kill -INT "$held"
wait "$held"
same "an interrupted job ends with" $? 130
grep -q 'interrupted: job [0-9]* canceled' "$scratch/held.error" || fail "interrupted: $(cat "$scratch/held.error")"
rm "$CORVIX_HOLD"
wait_for unlists ',held,'
ctl all jobs --all
grep -q ' canceled .* held ' "$scratch/all" || fail "not canceled: $(cat "$scratch/all")"

# Cancelled by somebody else.
touch "$CORVIX_HOLD"
start other print --job-name other "$document"
other=$!
wait_for lists ',other,'
ctl cancel cancel "$(grep ',other,' "$scratch/list" | cut -d, -f1)"
same "cancel ends with" $? 0
rm "$CORVIX_HOLD"
wait "$other"
same "a canceled job ends with" $? 7
same "a canceled job ends as" "$(states other | tail -1 | cut -d' ' -f1)" canceled

[ "$failures" -eq 0 ]
