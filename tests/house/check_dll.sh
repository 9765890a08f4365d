#!/bin/sh
# The DLL as others see it: its flat exports are those of the golden list, it imports system DLLs only, and it
# carries a version resource.
# check_dll.sh DLL OBJDUMP GOLDEN_LIST
dll=$1 objdump=$2 golden=$3
bad=0

exports=$("$objdump" -p "$dll" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | grep -oE '[A-Za-z_][A-Za-z0-9_@?$.]*$' |
    grep -vE '^(_Z|\?|Table$)' | LC_ALL=C sort)
if ! printf '%s\n' "$exports" | diff -u "$golden" -; then
    echo "the exported flat functions differ from $golden"
    bad=1
fi

system='kernel32|msvcrt|ucrtbase|api-ms-win-[a-z0-9-]+|advapi32|ole32|oleaut32|rpcrt4|shlwapi|user32|winspool\.drv|wininet|ws2_32|version|ntdll'
others=$("$objdump" -p "$dll" | sed -n 's/^\s*DLL Name: //p' | grep -viE "^($system)(\.dll)?$")
if [ -n "$others" ]; then
    echo "imports that are no system DLLs: $others"
    bad=1
fi

"$objdump" -h "$dll" | grep -q '\.rsrc' || { echo "no resources"; bad=1; }
exit $bad
