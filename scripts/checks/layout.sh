# Checks of where things stand: who includes whom, platform names above the platform, sources that no target builds.
# Sourced by checks/all.sh; every function prints its faults, one a line, and nothing when there are none.

library_sources() { our_sources platform common SERVICES/Library; }
public_sources() { our_sources include; }
# The tool, and the companion modules beside the library: they see the public headers alone.
outside_sources() {
    our_sources tools
    our_sources SERVICES | grep -v '^SERVICES/Library/' || true
}

# FILE:LINE: INCLUDED for every include that the house plan forbids. A room may include itself and rooms below; items and
# notify stand side by side and do not know each other. frame/Attach.cpp and the module entry put the rooms together and may
# include upwards.
forbidden_includes() {
    library_sources | xargs -r awk '
        BEGIN {
            split("platform common frame locks index persistence notify items provider remote folders quota legacy", order, " ")
            split("1 2 3 4 5 6 7 7 8 8 9 10 10", level, " ")
            for (i in order) rank[order[i]] = level[i]
        }
        FNR == 1 {
            room = FILENAME
            sub(/^SERVICES\/Library\//, "", room)
            sub(/\/.*/, "", room)
            exempt = FILENAME == "SERVICES/Library/frame/Attach.cpp" || FILENAME == "SERVICES/Library/ModuleMain.cpp"
        }
        /^[ \t]*#[ \t]*include[ \t]*["<]/ && !exempt {
            included = $0
            sub(/^[^"<]*["<]/, "", included)
            sub(/[">].*/, "", included)
            target = included
            sub(/\/.*/, "", target)
            if (/include[ \t]*</ && !(target in rank)) next
            if (target == "velmora") next
            if (included == "frame/Attach.h") { print FILENAME ":" FNR ": " included ": only the module entry may"; next }
            if (!(target in rank)) { print FILENAME ":" FNR ": " included ": not rooted in a room"; next }
            if (rank[target] + 0 > rank[room] + 0) print FILENAME ":" FNR ": " included ": upwards"
            else if (rank[target] == rank[room] && target != room) print FILENAME ":" FNR ": " included ": sideways"
        }'
    outside_sources | xargs -r grep -HnE \
        '#[[:space:]]*include[[:space:]]*["<]([./]*/)?(platform|common|SERVICES|frame|locks|index|persistence|notify|items|provider|folders|remote|quota|legacy)/' || true
    public_sources | xargs -r grep -HnE '#[[:space:]]*include[[:space:]]*"' | grep -v '"velmora/' || true
}

system_macros='\b(_?WIN(32|64)|_MSC_VER|__MINGW[0-9A-Z_]*|__CYGWIN__|__linux(__)?|__unix(__)?|__APPLE__|__ANDROID__|__[A-Za-z]+BSD__|__sun)\b'

# What the language itself has, in C++20 and as C spells it, but for what only one system gives a full sense to.
standard_headers='algorithm any array atomic barrier bit bitset cassert ccomplex cctype cfenv cfloat charconv chrono cinttypes
climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp cstdalign cstdarg cstdbool cstddef
cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution forward_list fstream functional future
initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex new
numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set shared_mutex source_location
span sstream stack stdexcept stop_token streambuf string string_view strstream syncstream system_error thread tuple
type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant vector version
assert.h ctype.h float.h inttypes.h limits.h locale.h math.h setjmp.h stdalign.h stdarg.h stdbool.h stddef.h stdint.h stdio.h
stdlib.h string.h time.h uchar.h wchar.h wctype.h'
# Of the packages that tests, benchmarks and fuzz targets are built with.
package_headers='gtest/gtest.h gmock/gmock.h benchmark/benchmark.h nlohmann/json.hpp pugixml.hpp libxml/parser.h libxml/tree.h fuzzer/FuzzedDataProvider.h'

# foreign_includes HEADER...: FILE:LINE: TEXT for every include in the files on standard input that is neither one of these nor
# the language's own nor of this tree.
foreign_includes() {
    local files file place included room
    mapfile -t files
    [ ${#files[@]} -gt 0 ] || return 0
    grep -HnE '^[[:space:]]*#[[:space:]]*include' "${files[@]}" | awk -v allowed="$standard_headers $*" '
        BEGIN { for (count = split(allowed, names, /[ \n]+/); count > 0; --count) known["<" names[count] ">"] = 1 }
        { included = $0; sub(/^[^#]*#[ \t]*include[ \t]*/, "", included); sub(/[ \t\r]*(\/[\/*].*)?$/, "", included) }
        !(included in known)' | while IFS= read -r place; do
        included=${place#*[<\"]}
        included=${included%%[>\"]*}
        room=${included%/*}
        [ "$room" != "$included" ] && { [ -d "$room" ] || [ -d "include/$room" ] || [ -d "SERVICES/Library/$room" ]; } && continue
        file=${place%%:*}
        [ -f "${file%/*}/$included" ] && continue
        say "$place"
    done
}

# FILE:LINE: TEXT for the lines of the files on standard input that match, comments left out.
code_lines() {
    local pattern=$1 file
    while read -r file; do
        sed 's|//.*||' "$file" | grep -nE "$pattern" | sed "s|^|$file:|" || true
    done
}

# The operating system belongs to platform/. Comments may name what they explain, and one public header says how an export
# is marked on each system.
platform_names() {
    { our_sources common SERVICES/Library; public_sources | grep -vx include/velmora/api.h; } |
        code_lines "$system_macros|\\berrno\\b|std *:: *filesystem"
    # What stands in quotes is looked at above, as an include that runs upwards or nowhere.
    { our_sources common SERVICES/Library; public_sources; } | foreign_includes | { grep -E 'include[[:space:]]*<' || true; }
}

# Tests, benchmarks and fuzz targets may use what the language has, and say in a file's name that it is for one system alone.
is_for_one_system='(^|/)(Posix|Windows)[^/]*$|(Posix|Windows)\.(cpp|h)$'
system_names_in_tests() {
    local files
    files=$(our_sources tests bench fuzz | { grep -vE "$is_for_one_system" || true; })
    [ -n "$files" ] || return 0
    code_lines "$system_macros" <<<"$files"
    # The file system, and the errors that it answers with, are there everywhere.
    foreign_includes filesystem cerrno errno.h $package_headers <<<"$files"
}

# The sources that a configured build directory compiles.
built_sources() { sed -n "s|^ *\"file\": \"$root/\(.*\)\",\{0,1\}\$|\1|p" "$1/compile_commands.json"; }

# Every source is in some target: of the release build unless it is for Windows alone, of the Windows build unless it is for
# Linux alone or a benchmark, of the fuzz build when it is a fuzz target. The last two are looked at where they are configured,
# as they are behind their own steps.
unbuilt_sources() {
    local windows='^platform/windows/|/Windows[^/]*$|Windows\.cpp$' linux='^platform/posix/|/Posix[^/]*$|Posix\.cpp$' all
    all=$(our_sources platform common SERVICES tools tests bench fuzz | grep -E '\.(cpp|c)$')
    unbuilt_in release < <(grep -vE "$windows|^fuzz/" <<<"$all")
    unbuilt_in windows < <(grep -vE "$linux|^(bench|fuzz)/" <<<"$all")
    unbuilt_in fuzz < <(grep '^fuzz/' <<<"$all")
}
unbuilt_in() {
    [ -f "build/$1/compile_commands.json" ] || return 0
    grep -vxF -f <(built_sources "build/$1") | sed "s/\$/: not in the $1 build/" || true
}

long_files() {
    our_sources "${all_source_directories[@]}" | xargs -r wc -l |
        awk '$2 != "total" && $1 > 700 { print "warning: " $2 " has " $1 " lines" }'
}
