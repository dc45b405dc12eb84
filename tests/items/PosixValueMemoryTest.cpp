// Properties when there is no memory for the value: nothing comes back that is not the caller's.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "common/Text.h"
#include "index/IndexItem.h"
#include "index/ItemBackend.h"
#include "items/ColumnValue.h"
#include "items/DateForms.h"
#include "tests/index/TestTable.h"
#include "tests/support/TestStore.h"
#include "velmora/index.h"

namespace {

uint32_t untilFailure = 0;  // 0: none fails

bool Fails() { return untilFailure != 0 && --untilFailure == 0; }

}  // namespace

// The linker hands allocations as C makes them to these (tests/CMakeLists.txt names the calls).
extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __wrap_malloc(size_t size) { return Fails() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(size_t count, size_t size) { return Fails() ? nullptr : __real_calloc(count, size); }

}  // extern "C"

namespace velmora::test {
namespace {

class ValueMemory : public testing::Test {
protected:
    ~ValueMemory() override { untilFailure = 0; }

    // The first allocation of `body` fails.
    template <typename Body>
    static void FailIn(Body body)
    {
        untilFailure = 1;
        body();
        EXPECT_EQ(untilFailure, 0u) << "nothing was allocated";
        untilFailure = 0;
    }
};

TEST_F(ValueMemory, AValueThatIsHandedThroughIsNotGivenWhenItCannotBeCopied)
{
    const uint64_t moment = UnixTimeToFileTime(10);
    const std::string text(1023, 'x');
    struct Source {
        const void* stored;
        int32_t type;
    };
    for (const Source& source : {Source{text.c_str(), PropText}, Source{text.c_str(), PropUnixTimeText}, Source{&moment, PropFileTime}}) {
        void* value = this;
        uint64_t size = 99;
        FailIn([&] {
            EXPECT_THROW(GetConvertedValue(source.stored, {"COLUMN", 0, source.type, source.type}, &value, &size), std::bad_alloc);
        });
        EXPECT_EQ(value, nullptr) << source.type;
        EXPECT_EQ(size, 0u) << source.type;
        ASSERT_EQ(GetConvertedValue(source.stored, {"COLUMN", 0, source.type, source.type}, &value, &size), 2u);
        EXPECT_NE(value, source.stored);
        std::free(value);
    }
}

TEST_F(ValueMemory, AColumnIsNotGivenWhenItCannotBeCopied)
{
    TestTable table;
    STOREITEMTYPE handle;
    handle.Item = Add(table, "a.itm");
    handle.Item->SetText("COLUMN", "text");
    for (const int32_t type : {PropText, PropString, PropFileTime}) {
        void* value = this;
        uint64_t size = 99;
        FailIn([&] { EXPECT_THROW(GetColumnValue(handle, {"COLUMN", 0, type, type}, &value, &size), std::bad_alloc); });
        EXPECT_EQ(value, nullptr) << type;
        EXPECT_EQ(size, 0u) << type;
    }
}

// Every allocation on the way fails once, up to the copy of the time that the host gets.
TEST_F(ValueMemory, AHostGetsNoPointerThatIsNotItsOwn)
{
    TestStore store;
    store.Attach();
    WriteFileBytes(store.Directory() / "a.itm", "x");
    TestTable table;
    STOREITEMTYPE handle;
    handle.Item = Add(table, "a.itm");
    handle.Class = kKindFiles;
    CopyBounded(handle.FolderPath, store.Directory().Str());
    uint32_t failed = 0;
    for (bool reached = true; reached; ++failed) {
        void* value = this;
        uint64_t size = 99;
        untilFailure = failed + 1;
        const uint64_t status = StoreIndex_GetItemPropertyItem(&handle, "PR_LAST_MODIFIED_DATE", &value, &size);
        reached = untilFailure == 0;
        untilFailure = 0;
        EXPECT_EQ(status == 2, value != nullptr);
        EXPECT_EQ(size, value ? 8u : 0u);
        EXPECT_TRUE(reached || status == 2);
        EXPECT_TRUE(!reached || status != 2) << "an allocation that nothing depends on: " << failed;
        std::free(value);
        // A host that asks for no value leaves it to the library.
        untilFailure = failed + 1;
        StoreIndex_GetItemPropertyItem(&handle, "PR_LAST_MODIFIED_DATE", nullptr, nullptr);
        untilFailure = 0;
    }
    EXPECT_GT(failed, 1u);
}

}  // namespace
}  // namespace velmora::test
