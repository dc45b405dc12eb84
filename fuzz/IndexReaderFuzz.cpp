// Index files of any bytes, at every level, with selections, tombstone thresholds and checks for item files, in pieces of
// any size. The first four bytes choose those, the rest is the file. The plain reader must come to the same result.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "index/IndexTable.h"
#include "persistence/StreamIndexReader.h"
#include "tests/persistence/FastReader.h"
#include "tests/persistence/Outcome.h"
#include "tests/persistence/PlainReader.h"

using namespace velmora;
using namespace velmora::test;

namespace {

struct Choice {
    int32_t level;
    std::string selection;
    bool verify;
    uint32_t threshold;
    size_t step;
};

Choice Choose(const uint8_t* bytes)
{
    static const char* const kSelections[] = {"", "a", "a,b", "*", "none", ",2011A.MAI,"};
    static const uint32_t kThresholds[] = {500, 0, 1, 3};
    static const size_t kSteps[] = {SIZE_MAX, 1, 7, 1023, 8192};
    return {1 + bytes[0] % 3, kSelections[bytes[1] % 6], bytes[2] % 4 == 3, kThresholds[bytes[2] / 4 % 4], kSteps[bytes[3] % 5]};
}

std::string ReadFast(const Choice& choice, std::string_view file)
{
    TestTable table;
    table.LoadSelection = choice.selection;
    NamedFiles files({"a", "2011A.MAI"});
    ParseOptions options = AtLevel(choice.level, choice.selection);
    options.files = choice.verify ? &files : nullptr;
    options.garbageThreshold = choice.threshold;
    DripSource source(file, choice.step);
    const ParseOutcome outcome = ParseIndexStream(table, source, options);
    return Describe(static_cast<int>(outcome.result), outcome.fault, table);
}

std::string ReadPlain(const Choice& choice, std::string_view file)
{
    PlainIndex index;
    index.loadSelection = choice.selection;
    PlainOptions options;
    options.level = choice.level;
    options.selection = PlainSelection(choice.selection);
    options.verifyItemFiles = choice.verify;
    options.itemFiles = {"a", "2011A.MAI"};
    options.garbageThreshold = choice.threshold;
    const PlainOutcome outcome = PlainParse(index, file, options);
    return Describe(outcome, index);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 4) return 0;
    const Choice choice = Choose(data);
    const std::string_view file(reinterpret_cast<const char*>(data) + 4, size - 4);
    const std::string fast = ReadFast(choice, file);
    const std::string plain = ReadPlain(choice, file);
    if (fast != plain) {
        std::fprintf(stderr, "fast:\n%s\nplain:\n%s\n", fast.c_str(), plain.c_str());
        std::abort();
    }
    return 0;
}
