// A second reader of message headers: slow, plain, and written straight from the rules. It goes over all lines anew for each
// header, keeps texts whole and cuts them at the end. What it gives is the measure for the parser.
#ifndef VELMORA_TESTS_ITEMS_PLAINHEADER_H
#define VELMORA_TESTS_ITEMS_PLAINHEADER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace velmora::test {

// What a caller gives to a parse beside the message.
struct HeaderCircumstances {
    uint32_t folderUid = 0;
    std::string tempFlags;
    bool clearTempFlags = false;
    bool honourUid = false;
    size_t step = SIZE_MAX;  // bytes that the source gives at a time
};

// Every field of the result by name, and the columns of the item that is made of it.
struct HeaderReading {
    std::map<std::string, std::string> fields;
    std::map<std::string, std::string> columns;
};

HeaderReading ReadHeaderPlainly(std::string_view message, const HeaderCircumstances& circumstances);

// Reads `message` both ways, and by the parser also as an identity alone and as news of an item that is known. Empty when
// all agree, else what does not.
std::string HeaderDisagreement(std::string_view message, const HeaderCircumstances& circumstances);

}  // namespace velmora::test

#endif
