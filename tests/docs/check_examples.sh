#!/usr/bin/env bash
# check_examples.sh ROOT: in the documentation a line "<!-- example: PATH -->" stands before a fenced block that
# shows a source of ours. Here every such block is compared with its file, so that what is shown is what compiles.
set -euo pipefail
cd "$1"
failed=0
checked=0

# The content of the first fenced block after line $2 of file $1.
block_after() {
    awk -v start="$2" 'NR <= start { next }
        /^```/ { if (inside) exit; inside = 1; next }
        inside { print }' "$1"
}

while IFS=: read -r page line marker; do
    example=$(sed -nE 's/.*<!-- example: ([^ ]+) -->.*/\1/p' <<<"$marker")
    checked=$((checked + 1))
    if [ ! -f "$example" ]; then
        echo "$page:$line: there is no $example" >&2
        failed=1
    elif ! diff -u --label "$page:$line" --label "$example" <(block_after "$page" "$line") "$example" >&2; then
        failed=1
    fi
done < <(grep -n -r --include='*.md' --exclude-dir=build --exclude-dir=.git -e '<!-- example: ' . | sed 's|^\./||')

[ "$checked" -gt 0 ] || { echo "no example is shown anywhere" >&2; exit 1; }
exit "$failed"
