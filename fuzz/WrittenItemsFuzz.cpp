// Any items that the writer writes must come back equal.
#include "fuzz/FuzzFolders.h"
#include "fuzz/FuzzedChoices.h"
#include "tests/persistence/WrittenItems.h"

using namespace velmora::test;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedChoices choices(data, size);
    Require(WriteAnyItems(FuzzFolders::Get().folder, choices));
    return 0;
}
