// Index files of any bytes through the files of a folder: loaded as the plain reader loads them, changed, and not made
// worse by a save. The last bytes of an input make the choices, the rest is the file.
#include <algorithm>
#include <string_view>

#include "fuzz/FuzzFolders.h"
#include "fuzz/FuzzedChoices.h"
#include "tests/persistence/ForeignIndex.h"

using namespace velmora::test;

namespace {

constexpr size_t kChoiceBytes = 16;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const size_t choiceBytes = std::min(size, kChoiceBytes);
    const size_t fileBytes = size - choiceBytes;
    FuzzedChoices choices(data + fileBytes, choiceBytes);
    Require(ChangeForeignFile(FuzzFolders::Get().folder, {reinterpret_cast<const char*>(data), fileBytes}, choices));
    return 0;
}
