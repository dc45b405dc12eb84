// Messages of any bytes, in pieces of any size: every field of the header and every column of its item must be as the plain
// reader has it. The first byte chooses the options, the rest is the message.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/FuzzedChoices.h"
#include "tests/items/PlainHeader.h"

using namespace velmora::test;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) return 0;
    static const size_t kSteps[] = {SIZE_MAX, 1, 7, 1023, 2047, 8191, 8192, 3};
    HeaderCircumstances circumstances;
    circumstances.folderUid = data[0];
    circumstances.clearTempFlags = (data[0] & 1) != 0;
    circumstances.honourUid = (data[0] & 2) != 0;
    if (data[0] & 4) circumstances.tempFlags = "\\FLAGGED";
    circumstances.step = kSteps[data[0] >> 3 & 7];
    Require(HeaderDisagreement({reinterpret_cast<const char*>(data) + 1, size - 1}, circumstances));
    return 0;
}
