# clang-tidy over single files, which remembers what was good. Sourced by scripts/lint.
#
# A file without findings is remembered under a hash of everything that its result depends on: the versions of clang-tidy
# and of the compiler with its headers, the settings, the compile command, and the bytes of the file and of all our headers
# below it. Findings are never remembered.

tidy_memory=${XDG_CACHE_HOME:-$HOME/.cache}/velmora/lint

# The compile command of a file in build/release, without its output and with paths that do not depend on the checkout.
compile_command() {
    awk -v wanted="  \"file\": \"$root/$1\"" '
        /^  "command": / { command = $0 }
        index($0, wanted) == 1 { print command; exit }' build/release/compile_commands.json |
        sed 's/^  "command": "//; s/",$//; s/\\"/"/g; s/\\\\/\\/g; s/ -o [^ ]* -c / -c /'
}

# Empty when something of it cannot be had: then nothing is remembered.
tidy_key() {
    local command rule sums
    command=$(compile_command "$1")
    [ -n "$command" ] || return 0
    rule=$(eval "$command -MM -MF /dev/stdout" 2>/dev/null) || return 0
    sums=$(sed 's/^[^:]*://; s/\\$//' <<<"$rule" | xargs cat | sha256sum; exit $((PIPESTATUS[0] + PIPESTATUS[1]))) || return 0
    {
        clang-tidy --version
        c++ --version
        cat .clang-tidy
        printf '%s\n' "${command//"$root"/}" "$sums"
    } | sha256sum | cut -d' ' -f1
}

# Prints the findings in a file; 1 when there are any.
tidy_file() {
    local key
    key=$(tidy_key "$1")
    if [ -n "$key" ] && [ -f "$tidy_memory/$key" ]; then
        touch "$tidy_memory/$key"
        return 0
    fi
    clang-tidy -p build/release --quiet --extra-arg=-Wno-unknown-warning-option "$1" 2>/dev/null || return 1
    [ -z "$key" ] || { mkdir -p "$tidy_memory" && touch "$tidy_memory/$key"; }
}

forget_old_results() { [ ! -d "$tidy_memory" ] || find "$tidy_memory" -type f -mtime +60 -delete; }
