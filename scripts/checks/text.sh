# Checks of the text itself: format, words that have no place here, tests that are switched off or missing. Sourced by
# checks/all.sh.

unformatted() {
    our_sources "${all_source_directories[@]}" | xargs -r clang-format --dry-run -Werror 2>&1 |
        sed -n 's/^\(.*\):[0-9]*:[0-9]*: error: .*/\1/p' | LC_ALL=C sort -u
}

# The words are split here so that this file does not find itself.
unwanted_words() {
    find . \( -path ./build -o -path ./.git -o -path ./examples/mail -o -path ./fuzz/corpus \) -prune -o -type f -print0 |
        xargs -0 grep -InE -e 'spec''ification' -e 'spec''\.md' -e 'as spec''ified' -e '\bPart [0-9]+\.[0-9]' \
            -e '\b(TO''DO|FIX''ME|XX''X)\b' -e '(^|[^A-Za-z0-9_.])/(wo''rk|ro''ot)/' || true
}

disabled_tests() { our_sources tests | xargs -r grep -HnE 'DISABLED_|GTEST_SKIP\(\);' || true; }

# A decision without its test is a promise that nobody keeps.
missing_decision_tests() {
    local suite name
    # Every name in the last column.
    sed -n 's/.*|\([^|]*\)|[[:space:]]*$/\1/p' docs/decisions.md | { grep -oE '`[A-Za-z0-9_]+\.[A-Za-z0-9_]+`' || true; } | tr -d '`' |
        LC_ALL=C sort -u | while IFS=. read -r suite name; do
        grep -rqE "^TEST(_F|_P)?\($suite, *$name\)" tests || say "$suite.$name"
    done
}

shell_syntax() {
    local file
    find scripts .ci -type f | LC_ALL=C sort | while read -r file; do
        case $(head -c 2 "$file") in
            '#!' | '# ') bash -n "$file" 2>&1 || true ;;
        esac
    done
}
