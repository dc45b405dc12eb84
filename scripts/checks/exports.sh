# The exports and their documentation. Sourced by checks/all.sh.

exports_file=SERVICES/Library/exports.txt

exported_names() { sed 's/#.*//' "$exports_file" | awk 'NF { print $1 }' | LC_ALL=C sort -u; }

# "NAME DOCUMENTED FILE:LINE" for each function that a public header declares as exported. DOCUMENTED is 1 when the lines
# directly above the declaration are a comment that says something.
declared_exports() {
    our_sources include | xargs -r awk '
        FNR == 1 { inside = 0; said = 0 }
        inside || /^[ \t]*\/\*/ {
            if (!inside) text = ""
            text = text " " $0
            inside = !/\*\//
            said = !inside && Says(text)
            next
        }
        /^[ \t]*\/\// { said = Says($0); next }
        !/^[ \t]*#/ && /(^|[^A-Za-z0-9_])VELMORA_API[ \t]/ {
            name = $0
            sub(/[ \t]*\(.*/, "", name)
            sub(/.*[^A-Za-z0-9_]/, "", name)
            print name, said + 0, FILENAME ":" FNR
        }
        { said = 0 }
        function Says(comment) { return comment ~ /[A-Za-z]+[^A-Za-z]+[A-Za-z]/ }'
}

undocumented_exports() {
    local declared
    declared=$(declared_exports)
    awk '$2 == 0 { print $3 ": " $1 " has no comment directly above it" }' <<<"$declared"
    exported_names | grep -vxF -f <(awk 'NF { print $1 }' <<<"$declared") | sed "s|\$|: in $exports_file, and no public header declares it|" || true
    awk 'NF { print $1 " " $3 }' <<<"$declared" | while read -r name place; do
        exported_names | grep -qxF "$name" || say "$place: $name is not in $exports_file"
    done
}
