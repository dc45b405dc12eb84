// Any sequence of changes and saves in place must leave what one full rewrite of the same items leaves.
#include "fuzz/FuzzFolders.h"
#include "fuzz/FuzzedChoices.h"
#include "tests/persistence/ChangeSequence.h"

using namespace velmora::test;

namespace {

constexpr uint32_t kMostSteps = 40;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const FuzzFolders& folders = FuzzFolders::Get();
    FuzzedChoices choices(data, size);
    Require(ChangeFolder(folders.folder, folders.elsewhere, choices, kMostSteps));
    return 0;
}
