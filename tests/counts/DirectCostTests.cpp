// What the direct calls cost: the bytes of each file that they read and write, and the memory that they ask for.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "tests/counts/CountedFiles.h"
#include "tests/counts/GrownFolder.h"
#include "tests/support/memory/Allocations.h"
#include "velmora/vlaisp.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

struct Traffic {
    uint64_t opens = 0, read = 0, written = 0, resizes = 0;
    uint64_t seeks = 0, searches = 0, deletes = 0;
    uint64_t others = 0;  // moves, copies, directories made
    bool operator==(const Traffic&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Traffic& traffic)
{
    return out << traffic.opens << " opens, " << traffic.read << " read, " << traffic.written << " written, " << traffic.resizes
               << " resizes, " << traffic.seeks << " seeks, " << traffic.searches << " searches, " << traffic.deletes << " deletes, "
               << traffic.others << " others";
}

// By the last names of the files. A read or a write is of the file that was opened last, which holds for these calls: the
// block file stays open, and is neither read nor written.
class TracedFiles : public platform::FileSeam {
public:
    TracedFiles() : before_(platform::ReplaceFileSeam(this)) {}
    ~TracedFiles() override { platform::ReplaceFileSeam(before_); }
    TracedFiles(const TracedFiles&) = delete;
    TracedFiles& operator=(const TracedFiles&) = delete;

    platform::FileVerdict Before(FileOperation operation, const char* path, uint64_t bytes) override
    {
        const std::string_view name(path ? path : "");
        if (operation == FileOperation::Open) last_ = NameOf(name);
        Traffic& traffic = byName[name.empty() ? last_ : NameOf(name)];
        switch (operation) {
            case FileOperation::Open:
                ++traffic.opens;
                break;
            case FileOperation::Read:
                traffic.read += bytes;
                break;
            case FileOperation::Write:
                traffic.written += bytes;
                break;
            case FileOperation::Resize:
                ++traffic.resizes;
                break;
            case FileOperation::Seek:
                ++traffic.seeks;
                break;
            case FileOperation::Search:
                ++traffic.searches;
                break;
            case FileOperation::Delete:
                ++traffic.deletes;
                break;
            default:
                ++traffic.others;
        }
        return {};
    }

    std::map<std::string, Traffic> byName;

private:
    // The mailbox and the folder each have a file of sizes; the two count together.
    static std::string NameOf(std::string_view path) { return std::string(path.substr(path.find_last_of("\\/") + 1)); }

    std::string last_;
    platform::FileSeam* before_;
};

constexpr uint64_t kFirstLine = 1023;  // of a file whose first line is all of it
constexpr uint64_t kHeader = 33;
constexpr uint64_t kTail = 31;
constexpr uint64_t kMessageRead = 8192;  // of a short message, as asked for: one buffer that has all of it, and one for the end
constexpr uint64_t kHeaderDigits = 8;
constexpr uint64_t kEndTag = 16;
constexpr uint64_t kCounts = 52;
constexpr uint64_t kSizeBuffer = 254;

const std::string kNewItem = GrownItemName(0x00FFFFFF);
constexpr char kMessage[] = "From: a@example.org\r\nSubject: the new one\r\n\r\nbody\r\n";

class DirectCost : public testing::Test {
protected:
    DirectCost()
    {
        store_.Attach();
        few_ = std::make_unique<GrownFolder>(store_, kFewItems);
        many_ = std::make_unique<GrownFolder>(store_, kManyItems);
        one_ = std::make_unique<GrownFolder>(store_, 1);
        for (const GrownFolder* const folder : {few_.get(), many_.get(), one_.get()}) {
            WriteFileBytes(folder->Path() + "/" + kNewItem, kMessage);
            WriteFileBytes(folder->Path() + "/_DIRSIZE.TMP", "50000");
        }
        WriteFileBytes(store_.MailRoot() / "po" / "MAILROOT" / "box" / "_DIRSIZE.TMP", "50000");
    }

    using Action = std::function<void(const GrownFolder&)>;

    static std::map<std::string, Traffic> TrafficOf(const GrownFolder& folder, const Action& action)
    {
        TracedFiles files;
        action(folder);
        return files.byName;
    }

    TestStore store_;
    std::unique_ptr<GrownFolder> few_, many_;
    // The first call of anything in a process reads settings and learns names, so it is made here beforehand.
    std::unique_ptr<GrownFolder> one_;
};

void Deliver(const GrownFolder& folder)
{
    EXPECT_EQ(Direct_StoreIndex_InsertItemEx("po", "box", folder.Name().c_str(), kNewItem.c_str(), "SIZE=4096"), 1u);
}

void FlagLast(const GrownFolder& folder)
{
    EXPECT_EQ(Direct_StoreIndex_UpdateItem("po", "box", folder.Name().c_str(), GrownItemName(folder.Items()).c_str(), "+FLAGGED"), 1u);
}

TEST_F(DirectCost, ADeliveryReadsTheEndsOfTheIndexAndWritesWhatIsNewAndNothingElse)
{
    Deliver(*one_);
    const uint64_t before = std::filesystem::file_size(many_->IndexFile());
    const auto traffic = TrafficOf(*many_, Deliver);
    const uint64_t element = std::filesystem::file_size(many_->IndexFile()) - before;

    std::map<std::string, Traffic> left = traffic;
    const auto take = [&](const std::string& name) { return std::exchange(left[name], Traffic{}); };
    EXPECT_EQ(take("_index.xml"), (Traffic{6, kFirstLine + kHeader + kTail, element + kEndTag + kHeaderDigits, 0, 4, 2, 0, 0}));
    EXPECT_EQ(take("_FOLDER.DAT"), (Traffic{2, kCounts, kCounts, 0, 0, 0, 0, 0}));
    EXPECT_EQ(take("_DIRSIZE.TMP"), (Traffic{2, 2 * kSizeBuffer, 10, 0, 2, 0, 0, 0})) << "of the mailbox and of the folder";
    EXPECT_EQ(take("_index.blk"), (Traffic{1, 0, 0, 0, 0, 0, 1, 0}));
    EXPECT_EQ(take(kNewItem), (Traffic{1, kMessageRead, 0, 0, 0, 0, 0, 0}));
    std::erase_if(left, [](const auto& entry) { return entry.second == Traffic{}; });
    for (const auto& [name, more] : left) ADD_FAILURE() << name << ": " << more;
}

TEST_F(DirectCost, ADeliveryCostsTheSameWhateverTheSizeOfTheFolder)
{
    Deliver(*one_);
    const auto cost = [](const GrownFolder& folder) {
        CountedFiles files(folder.Name());
        Deliver(folder);
        return files.Cost();
    };
    const FileCost few = cost(*few_);
    const FileCost many = cost(*many_);
    EXPECT_EQ(few.operations, many.operations) << "few: " << few << "\nmany: " << many;
    EXPECT_EQ(many.Operations(), 33u) << many;
    EXPECT_EQ(few.bytesRead, many.bytesRead);
    const size_t moreDigits = std::to_string(kManyItems + 1).size() - std::to_string(kFewItems + 1).size();
    EXPECT_EQ(few.bytesWritten + moreDigits, many.bytesWritten);
    EXPECT_EQ(many.listings, 0u);
    EXPECT_EQ(many.Of(FileOperation::MakeDirectory), 0u);
    EXPECT_EQ(many.Of(FileOperation::Move) + many.Of(FileOperation::Copy), 0u);
    EXPECT_EQ(many.Of(FileOperation::Delete), 1u) << "the block";
    EXPECT_EQ(many.Of(FileOperation::Resize), 0u);
}

TEST_F(DirectCost, ADeliveryAsksForTheSameMemoryWhateverTheSizeOfTheFolder)
{
    Deliver(*one_);
    const auto asked = [](const GrownFolder& folder) {
        const uint64_t before = AllocationsAskedFor();
        Deliver(folder);
        return AllocationsAskedFor() - before;
    };
    const uint64_t few = asked(*few_);
    EXPECT_GT(few, 0u);
    EXPECT_EQ(few, asked(*many_));
}

// The index is opened once for all of them, and each adds its message and its element.
TEST_F(DirectCost, SeveralEntriesShareTheEndsOfTheIndex)
{
    constexpr uint64_t kEntries = 5;
    std::string ids, flags;
    for (uint32_t entry = 0; entry < kEntries; ++entry) {
        const std::string id = GrownItemName(0x00FFFF00 + entry);
        for (const GrownFolder* const folder : {many_.get(), one_.get()}) WriteFileBytes(folder->Path() + "/" + id, kMessage);
        ids += (entry ? "," : "") + id;
        flags += entry ? ",SIZE=4096" : "SIZE=4096";
    }
    const auto deliver = [&](const GrownFolder& folder) {
        EXPECT_EQ(Direct_StoreIndex_InsertItemEx("po", "box", folder.Name().c_str(), ids.c_str(), flags.c_str()), 1u);
    };
    deliver(*one_);
    const uint64_t before = std::filesystem::file_size(many_->IndexFile());
    const auto traffic = TrafficOf(*many_, deliver);
    const uint64_t elements = std::filesystem::file_size(many_->IndexFile()) - before;
    const Traffic& index = traffic.at("_index.xml");
    EXPECT_EQ(index.read, kFirstLine + kHeader + kTail);
    EXPECT_EQ(index.written, elements + kEndTag + kHeaderDigits);
    EXPECT_EQ(traffic.at("_FOLDER.DAT"), (Traffic{2, kCounts, kCounts, 0, 0, 0, 0, 0}));
    EXPECT_EQ(traffic.at("_DIRSIZE.TMP"), (Traffic{2, 2 * kSizeBuffer, 10, 0, 2, 0, 0, 0}));
    EXPECT_EQ(traffic.size(), 4 + kEntries);
}

// What stands between the chosen item and the end is carried as bytes, in one piece.
TEST_F(DirectCost, AnUpdateOfOneItemMakesNoOtherItemInMemory)
{
    FlagLast(*one_);
    for (const bool removes : {false, true}) {
        for (const uint32_t part : {1u, 2u, 3u}) {
            const auto asked = [&](const GrownFolder& folder) {
                const uint32_t uid = part == 1 ? 1 + removes : part == 2 ? folder.Items() / 2 : folder.Items() - removes;
                const std::string id = GrownItemName(uid);
                const uint64_t before = AllocationsAskedFor();
                const char* const name = folder.Name().c_str();
                EXPECT_EQ(removes ? Direct_StoreIndex_RemoveItem("po", "box", name, id.c_str())
                                  : Direct_StoreIndex_UpdateItem("po", "box", name, id.c_str(), "+ANSWERED"),
                          1u);
                return AllocationsAskedFor() - before;
            };
            const uint64_t few = asked(*few_);
            // Hardly more than the doublings of one buffer, and a thousandth of the items.
            EXPECT_LE(asked(*many_), few + 16) << removes << ", part " << part;
        }
    }
}

TEST_F(DirectCost, AFlagOfTheLastItemIsReadOnceAndWritesItsElement)
{
    FlagLast(*one_);
    const uint64_t before = std::filesystem::file_size(many_->IndexFile());
    const auto traffic = TrafficOf(*many_, FlagLast);
    const uint64_t after = std::filesystem::file_size(many_->IndexFile());
    EXPECT_EQ(after - before, std::string_view(" \\FLAGGED").size());
    const Traffic& index = traffic.at("_index.xml");
    const std::string bytes = ReadFileBytes(many_->IndexFile().string());
    EXPECT_EQ(index.written, bytes.size() - bytes.rfind("<ELEMENT ") + kHeaderDigits) << "the element and the end tag";
    // Reads are counted as asked for, so the last one of the file counts in full.
    EXPECT_GE(index.read, before);
    EXPECT_LE(index.read, before + 512 * 1024);
    EXPECT_EQ(index.others + index.deletes + index.resizes, 0u);
    EXPECT_EQ(traffic.at("_FOLDER.DAT"), (Traffic{2, kCounts, kCounts, 0}));
    EXPECT_EQ(traffic.at("_index.blk").opens, 1u);
    EXPECT_EQ(traffic.size(), 3u);
    EXPECT_EQ(traffic.count("_DIRSIZE.TMP"), 0u);
}

TEST_F(DirectCost, SmallFilesAreCutOnlyWhereTheyGotShorter)
{
    Deliver(*few_);
    const auto remove = [](const GrownFolder& folder) {
        EXPECT_EQ(Direct_StoreIndex_RemoveItem("po", "box", folder.Name().c_str(), GrownItemName(7).c_str()), 1u);
    };
    // Four kilobytes less: one digit less in the folder's file, none in the mailbox's.
    WriteFileBytes(few_->Path() + "/_DIRSIZE.TMP", "1003");
    const auto shorter = TrafficOf(*few_, remove);
    EXPECT_EQ(shorter.at("_DIRSIZE.TMP"), (Traffic{2, 2 * kSizeBuffer, 5 + 3, 1, 2, 0, 0, 0}));
    EXPECT_EQ(shorter.at("_FOLDER.DAT").resizes, 0u);
    EXPECT_EQ(ReadFileBytes(few_->Path() + "/_DIRSIZE.TMP"), "999");

    const std::string counts = ReadFileBytes(few_->Path() + "/_FOLDER.DAT");
    WriteFileBytes(few_->Path() + "/_FOLDER.DAT", counts + std::string(9, 'x'));
    EXPECT_EQ(TrafficOf(*few_, FlagLast).at("_FOLDER.DAT"), (Traffic{2, kCounts, kCounts, 1}));
    EXPECT_EQ(ReadFileBytes(few_->Path() + "/_FOLDER.DAT").size(), 52u);
}

}  // namespace
}  // namespace velmora::test
