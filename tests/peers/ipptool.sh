# What ipptool reports of a running printer, in the library's words. Sourced, not run.

# leaves: from ipptool's property list, "ATTRIBUTE<tab>KIND<tab>VALUE" for each value that is no collection, in
# their order.
leaves() {
    awk '
        function inner(text) {
            sub(/^<[a-z]+>/, "", text); sub(/<\/[a-z]+>$/, "", text)
            gsub(/&lt;/, "<", text); gsub(/&gt;/, ">", text); gsub(/&quot;/, "\"", text); gsub(/&amp;/, "\\&", text)
            return text
        }
        function number(text, key) {
            sub(".*<key>" key "</key><(integer|string)>", "", text); sub(/<.*/, "", text)
            return text
        }
        function leaf(kind, value) { print name "\t" kind "\t" value }
        /<key>ResponseAttributes<\/key>/ { on = 1; next }
        !on { next }
        $0 == "<array>" || $0 == "<dict>" { ++level; next }
        $0 == "</array>" || $0 == "</dict>" { if (--level == 0) exit; next }
        /^<key>/ { if (level == 2) name = inner($0); next }
        /<key>lower</ { leaf("text", number($0, "lower") "-" number($0, "upper")); next }
        /<key>xres</ {
            x = number($0, "xres"); y = number($0, "yres")
            leaf("text", x (x == y ? "" : "x" y) number($0, "units")); next
        }
        /^<string>&lt;&lt;/ { next }  # an out-of-band value
        /^<(string|integer)>/ { leaf("text", inner($0)); next }
        /^<data>/ { leaf("data", inner($0)); next }
        /^<true/ { leaf("text", 1); next }
        /^<false/ { leaf("text", 0) }
    '
}

# answers: what the library should say, "ATTRIBUTE<tab>TEXT": values joined by commas, none at the end.
answers() {
    local name kind value last='' text=''
    while IFS= read -r line; do
        name=${line%%$'\t'*} line=${line#*$'\t'}
        kind=${line%%$'\t'*} value=${line#*$'\t'}
        [ "$kind" = data ] && value=$(base64 -d <<<"$value" | tr '=;' ',,')
        if [ "$name" = "$last" ]; then text+=",$value"; continue; fi
        [ -n "$last" ] && printf '%s\t%s\n' "$last" "$text"
        last=$name text=$value
    done
    printf '%s\t%s\n' "$last" "$text"
}

# report_attributes URI: every attribute that the printer has, as answers prints them. Of some, "all" does not remind it.
report_attributes() {
    cat >"$peer_dir/all.test" <<'TEST'
{
    OPERATION Get-Printer-Attributes
    GROUP operation-attributes-tag
    ATTR charset attributes-charset utf-8
    ATTR naturalLanguage attributes-natural-language en
    ATTR uri printer-uri $uri
    ATTR keyword requested-attributes all,media-col-database,printer-strings-uri
}
TEST
    ipptool -X "$1" "$peer_dir/all.test" >"$peer_dir/report" || { cat "$peer_dir/report" >&2; return 1; }
    leaves <"$peer_dir/report" | answers | sed -E 's/,+$//'
}
