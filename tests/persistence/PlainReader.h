// A second reader of index files: slow, plain, and written straight from the rules of the format, one rule at a time.
//
// It reads a byte at a time into a buffer of 1,024, keeps values in maps of strings and goes over a text again from its
// start after each replacement. What it gives is the measure for the fast reader.
#ifndef VELMORA_TESTS_PERSISTENCE_PLAINREADER_H
#define VELMORA_TESTS_PERSISTENCE_PLAINREADER_H

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

struct PlainItem {
    std::map<std::string, std::string> properties;
    uint32_t fileOffset = 0;
    uint32_t fileLength = 0;
};

struct PlainIndex {
    std::map<uint32_t, std::shared_ptr<PlainItem>> byUid;
    std::map<std::string, std::shared_ptr<PlainItem>> byId;
    std::vector<std::shared_ptr<PlainItem>> sequence;
    uint32_t lastUid = 0;
    uint32_t refused = 0;  // elements that did not become items, for an ID or UID that another has
    bool rewriteRequired = false;
    std::string loadSelection;
};

struct PlainOptions {
    int level = 3;
    std::set<std::string> selection;
    bool verifyItemFiles = false;
    std::set<std::string> itemFiles;  // those that exist
    uint32_t garbageThreshold = 500;
};

struct PlainOutcome {
    int result = 0;  // 0 malformed, 1 good, 2 to be repeated in full
    std::string fault;
};

// One pass.
PlainOutcome PlainParse(PlainIndex& index, std::string_view bytes, const PlainOptions& options);

// A whole load: the header path of level 1, one pass, the repetition. `fileIsThere` false stands for a missing file.
// `result` of the outcome is the load level reached.
PlainOutcome PlainLoad(PlainIndex& index, std::string_view bytes, PlainOptions options, bool fileIsThere = true);

// The IDs of a comma-separated list; what is empty is none.
std::set<std::string> PlainSelection(std::string_view list);

// The reverse of the escaping of values, by its rules.
std::string PlainDecode(std::string text);

// strtoul and atol of 32 bits.
uint32_t PlainUnsigned(std::string_view text, uint32_t base);
int32_t PlainLong(std::string_view text);

}  // namespace velmora::test

#endif
