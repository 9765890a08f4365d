. "$source/tests/corvixctl/commands.sh"
plain=ipp://127.0.0.1:$port/ipp/print
secure=ipps://127.0.0.1:$port/ipp/print

# lists TEXT: whether it is in a printer's list of jobs that have not ended.
lists() { corvixctl jobs --uri $plain --format csv | grep -q "$1"; }
