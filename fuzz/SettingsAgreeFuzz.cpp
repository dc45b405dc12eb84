// Settings files of any bytes: the tool and the store read the same, and the store reads what the tool sets in them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/FuzzedChoices.h"
#include "tests/tool/SettingsAgreement.h"

using namespace velmora::test;

namespace {

constexpr size_t kChoiceBytes = 32;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const size_t choiceBytes = std::min(size, kChoiceBytes);
    const std::string bytes(reinterpret_cast<const char*>(data), size - choiceBytes);
    Require(ReadingDisagreement(bytes));
    FuzzedChoices choices(data + bytes.size(), choiceBytes);
    Require(SettingDisagreement(bytes, choices));
    FuzzedChoices made(data, size);
    const std::string file = RandomSettingsFile(made);
    Require(ReadingDisagreement(file));
    Require(SettingDisagreement(file, made));
    return 0;
}
