// Memory that runs out anywhere in a direct call: no block stays, and no message is lost.
#include "tests/index/DirectFixture.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

class DirectAllocation : public Direct {
protected:
    // As Direct has it, and with what a call may find.
    void PutFolder()
    {
        PutTwoItems();
        PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
        fs::remove(inbox / "_CHANGE.DTY");
        PutMail(inbox, "1.MAI");
        PutMail(inbox, "2.MAI");
        PutMail(inbox, "3.MAI");
    }

    // Runs `call` with its n-th allocation failing, for n from 1 to where it needs no more. Returns how often that was.
    template <typename Call, typename Look>
    uint32_t FailEach(FaultSpan span, Call call, Look look)
    {
        constexpr uint32_t kMost = 5000;
        for (uint32_t nth = 1; nth < kMost; ++nth) {
            PutFolder();
            uint64_t result = 0;
            uint32_t hits = 0;
            bool atRoot = false;  // a folder whose path could not be had must not become the root of the drive
            {
                WatchedFiles files;
                files.fail = [&](platform::FileOperation, std::string_view path) {
                    atRoot = atRoot || path.starts_with("\\_");
                    return 0u;
                };
                const AllocationFault fault(nth, span);
                result = call();
                hits = AllocationFault::Hits();
            }
            EXPECT_FALSE(atRoot);
            EXPECT_FALSE(FileExists(inbox / "_index.blk"));
            look(result);
            EXPECT_FALSE(HasFailure()) << "allocation " << nth;
            if (HasFailure() || hits == 0) return nth - 1;
        }
        ADD_FAILURE() << "no end of allocations";
        return kMost;
    }

    // An answer of 0 says that the index has nothing of the call, so whoever asks again does not get the message twice.
    void InsertAgainAfterEach(FaultSpan span)
    {
        const uint32_t failures = FailEach(
            span, [] { return InsertEx("3.MAI", "SIZE=4096"); },
            [&](uint64_t result) {
                const std::string element = "ID=\"3.MAI\"";
                const size_t first = IndexBytes().find(element);
                if (result == 0) {
                    EXPECT_EQ(first, std::string::npos) << NameOf(span);
                    EXPECT_EQ(Insert("3.MAI"), 1u) << NameOf(span);
                } else if (first == std::string::npos) {
                    EXPECT_TRUE(IsMarked()) << NameOf(span);
                }
                const std::string again = IndexBytes();
                const size_t found = again.find(element);
                if (found != std::string::npos) {
                    EXPECT_EQ(again.find(element, found + 1), std::string::npos) << NameOf(span);
                }
            });
        EXPECT_GT(failures, 10u);
    }
};

TEST_F(DirectAllocation, AnInsertLosesNoMessage)
{
    Insert("3.MAI");  // what is learned once
    for (const FaultSpan span : {FaultSpan::Once, FaultSpan::Onwards}) {
        const uint32_t failures = FailEach(
            span, [] { return Insert("3.MAI"); },
            [&](uint64_t result) {
                const bool memoryIsBack = span == FaultSpan::Once;
                if (result == 0 && memoryIsBack) {
                    EXPECT_TRUE(IsMarked());
                }
                HostRecord record("INBOX");
                EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
                if (memoryIsBack || result == 1) {
                    EXPECT_NE(record.Item("3.MAI"), nullptr) << NameOf(span) << ", answer " << result;
                }
                EXPECT_NE(record.Item("1.MAI"), nullptr);
            });
        EXPECT_GT(failures, 10u);
    }
}

TEST_F(DirectAllocation, AnInsertThatIsAskedForAgainIsThereOnce)
{
    Insert("3.MAI");
    for (const FaultSpan span : {FaultSpan::Once, FaultSpan::Onwards}) InsertAgainAfterEach(span);
}

// Nothing, or all of it: an answer of 0 leaves what was there, and an answer of 1 the change or a mark.
TEST_F(DirectAllocation, AnUpdateAndARemovalAreWholeOrNotThere)
{
    const std::vector<std::string> both{"1.MAI", "2.MAI"};
    Update("1.MAI", "+FLAGGED");
    const uint32_t updates = FailEach(
        FaultSpan::Once, [] { return Update("1.MAI", "+FLAGGED -SEEN"); },
        [&](uint64_t result) {
            const bool marked = IsMarked();
            EXPECT_EQ(Ids(), both);
            EXPECT_EQ(Column("2.MAI", kFlagStatus), "\\RECENT");
            const std::string flags = Column("1.MAI", kFlagStatus);
            if (result == 0) {
                EXPECT_EQ(flags, "\\SEEN");
            }
            if (result == 1 && !marked) {
                EXPECT_EQ(flags, "\\FLAGGED");
            }
            EXPECT_TRUE(flags == "\\SEEN" || flags == "\\FLAGGED") << flags;
        });
    EXPECT_GT(updates, 10u);
    const uint32_t removals = FailEach(
        FaultSpan::Once, [] { return Remove("2.MAI"); },
        [&](uint64_t result) {
            const bool marked = IsMarked();
            const std::vector<std::string> left = Ids();
            if (result == 0) {
                EXPECT_EQ(left, both);
            }
            if (result == 1 && !marked) {
                EXPECT_EQ(left, (std::vector<std::string>{"1.MAI"}));
            }
            EXPECT_TRUE(left == both || left == (std::vector<std::string>{"1.MAI"})) << left.size();
        });
    EXPECT_GT(removals, 10u);
}

}  // namespace
}  // namespace velmora::test
