# All static checks under their titles. Sourced by scripts/check and by its self-test, which runs it on trees of its own:
# `root` and the working directory say which tree is looked at.

. "$(dirname "${BASH_SOURCE[0]}")/layout.sh"
. "$(dirname "${BASH_SOURCE[0]}")/exports.sh"
. "$(dirname "${BASH_SOURCE[0]}")/text.sh"

# Reports what a check prints, if anything, as faults under its title.
report() {
    local title=$1 lines
    shift
    lines=$("$@")
    if [ -z "$lines" ]; then
        say "ok    $title"
    else
        faults=1
        say "FAULT $title"
        printf '%s\n' "$lines" | sed 's/^/      /'
    fi
}

# 1 when there is any fault.
run_checks() {
    faults=0
    report "sources are formatted" unformatted
    report "includes run downwards" forbidden_includes
    report "no platform names above the platform" platform_names
    report "tests for one system say so in their names" system_names_in_tests
    report "every source is built" unbuilt_sources
    report "every export is documented" undocumented_exports
    report "no unwanted words" unwanted_words
    report "no disabled tests" disabled_tests
    report "every decision has its test" missing_decision_tests
    report "the scripts parse" shell_syntax
    long_files
    return $faults
}
