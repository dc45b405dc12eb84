// The fast reader against the plain one, on thousands of good and damaged files; and against itself, with the bytes in
// pieces of other sizes.
#include <gtest/gtest.h>

#include <string>

#include "tests/persistence/FastReader.h"
#include "tests/persistence/MutatedFiles.h"
#include "tests/persistence/Outcome.h"

namespace velmora::test {
namespace {

struct Arguments {
    int32_t level = 3;
    std::string selection;
    bool verify = false;
    std::set<std::string, std::less<>> files;
    uint32_t threshold = 500;
};

Arguments RandomArguments(Dice& dice)
{
    Arguments arguments;
    arguments.level = static_cast<int32_t>(dice.OneIn(10) ? 1 : dice.OneIn(3) ? 2 : 3);
    if (dice.OneIn(3))
        for (uint32_t count = 1 + dice.Below(4); count > 0; --count) arguments.selection += std::string(1, kIdLetters[dice.Below(8)]) + ",";
    if (dice.OneIn(12)) arguments.selection += "*";
    arguments.verify = dice.OneIn(4);
    for (uint32_t i = 0; i < 8; ++i)
        if (!dice.OneIn(3)) arguments.files.insert(std::string(1, kIdLetters[i]));
    if (dice.OneIn(2)) arguments.threshold = dice.Below(4);
    return arguments;
}

std::string ReadFast(std::string_view bytes, const Arguments& arguments, size_t step)
{
    TestTable table;
    table.LoadSelection = arguments.selection;
    NamedFiles files(arguments.files);
    ParseOptions options = AtLevel(arguments.level, arguments.selection);
    options.files = arguments.verify ? &files : nullptr;
    options.garbageThreshold = arguments.threshold;
    DripSource source(bytes, step);
    const ParseOutcome outcome = ParseIndexStream(table, source, options);
    return Describe(static_cast<int>(outcome.result), outcome.fault, table);
}

std::string ReadPlain(std::string_view bytes, const Arguments& arguments)
{
    PlainIndex index;
    index.loadSelection = arguments.selection;
    PlainOptions options;
    options.level = arguments.level;
    options.selection = PlainSelection(arguments.selection);
    options.verifyItemFiles = arguments.verify;
    options.itemFiles = {arguments.files.begin(), arguments.files.end()};
    options.garbageThreshold = arguments.threshold;
    const PlainOutcome outcome = PlainParse(index, bytes, options);
    return Describe(outcome, index);
}

std::string InWords(const Arguments& arguments, uint64_t seed)
{
    return "seed " + std::to_string(seed) + " level " + std::to_string(arguments.level) + " selection (" + arguments.selection +
           ") verify " + std::to_string(arguments.verify) + " threshold " + std::to_string(arguments.threshold);
}

void CompareRounds(uint64_t firstSeed, uint64_t rounds, bool damage)
{
    int good = 0;
    int repeated = 0;
    for (uint64_t seed = firstSeed; seed < firstSeed + rounds; ++seed) {
        Dice dice(seed);
        std::string bytes = RandomFile(dice);
        if (damage) Damage(bytes, dice);
        const Arguments arguments = RandomArguments(dice);
        const std::string plain = ReadPlain(bytes, arguments);
        ASSERT_EQ(ReadFast(bytes, arguments, SIZE_MAX), plain) << InWords(arguments, seed) << "\nfile: " << bytes;
        good += plain.starts_with("result 1");
        repeated += plain.starts_with("result 2");
        // The same file by every other road.
        Arguments other = arguments;
        for (other.level = 1; other.level <= 3; ++other.level)
            for (const char* selection : {"", "a,c,e,g", ",", "*"}) {
                other.selection = selection;
                ASSERT_EQ(ReadFast(bytes, other, SIZE_MAX), ReadPlain(bytes, other)) << InWords(other, seed) << "\nfile: " << bytes;
            }
    }
    // Both answers must have been met often, or the files say nothing.
    EXPECT_GT(good, static_cast<int>(rounds / 20));
    EXPECT_LT(good, static_cast<int>(rounds * 19 / 20));
    EXPECT_GT(repeated, static_cast<int>(rounds / 100));
}

TEST(ReaderDifferential, FilesAsTheyAreMade) { CompareRounds(1, 800, false); }
TEST(ReaderDifferential, DamagedFilesFirstLot) { CompareRounds(100000, 900, true); }
TEST(ReaderDifferential, DamagedFilesSecondLot) { CompareRounds(200000, 900, true); }
TEST(ReaderDifferential, DamagedFilesThirdLot) { CompareRounds(300000, 900, true); }

TEST(ReaderDifferential, TheSizeOfTheSourcesPiecesChangesNothing)
{
    const size_t steps[] = {1, 2, 3, 7, 13, 64, 1022, 1023, 1024, 4095, 8191, 8192, 8193};
    for (uint64_t seed = 500000; seed < 500400; ++seed) {
        Dice dice(seed);
        std::string bytes = RandomFile(dice);
        if (!dice.OneIn(3)) Damage(bytes, dice);
        const Arguments arguments = RandomArguments(dice);
        const std::string whole = ReadFast(bytes, arguments, SIZE_MAX);
        for (const size_t step : steps) ASSERT_EQ(ReadFast(bytes, arguments, step), whole) << InWords(arguments, seed) << " step " << step;
    }
}

TEST(ReaderDifferential, AFileCutAtEveryOffset)
{
    for (const uint64_t seed : {600000u, 600001u, 600002u}) {
        Dice dice(seed);
        const std::string bytes = RandomFile(dice).substr(0, 4000);
        for (size_t size = 0; size <= bytes.size(); ++size) {
            Arguments arguments;
            arguments.level = 1 + static_cast<int32_t>(dice.Below(3));
            const std::string_view cut = std::string_view(bytes).substr(0, size);
            ASSERT_EQ(ReadFast(cut, arguments, SIZE_MAX), ReadPlain(cut, arguments)) << InWords(arguments, seed) << " cut at " << size;
        }
    }
}

TEST(ReaderDifferential, EveryByteOfAFileReplacedByABracketOrAQuote)
{
    Dice dice(700000);
    const std::string bytes = RandomFile(dice).substr(0, 1500);
    for (const char by : {'<', '>', '"', '/', ' ', '-'})
        for (size_t at = 0; at < bytes.size(); ++at) {
            std::string changed = bytes;
            changed[at] = by;
            ASSERT_EQ(ReadFast(changed, {}, SIZE_MAX), ReadPlain(changed, {})) << "byte " << at << " as " << by;
        }
}

TEST(ReaderDifferential, RandomBytes)
{
    for (uint64_t seed = 800000; seed < 801000; ++seed) {
        Dice dice(seed);
        std::string bytes;
        for (uint32_t size = dice.Below(4000); bytes.size() < size;) bytes += dice.OneIn(3) ? "<>/\"=EL "[dice.Below(8)] : dice.Byte();
        if (dice.OneIn(2)) bytes.insert(0, "<BASEELEMENT LASTUID=\"x00000001\">");
        const Arguments arguments = RandomArguments(dice);
        ASSERT_EQ(ReadFast(bytes, arguments, SIZE_MAX), ReadPlain(bytes, arguments)) << InWords(arguments, seed);
    }
}

}  // namespace
}  // namespace velmora::test
